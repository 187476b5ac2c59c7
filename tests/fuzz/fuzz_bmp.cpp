// libFuzzer target of the bitmap reader: any bytes are loaded through a memory stream; the reader
// must refuse or load them without a crash, a leak or an out-of-bounds access.
#include <cstdint>
#include <cstdio>
#include "qmmemory.h"
#include "qmstream.h"
#include "zkbmpfile.h"
#include "zkimage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    g_ostrm.setOutLevel(0);  // refusals are expected: keep the console quiet
    FILE* f = fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
    if (!f) return 0;
    {
        zkImage image("fuzz");
        zkBmpFile bmp(&image);
        if (bmp.load(f, "fuzz.bmp", zkArgKeep)) {
            // Touch every loaded row so that a wrong size shows as an out-of-bounds read.
            unsigned sum = 0;
            for (int y = 0; y < image.getNumRows(); ++y) {
                const auto* row = static_cast<const std::uint8_t*>(image.getRowPointer(y));
                for (int i = 0; i < image.getRowLen(); ++i) sum += row[i];
            }
            if (sum == 0xFFFFFFFFu) std::fputc('.', stderr);
        }
    }
    std::fclose(f);
    qmFreeAll();
    qmVectorPlacement::resetPlacement();
    return 0;
}
