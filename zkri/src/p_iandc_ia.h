// The test class shared by TimiAndC and TimiAndCI: the bitwise operations with a constant (AndC, OrC,
// XorC) and the shifts (LShiftC, RShiftC), over image sizes, the constant and the shift count.
//   value  the constant of AndC, OrC and XorC, the same for every channel; a narrow element takes its
//          low bits (-1 sets every bit, 0x1A5 is 0xA5 for 8u)
//   shift  the count of LShiftC and RShiftC, the same for every channel, within 0 and the element's
//          width minus one (0..7 for 8-bit elements, 0..15 for 16-bit, 0..31 for 32-bit); a count
//          outside that range is passed over for the functions whose elements it does not fit
// Each parameter is named, read and printed only for the functions that take it.
#pragma once

#include <cstring>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

// The constant or the shift counts, one per channel, which `value` points at.
struct zkLogicConstArgs : zkImageArgs {
    const void* value = nullptr;
};

zkLogicConstArgs s_args;
zkImageData s_data;

constexpr const char* s_valueName = "value";
constexpr const char* s_valueDefault = "90";  // 0x5A: alternate bits set
constexpr const char* s_shiftName = "shift";
constexpr const char* s_shiftDefault = "3";

qmStepIterator<int> s_value(90, "", "Constant of AndC, OrC, XorC (a narrow element takes its low bits)");
qmStepIterator<int> s_shift(3, "", "Shift count of LShiftC, RShiftC (0 to the element's width - 1)");

// One element per channel, as bytes: the constant's low bytes, or the shift counts.
alignas(16) unsigned char s_constant[4 * sizeof(Zkr32s)];
Zkr32u s_counts[4];

class zkLogicConstTest : public zkImageTest {
public:
    zkLogicConstTest(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* file,
                     const char* id)
        : zkImageTest(call, loop, stat, func, file, id, s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        zkImageTest::canStart();
        const bool shift = isShift();
        s_value.setName(shift ? qmString() : qmString(s_valueName));
        s_value.translate(s_valueDefault);
        s_shift.setName(shift ? qmString(s_shiftName) : qmString());
        s_shift.translate(s_shiftDefault);
        addParameter(&s_value);
        addParameter(&s_shift);
        return true;
    }

    bool initData() override {
        const int width = 8 * zkTypeSize(m_func.srcType());
        if (isShift()) {
            const int count = s_shift.value();
            if (count < 0 || count >= width) {
                g_ostrm << MSG_INFO << "-- Shift count " << count << " is outside 0.." << (width - 1) << " for "
                        << m_funcName << ": line passed over\n" << MSG_RESTORE;
                passSetOver();
                return false;
            }
            for (Zkr32u& c : s_counts) c = Zkr32u(count);
            s_args.value = s_counts;
        } else {
            // Little-endian: the low bytes of the int are the element of a narrow type.
            const int v = s_value.value();
            const int size = width / 8;
            for (int c = 0; c < 4; ++c) std::memcpy(s_constant + c * size, &v, std::size_t(size));
            s_args.value = s_constant;
        }
        return zkImageTest::initData();
    }

private:
    bool isShift() const { return m_func.baseName().contains("Shift"); }
};

}  // namespace
