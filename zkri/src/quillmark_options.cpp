// Optional keys of the shipped program: the parameter name tables (-q, -q+, -Q).
#include "zk.h"

namespace {
[[maybe_unused]] const bool s_nameTableKeys = qmRegQKeys();
}
