#include "zkbmpfile.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>
#include "qmstream.h"
#include "zkimage.h"

namespace {
// Little-endian field reader over a header; a swapped header stores every field big-endian.
class FieldReader {
public:
    FieldReader(const unsigned char* p, bool swapped) : m_p(p), m_swapped(swapped) {}
    std::uint16_t u16() { return static_cast<std::uint16_t>(take(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(take(4)); }
    std::int32_t s32() { return static_cast<std::int32_t>(u32()); }

private:
    std::uint32_t take(int n) {
        std::uint32_t v = 0;
        for (int i = 0; i < n; ++i) {
            const int shift = m_swapped ? 8 * (n - 1 - i) : 8 * i;
            v |= static_cast<std::uint32_t>(m_p[i]) << shift;
        }
        m_p += n;
        return v;
    }
    const unsigned char* m_p;
    bool m_swapped;
};

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

bool readExactly(std::FILE* file, void* to, long long bytes) {
    return bytes >= 0 && std::fread(to, 1, static_cast<size_t>(bytes), file) == static_cast<size_t>(bytes);
}
}  // namespace

bool zkBmpFile::error(const qmString& message) {
    m_error = message;
    g_ostrm << MSG_ERR << "-- " << message << "\n" << MSG_RESTORE;
    return false;
}

// ---------------------------------------------------------------- headers

bool zkBmpFile::ValidFileHeader(bool& swapped) {
    swapped = m_fileHeader.bfType == BM_SWAPPED;
    if (m_fileHeader.bfType == BM || swapped) return true;
    return error("Bitmap files are valid only");
}

bool zkBmpFile::readHeaders(std::FILE* file) {
    m_fileLength = 0;
    if (std::fseek(file, 0, SEEK_END) == 0) m_fileLength = std::ftell(file);
    std::rewind(file);

    unsigned char fh[FILE_HEADER_SIZE];
    if (!readExactly(file, fh, sizeof fh)) return error("Bitmap files are valid only");
    FieldReader f(fh, false);
    m_fileHeader.bfType = f.u16();
    if (!ValidFileHeader(m_swapped)) return false;
    FieldReader r(fh + 2, m_swapped);
    m_fileHeader.bfSize = r.u32();
    m_fileHeader.bfReserved1 = r.u16();
    m_fileHeader.bfReserved2 = r.u16();
    m_fileHeader.bfOffBits = r.u32();

    unsigned char ih[INFO_HEADER_SIZE];
    if (!readExactly(file, ih, sizeof ih)) return error("Bitmap header is corrupted: file is too short");
    FieldReader i(ih, m_swapped);
    InfoHeader& h = m_infoHeader;
    h.biSize = i.u32();
    h.biWidth = i.s32();
    h.biHeight = i.s32();
    h.biPlanes = i.u16();
    h.biBitCount = i.u16();
    h.biCompression = i.u32();
    h.biSizeImage = i.u32();
    h.biXPelsPerMeter = i.s32();
    h.biYPelsPerMeter = i.s32();
    h.biClrUsed = i.u32();
    h.biClrImportant = i.u32();
    // Later header versions are longer; their palette follows the whole header.
    if (h.biSize < INFO_HEADER_SIZE || h.biSize > m_fileLength)
        return error("Bitmap header is corrupted: biSize is invalid");
    return true;
}

bool zkBmpFile::readPalette(std::FILE* file) {
    m_paletteNum = GetPaletteNum();
    if (std::fseek(file, FILE_HEADER_SIZE + static_cast<long>(m_infoHeader.biSize), SEEK_SET) != 0 ||
        !readExactly(file, m_palette, 4LL * m_paletteNum))
        return error("Bitmap palette is corrupted: file is too short");
    return true;
}

bool zkBmpFile::readInfoHeader(const qmString& fileName) {
    m_fileName = fileName;
    // Opened without blocking: a FIFO or device named as the bitmap is refused, not waited for.
    std::unique_ptr<std::FILE, FileCloser> file(qmOpenRegularFile(fileName));
    if (!file) return error("Open error");
    return readHeaders(file.get()) && readPalette(file.get());
}

bool zkBmpFile::ValidCompression() {
    return m_infoHeader.biCompression == 0 || error("Compression is not valid");
}

bool zkBmpFile::SetImageWidth(int& width) {
    width = m_infoHeader.biWidth;
    return width > 0 || error("Bitmap header is corrupted: biWidth is invalid");
}

bool zkBmpFile::SetImageHeight(int& height) {
    height = m_infoHeader.biHeight;
    return height > 0 || error("Bitmap header is corrupted: biHeight is invalid");
}

bool zkBmpFile::SetImageType(zkType& type) {
    type = zk8u;
    switch (m_infoHeader.biBitCount) {
        case 1: case 4: case 8: case 16: case 24: case 32: return true;
        default: return error("Bitmap header is corrupted: biBitCount is invalid");
    }
}

bool zkBmpFile::SetImagePlane(bool& plane) {
    plane = false;
    return m_infoHeader.biPlanes == 1 || error("Bitmap header is corrupted: biPlanes is invalid");
}

bool zkBmpFile::SetImageChannels(int& channels) {
    switch (m_infoHeader.biBitCount) {
        case 16: channels = 2; break;
        case 24: channels = 3; break;
        case 32: channels = 4; break;
        default: channels = IsGrayPalette() ? 1 : 3; break;
    }
    return true;
}

// ---------------------------------------------------------------- sizes and palette

int zkBmpFile::GetPaletteNum() const {
    if (m_infoHeader.biCompression != 0 || m_infoHeader.biBitCount > 8) return 0;
    const std::uint32_t power = 1u << m_infoHeader.biBitCount;
    return static_cast<int>(m_infoHeader.biClrUsed == 0 ? power : std::min(power, m_infoHeader.biClrUsed));
}

bool zkBmpFile::IsGrayPalette() const {
    for (int i = 0; i < m_paletteNum; ++i)
        if (m_palette[i][0] != m_palette[i][1] || m_palette[i][0] != m_palette[i][2]) return false;
    return true;
}

long long zkBmpFile::GetDataStep() const {
    return (static_cast<long long>(m_infoHeader.biBitCount) * m_infoHeader.biWidth + 31) / 32 * 4;
}

long long zkBmpFile::GetDataSize() const {
    // Hostile headers can ask for more than 2^63 bytes: such a size saturates.
    long long size;
    if (__builtin_mul_overflow(GetDataStep(), static_cast<long long>(m_infoHeader.biHeight) * m_infoHeader.biPlanes,
                               &size))
        return std::numeric_limits<long long>::max();
    return size;
}

bool zkBmpFile::IsCompressed() const { return m_infoHeader.biCompression == 0 && m_infoHeader.biBitCount <= 8; }

// ---------------------------------------------------------------- the image

bool zkBmpFile::checkLayout(int& width, int& height, int& channels) {
    zkType type;
    bool plane;
    if (!ValidCompression() || !SetImageWidth(width) || !SetImageHeight(height) || !SetImageType(type) ||
        !SetImagePlane(plane) || !SetImageChannels(channels))
        return false;
    // The pixel data must be in the file before any memory is taken for them.
    if (GetDataSize() > m_fileLength - static_cast<long long>(m_fileHeader.bfOffBits))
        return error("Bitmap data are truncated");
    return true;
}

bool zkBmpFile::CreateImage(int arg) {
    int width, height, channels;
    if (!checkLayout(width, height, channels)) return false;
    if (!m_image) return error("No image to load into");
    m_image->init(zk8u, channels, false);
    if (!m_image->createImage(width, height, arg, -1, false)) return error("Image can't be allocated");
    if (m_image->type() != zk8u || m_image->channels() != channels || m_image->plane())
        return error("Image layout does not match the bitmap");
    return true;
}

void zkBmpFile::SetPixel(unsigned char index, unsigned char* row, int x) {
    if (m_paletteNum == 0) return;
    const unsigned char* entry = m_palette[std::min<int>(index, m_paletteNum - 1)];
    if (m_image->channels() == 1) {
        row[x] = entry[0];
    } else {
        row[3 * x] = entry[0];
        row[3 * x + 1] = entry[1];
        row[3 * x + 2] = entry[2];
    }
}

bool zkBmpFile::SetImageData(unsigned char* data) {
    switch (m_infoHeader.biBitCount) {
        case 8: SetImageData_8(data); return true;
        case 4: SetImageData_4(data); return true;
        case 1: SetImageData_1(data); return true;
        default: return false;
    }
}

void zkBmpFile::SetImageData_8(unsigned char* data) {
    const long long fileStep = GetDataStep();
    for (int y = 0; y < m_image->height(); ++y, data += fileStep) {
        auto* row = static_cast<unsigned char*>(m_image->getRowPointer(y));
        for (int x = 0; x < m_image->width(); ++x) SetPixel(data[x], row, x);
    }
}

// Two pixels a byte, the high nibble first.
void zkBmpFile::SetImageData_4(unsigned char* data) {
    const long long fileStep = GetDataStep();
    for (int y = 0; y < m_image->height(); ++y, data += fileStep) {
        auto* row = static_cast<unsigned char*>(m_image->getRowPointer(y));
        for (int x = 0; x < m_image->width(); ++x) {
            const unsigned char byte = data[x / 2];
            SetPixel(x % 2 ? byte & 0x0F : byte >> 4, row, x);
        }
    }
}

// Eight pixels a byte from the most significant bit, the partial last byte too; a set bit is
// index 128, which the palette clamp turns into the last entry.
void zkBmpFile::SetImageData_1(unsigned char* data) {
    const long long fileStep = GetDataStep();
    for (int y = 0; y < m_image->height(); ++y, data += fileStep) {
        auto* row = static_cast<unsigned char*>(m_image->getRowPointer(y));
        for (int x = 0; x < m_image->width(); ++x) SetPixel(data[x / 8] & (0x80 >> (x % 8)) ? 128 : 0, row, x);
    }
}

// ---------------------------------------------------------------- loading

bool zkBmpFile::readPixels(std::FILE* file) {
    if (std::fseek(file, static_cast<long>(m_fileHeader.bfOffBits), SEEK_SET) != 0)
        return error("Bitmap data are truncated");
    if (IsCompressed()) {
        std::vector<unsigned char> data(static_cast<size_t>(GetDataSize()));
        if (!readExactly(file, data.data(), GetDataSize())) return error("Bitmap data are truncated");
        SetImageData(data.data());
        return true;
    }
    const long long rowLen = m_image->getRowLen(), skip = GetDataStep() - rowLen;
    for (int y = 0; y < m_image->height(); ++y) {
        if (!readExactly(file, m_image->getRowPointer(y), rowLen) ||
            (skip > 0 && std::fseek(file, static_cast<long>(skip), SEEK_CUR) != 0))
            return error("Bitmap data are truncated");
    }
    return true;
}

bool zkBmpFile::load(const qmString& fileName, int arg) {
    m_fileName = fileName;
    // Opened without blocking: a FIFO or device named as the bitmap is refused, not waited for.
    std::unique_ptr<std::FILE, FileCloser> file(qmOpenRegularFile(fileName));
    if (!file) return error("Open error");
    return load(file.get(), fileName, arg);
}

bool zkBmpFile::load(std::FILE* file, const qmString& fileName, int arg) {
    m_fileName = fileName;
    if (!file) return error("Open error");
    return readHeaders(file) && readPalette(file) && CreateImage(arg) && readPixels(file);
}
