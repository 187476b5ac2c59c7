#include "zkimagesize.h"

zkSizeIterator g_imageSize({ZkriSize{64, 64}, ZkriSize{256, 256}, ZkriSize{1024, 1024}}, "Size",
                           "Image size (width x height)");
// Every module sizes its images from it, adding borders, masks and factors: dimensions from 1 to
// 2^20 keep each such sum and product within int. A size too large to allocate still fails its set.
[[maybe_unused]] static const bool s_sizeLimits = g_imageSize.setLimits({1, 1}, {1 << 20, 1 << 20});
