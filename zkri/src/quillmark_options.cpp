// The shipped program's glue to the library and its optional keys: binds libzkrcore and libzkri
// (control entry points and version getters, registered once however many modules bind them) and
// offers the parameter name tables (-q, -q+, -Q).
#include "zkrcore.h"
// zkri.h before zk.h: the binding registers libzkri's version getter only when it is declared here
// (the header then names libzkri on the report's "Library" lines).
#include "zkri.h"
#include "zk.h"

namespace {
[[maybe_unused]] const bool s_nameTableKeys = qmRegQKeys();
}
