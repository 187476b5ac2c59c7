#include "zkimagesize.h"

zkSizeIterator g_imageSize({ZkriSize{64, 64}, ZkriSize{256, 256}, ZkriSize{1024, 1024}}, "Size",
                           "Image size (width x height)");
