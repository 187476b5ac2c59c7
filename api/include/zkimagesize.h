// The image size parameter shared by the image tests ("Size"): the region of interest every image
// test sweeps, set once for all of them from -d, the ini-file or the console.
#pragma once
#include "qmstepiterator.h"

extern zkSizeIterator g_imageSize;
