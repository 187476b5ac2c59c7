#include "zkscaleiterator.h"

zkScaleIterator::zkScaleIterator() : qmStepIterator<int>(0, s_name, "Scale factor") {}

void zkScaleIterator::init(const zkFunc& func) {
    if (func.scale()) {
        setName(s_name);
        translate("0; 1; 4");
    } else {
        setName(qmString());
        translate("0");
    }
}
