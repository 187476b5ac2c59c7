#include "qmobject.h"

#include "qmstream.h"

void qmObject::reportAllocFailure() const {
    g_ostrm << MSG_ERR << "-- Fail to allocate " << m_name << " data" << "\n" << MSG_RESTORE;
}
