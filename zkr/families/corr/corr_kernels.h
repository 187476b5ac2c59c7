// Interface between the Corr family's entry points (corr.cpp, conv.cpp) and its kernels, compiled
// once per instruction-set level (corr_kernels.cpp).
//
// Template matching and convolution are one computation: a w x h template (for a convolution the
// second image turned by half a turn) slid over a source ROI that is taken as zero outside itself.
// Output pixel (x, y) sums the template against the source window whose top-left corner is source
// pixel (x - offX, y - offY). The entry points prepare the template (in double, per active
// channel) and its sums; the kernels compute the destination rows [y0, y1) and may run on disjoint
// row bands at once, every band with its own work buffers.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::corr {

// What a destination value is (the table's `measure` column; a convolution is Raw).
enum class Measure : int { Raw, Norm, NormLevel, SqrDist, Count };

struct CorrJob {
    const void* src = nullptr;  // first pixel of the source ROI
    std::ptrdiff_t srcStep = 0;
    int srcW = 0, srcH = 0;
    int channels = 1;  // channels in memory (source, template and destination alike)
    int active = 1;    // channels computed (AC4: 3)
    // The template per active channel, row-major w x h, in double: tpl + c * tw * th. NormLevel
    // templates have their mean taken off.
    const double* tpl = nullptr;
    int tw = 1, th = 1;
    // Per active channel: sum of squares of the template as given (Norm, SqrDist), or of the
    // template less its mean (NormLevel); zero marks a template that gives 0 everywhere.
    const double* tplEnergy = nullptr;
    int offX = 0, offY = 0;  // source position of the template's corner at output (0, 0), negated
    int outW = 0, outH = 0;
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    // When set, the template sums of every output pixel, computed beforehand in the frequency domain:
    // per active channel an outW x outH plane, row-major. The kernel then adds only the window sums
    // and the measure.
    const double* numerator = nullptr;
    Measure measure = Measure::Raw;
    int scaleFactor = 0;  // integer destinations
};

// False when a work buffer could not be allocated.
using CorrFn = bool (*)(const CorrJob& job, int y0, int y1);

// Rows by source component type and destination component type (kComp indexes); null where the
// family has no such pair.
struct Kernels {
    CorrFn rows[kCompTypes][kCompTypes];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

// A NormLevel spread (window or template) at or below this part of its sum of squares is rounding
// noise of a flat set of values.
inline constexpr double kFlatSpread = 0x1p-40;

}  // namespace zkr::corr
