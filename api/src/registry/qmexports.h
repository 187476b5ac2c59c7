// The functions the bound ZKR shared objects really export, read from their dynamic symbol tables.
#pragma once
#include "qmlist.h"
#include "qmstring.h"

// Names of the defined global functions starting with "zkr" in every loaded object whose file name
// starts with "libzkr"; sorted, without duplicates.
qmList<qmString> qmLibraryExports();
// The same for one ELF shared object file; false when the file is not a readable 64-bit ELF object.
bool qmElfExports(const qmString& path, const qmString& prefix, qmList<qmString>& names);
