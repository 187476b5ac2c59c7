// zkBmpFile: reads an uncompressed bitmap file (1, 4, 8, 16, 24 or 32 bits per pixel, bottom-up)
// into an 8u interleaved zkImage. Rows are kept in the order stored: image row 0 is the file's
// first row, the bottom row of the picture; palette images expand to gray (1 channel) or to
// blue, green, red (3 channels); 16-, 24- and 32-bit rows are copied byte for byte.
// Every size is checked against the file's length before anything is allocated.
#pragma once
#include <cstdint>
#include <cstdio>
#include "qmstring.h"
#include "zkfunc.h"

class zkImage;

class zkBmpFile {
public:
    struct FileHeader {  // the 14 bytes at the start of the file
        std::uint16_t bfType = 0;
        std::uint32_t bfSize = 0;
        std::uint16_t bfReserved1 = 0, bfReserved2 = 0;
        std::uint32_t bfOffBits = 0;
    };
    struct InfoHeader {  // the 40 bytes that follow
        std::uint32_t biSize = 0;
        std::int32_t biWidth = 0, biHeight = 0;
        std::uint16_t biPlanes = 0, biBitCount = 0;
        std::uint32_t biCompression = 0, biSizeImage = 0;
        std::int32_t biXPelsPerMeter = 0, biYPelsPerMeter = 0;
        std::uint32_t biClrUsed = 0, biClrImportant = 0;
    };
    static constexpr int FILE_HEADER_SIZE = 14;
    static constexpr int INFO_HEADER_SIZE = 40;
    static constexpr std::uint16_t BM = 19778;          // "BM" read little-endian
    static constexpr std::uint16_t BM_SWAPPED = 16973;  // "MB": every header field byte-reversed

    explicit zkBmpFile(zkImage* image = nullptr) : m_image(image) {}

    // Reads the file into the image; arg is passed on to zkImage::createImage (zkArgKeep keeps the
    // file's layout, the usual choice). False after error() on any failure.
    bool load(const qmString& fileName, int arg);
    // The same from an open stream; fileName only names it in messages.
    bool load(std::FILE* file, const qmString& fileName, int arg);
    // Reads only the two headers and the palette (which decides gray or colour), to learn the
    // size and layout before a test decides its parameters.
    bool readInfoHeader(const qmString& fileName);
    // Writes "-- <message>" at the error level, keeps it for lastError(), returns false.
    bool error(const qmString& message);
    const qmString& lastError() const { return m_error; }

    const FileHeader& fileHeader() const { return m_fileHeader; }
    const InfoHeader& infoHeader() const { return m_infoHeader; }
    bool swapped() const { return m_swapped; }

    // Header checks and the image layout they give; each false after error().
    bool ValidFileHeader(bool& swapped);
    bool ValidCompression();
    bool SetImageWidth(int& width);
    bool SetImageHeight(int& height);
    bool SetImageType(zkType& type);
    bool SetImagePlane(bool& plane);
    bool SetImageChannels(int& channels);
    bool CreateImage(int arg);

    int GetPaletteNum() const;
    bool IsGrayPalette() const;
    long long GetDataSize() const;  // file bytes of the pixel data
    long long GetDataStep() const;  // file bytes of one row (a multiple of 4)
    bool IsCompressed() const;      // palette-indexed: biCompression 0 and at most 8 bits
    bool SetImageData(unsigned char* data);
    void SetImageData_8(unsigned char* data);
    void SetImageData_4(unsigned char* data);
    void SetImageData_1(unsigned char* data);
    void SetPixel(unsigned char index, unsigned char* row, int x);

private:
    bool readHeaders(std::FILE* file);
    bool readPalette(std::FILE* file);
    bool checkLayout(int& width, int& height, int& channels);
    bool readPixels(std::FILE* file);

    qmString m_fileName;
    zkImage* m_image = nullptr;
    FileHeader m_fileHeader;
    InfoHeader m_infoHeader;
    unsigned char m_palette[256][4] = {};
    int m_paletteNum = 0;
    bool m_swapped = false;
    long long m_fileLength = 0;
    qmString m_error;
};
