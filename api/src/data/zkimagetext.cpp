// The image's description for output.
#include "qmgeometry.h"
#include "zkimage.h"

qmString zkImage::getString() const {
    qmString s;
    s << ZkriSize{m_width, m_height} << " " << zkFunc::typeToString(m_type) << " ";
    if (m_channels == 4 && m_actualChannels == 3) s << "A";
    s << (m_plane ? "P" : "C") << m_channels << " step " << m_step;
    if (m_plane) s << " planes " << m_channels;
    return s;
}
