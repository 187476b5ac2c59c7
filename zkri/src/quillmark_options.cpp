// The shipped program's glue to the library and its optional keys: binds libzkrcore and libzkri
// (control entry points and version getters, registered once however many modules bind them) and
// offers the parameter name tables (-q, -q+, -Q).
#include "zkrcore.h"
#include "zk.h"

namespace {
[[maybe_unused]] const bool s_nameTableKeys = qmRegQKeys();
}
