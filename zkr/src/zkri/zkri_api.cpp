// libzkri's own entry points beside the families' tables.
#include "version_record.h"
#include "zkri.h"

extern "C" {
ZKR_DEFINE_VERSION_GETTER(zkriGetLibVersion, "zkri")
}
