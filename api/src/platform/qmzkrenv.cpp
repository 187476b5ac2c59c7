#include "qmzkrenv.h"

qmZkrEntries g_zkr;
