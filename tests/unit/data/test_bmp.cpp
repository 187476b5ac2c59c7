// zkBmpFile: files written by ImageMagick decoded pixel for pixel against ImageMagick's own
// decoding, and hand-made hostile files refused with their messages and without allocation.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>
#include "test_memory_fixture.h"
#include "zkbmpfile.h"
#include "zkimage.h"

namespace {
namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

const std::string kData = QM_TEST_DATA_DIR;

std::string run(const std::string& command, int* status) {
    std::string out;
    FILE* p = popen(command.c_str(), "r");
    if (!p) {
        *status = -1;
        return out;
    }
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    *status = pclose(p);
    return out;
}

// The real ImageMagick converter, or "" when it is not installed.
std::string imageMagick() {
    for (const char* c : {"/usr/bin/convert", "magick"}) {
        int status;
        std::string v = run(std::string(c) + " -version 2>/dev/null", &status);
        if (status == 0 && v.find("ImageMagick") != std::string::npos) return c;
    }
    return "";
}

// Loads crafted bytes through a memory stream.
bool loadBytes(zkBmpFile& bmp, const Bytes& bytes) {
    FILE* f = fmemopen(const_cast<unsigned char*>(bytes.data()), bytes.size(), "rb");
    const bool ok = bmp.load(f, "crafted.bmp", zkArgKeep);
    if (f) fclose(f);
    return ok;
}

void put16(Bytes& b, size_t at, unsigned v) {
    b[at] = v & 0xFF;
    b[at + 1] = (v >> 8) & 0xFF;
}
void put32(Bytes& b, size_t at, unsigned v) {
    for (int i = 0; i < 4; ++i) b[at + i] = (v >> (8 * i)) & 0xFF;
}

// A bottom-up uncompressed bitmap: headers, palette entries (B, G, R) and rows of file bytes
// (each padded to 4 bytes here).
Bytes makeBmp(int width, int height, int bits, const std::vector<std::array<unsigned char, 3>>& palette,
              const std::vector<Bytes>& rows, unsigned clrUsed = 0) {
    const int step = (bits * width + 31) / 32 * 4;
    const unsigned off = 54 + 4 * static_cast<unsigned>(palette.size());
    Bytes b(off + static_cast<size_t>(step) * rows.size(), 0);
    b[0] = 'B';
    b[1] = 'M';
    put32(b, 2, static_cast<unsigned>(b.size()));
    put32(b, 10, off);
    put32(b, 14, 40);
    put32(b, 18, static_cast<unsigned>(width));
    put32(b, 22, static_cast<unsigned>(height));
    put16(b, 26, 1);
    put16(b, 28, static_cast<unsigned>(bits));
    put32(b, 46, clrUsed);
    for (size_t i = 0; i < palette.size(); ++i)
        for (int c = 0; c < 3; ++c) b[54 + 4 * i + c] = palette[i][c];
    for (size_t r = 0; r < rows.size(); ++r)
        std::copy(rows[r].begin(), rows[r].end(), b.begin() + off + r * step);
    return b;
}

std::vector<std::array<unsigned char, 3>> grayPalette(int n) {
    std::vector<std::array<unsigned char, 3>> p;
    for (int i = 0; i < n; ++i) p.push_back({static_cast<unsigned char>(i * 10), static_cast<unsigned char>(i * 10),
                                             static_cast<unsigned char>(i * 10)});
    return p;
}

std::vector<std::array<unsigned char, 3>> colorPalette(int n) {
    std::vector<std::array<unsigned char, 3>> p;
    for (int i = 0; i < n; ++i)
        p.push_back({static_cast<unsigned char>(i), static_cast<unsigned char>(100 + i), static_cast<unsigned char>(200 + i)});
    return p;
}

unsigned char pixel(const zkImage& im, int x, int y, int c = 0) {
    return *static_cast<unsigned char*>(im.getPointerAt(x, y, c));
}
}  // namespace

class Bmp : public DataTest {};

// ---------------------------------------------------------------- files from a real encoder

struct EncodedFile {
    const char* name;
    int width, height, channels;
};

class BmpEncoded : public DataTest, public ::testing::WithParamInterface<EncodedFile> {};

TEST_P(BmpEncoded, EveryPixelMatchesImageMagick) {
    const EncodedFile& f = GetParam();
    const std::string im = imageMagick();
    ASSERT_FALSE(im.empty()) << "ImageMagick is required to check the bitmap reader (apt-get install imagemagick)";
    const std::string path = kData + "/" + f.name;
    int status;
    const std::string ref = run(im + " '" + path + "' -depth 8 bgra:-", &status);
    ASSERT_EQ(status, 0) << "ImageMagick could not decode " << path;
    ASSERT_EQ(ref.size(), static_cast<size_t>(f.width) * f.height * 4);

    zkImage image("bitmap");
    ASSERT_TRUE(image.loadImage(path.c_str())) << path;
    ASSERT_EQ(image.width(), f.width);
    ASSERT_EQ(image.height(), f.height);
    ASSERT_EQ(image.channels(), f.channels);
    EXPECT_EQ(image.type(), zk8u);
    EXPECT_FALSE(image.plane());
    // Rows stay in file order: image row y is the picture's row h - 1 - y.
    int mismatches = 0;
    for (int y = 0; y < f.height; ++y)
        for (int x = 0; x < f.width; ++x)
            for (int c = 0; c < f.channels; ++c) {
                const auto want = static_cast<unsigned char>(ref[((f.height - 1 - y) * f.width + x) * 4 + c]);
                if (pixel(image, x, y, c) != want && ++mismatches < 5)
                    ADD_FAILURE() << f.name << " x=" << x << " y=" << y << " c=" << c << ": "
                                  << int(pixel(image, x, y, c)) << " != " << int(want);
            }
    EXPECT_EQ(mismatches, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Files, BmpEncoded,
    ::testing::Values(EncodedFile{"im_1_gray_13x7.bmp", 13, 7, 1}, EncodedFile{"im_1_color_7x5.bmp", 7, 5, 3},
                      EncodedFile{"im_1_color_5x3.bmp", 5, 3, 3}, EncodedFile{"im_4_gray_13x7.bmp", 13, 7, 1},
                      EncodedFile{"im_4_color_13x7.bmp", 13, 7, 3}, EncodedFile{"im_4_color_5x9.bmp", 5, 9, 3},
                      EncodedFile{"im_4_color_v5_13x7.bmp", 13, 7, 3}, EncodedFile{"im_8_gray_13x7.bmp", 13, 7, 1},
                      EncodedFile{"im_8_gray_5x5.bmp", 5, 5, 1}, EncodedFile{"im_8_color_13x7.bmp", 13, 7, 3},
                      EncodedFile{"im_8_color_7x4.bmp", 7, 4, 3}, EncodedFile{"im_24_13x7.bmp", 13, 7, 3},
                      EncodedFile{"im_24_7x6.bmp", 7, 6, 3}, EncodedFile{"im_32_13x7.bmp", 13, 7, 4}),
    [](const auto& testInfo) {
        std::string n = testInfo.param.name;
        return n.substr(0, n.find('.'));
    });

TEST_F(Bmp, BitFieldFileIsRefusedAndTheCallerNamesIt) {
    const std::string path = kData + "/im_32_bitfields_13x7.bmp";
    ConsoleCapture out(ERR);
    zkImage image;
    EXPECT_FALSE(image.loadImage(path.c_str()));
    EXPECT_EQ(out.text(), "-- Compression is not valid\n--- Can't load file " + path + "\n");
    EXPECT_EQ(qmMallocCount(), 0);
}

// A missing file, a directory and a FIFO without a writer (which must not stop the program) are
// open errors alike.
TEST_F(Bmp, MissingFileIsAnOpenError) {
    const std::string fifo = testing::TempDir() + "qm_bmp_fifo_" + std::to_string(getpid()) + ".bmp";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& path : {std::string("/nonexistent/deconvtest.bmp"), testing::TempDir(), fifo}) {
        ConsoleCapture out(ERR);
        zkImage image;
        EXPECT_FALSE(image.loadImage(path.c_str()));
        EXPECT_EQ(out.text(), "-- Open error\n--- Can't load file " + path + "\n");
    }
    std::remove(fifo.c_str());
}

TEST_F(Bmp, ImageTakesTheSessionMisalignment) {
    setPlacement(5, true, 0, false);
    zkImage image;
    ASSERT_TRUE(image.loadImage((kData + "/im_24_7x6.bmp").c_str()));
    EXPECT_EQ(offset64(image.data()), 5);
    EXPECT_EQ(image.step(), 32);  // 21 bytes a row
    EXPECT_TRUE(image.canLoadImage());
}

TEST_F(Bmp, InfoHeaderAloneGivesSizeAndLayout) {
    zkBmpFile bmp;
    ASSERT_TRUE(bmp.readInfoHeader((kData + "/im_4_color_5x9.bmp").c_str()));
    int w, h, channels;
    EXPECT_TRUE(bmp.SetImageWidth(w));
    EXPECT_TRUE(bmp.SetImageHeight(h));
    EXPECT_TRUE(bmp.SetImageChannels(channels));
    EXPECT_EQ(w, 5);
    EXPECT_EQ(h, 9);
    EXPECT_EQ(channels, 3);
    EXPECT_EQ(bmp.GetPaletteNum(), 16);
    EXPECT_FALSE(bmp.IsGrayPalette());
    EXPECT_TRUE(bmp.IsCompressed());
    EXPECT_EQ(bmp.GetDataStep(), 4);
    EXPECT_EQ(bmp.GetDataSize(), 36);
    EXPECT_EQ(qmMallocCount(), 0);
}

// ---------------------------------------------------------------- hand-made files

TEST_F(Bmp, ByteSwappedHeaderReadsLikeTheNormalOne) {
    const Bytes normal = makeBmp(3, 2, 8, colorPalette(4), {{0, 1, 2, 0}, {3, 2, 1, 0}}, 4);
    Bytes swapped = normal;
    auto reverse = [&](size_t at, int n) { std::reverse(swapped.begin() + at, swapped.begin() + at + n); };
    reverse(0, 2);
    for (size_t at : {2, 10}) reverse(at, 4);
    reverse(6, 2);
    reverse(8, 2);
    for (size_t at = 14; at < 54;) {
        const int n = (at == 26 || at == 28) ? 2 : 4;
        reverse(at, n);
        at += n;
    }
    ASSERT_EQ(swapped[0], 'M');

    zkImage a, b;
    zkBmpFile fa(&a), fb(&b);
    ASSERT_TRUE(loadBytes(fa, normal)) << fa.lastError();
    ASSERT_TRUE(loadBytes(fb, swapped));
    EXPECT_TRUE(fb.swapped());
    EXPECT_EQ(fb.infoHeader().biWidth, 3);
    EXPECT_EQ(fb.fileHeader().bfOffBits, 70u);
    ASSERT_EQ(b.channels(), 3);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 3; ++c) EXPECT_EQ(pixel(a, x, y, c), pixel(b, x, y, c));
    EXPECT_EQ(pixel(b, 0, 1, 0), 3);  // blue of entry 3
    EXPECT_EQ(pixel(b, 0, 1, 2), 203);
}

TEST_F(Bmp, ClrUsedTwoOnEightBitsClampsToTheLastEntry) {
    const Bytes file = makeBmp(6, 1, 8, colorPalette(2), {{0, 1, 2, 3, 200, 255, 0, 0}}, 2);
    zkImage im;
    zkBmpFile bmp(&im);
    ASSERT_TRUE(loadBytes(bmp, file));
    EXPECT_EQ(bmp.GetPaletteNum(), 2);
    const int expected[] = {0, 1, 1, 1, 1, 1};
    for (int x = 0; x < 6; ++x) EXPECT_EQ(pixel(im, x, 0, 1), 100 + expected[x]) << x;
}

TEST_F(Bmp, ClrUsedAboveThePowerIsLimited) {
    zkImage im;
    zkBmpFile bmp(&im);
    ASSERT_TRUE(loadBytes(bmp, makeBmp(2, 1, 1, grayPalette(2), {{0x40, 0, 0, 0}}, 300)));
    EXPECT_EQ(bmp.GetPaletteNum(), 2);
    EXPECT_EQ(im.channels(), 1);
    EXPECT_EQ(pixel(im, 0, 0), 0);
    EXPECT_EQ(pixel(im, 1, 0), 10);  // a set bit is index 128, clamped to entry 1
}

TEST_F(Bmp, FourBitOddWidthTakesTheLastPixelFromTheHighNibble) {
    zkImage im;
    zkBmpFile bmp(&im);
    ASSERT_TRUE(loadBytes(bmp, makeBmp(3, 2, 4, grayPalette(16), {{0x12, 0x3F, 0, 0}, {0xAB, 0xC0, 0, 0}})));
    EXPECT_EQ(pixel(im, 0, 0), 10);
    EXPECT_EQ(pixel(im, 1, 0), 20);
    EXPECT_EQ(pixel(im, 2, 0), 30);  // high nibble 3, not the low F
    EXPECT_EQ(pixel(im, 2, 1), 120);
}

TEST_F(Bmp, OneBitPartialByteFromTheHighBits) {
    zkImage im;
    zkBmpFile bmp(&im);
    ASSERT_TRUE(loadBytes(bmp, makeBmp(10, 1, 1, colorPalette(2), {{0xA5, 0x80, 0, 0}})));
    const int bits[] = {1, 0, 1, 0, 0, 1, 0, 1, 1, 0};
    for (int x = 0; x < 10; ++x) EXPECT_EQ(pixel(im, x, 0, 0), bits[x]) << x;
}

TEST_F(Bmp, SixteenBitRowsAreCopiedAsTwoChannels) {
    zkImage im;
    zkBmpFile bmp(&im);
    ASSERT_TRUE(loadBytes(bmp, makeBmp(3, 2, 16, {}, {{1, 2, 3, 4, 5, 6, 0, 0}, {7, 8, 9, 10, 11, 12, 0, 0}})));
    EXPECT_EQ(im.channels(), 2);
    EXPECT_EQ(pixel(im, 2, 0, 1), 6);
    EXPECT_EQ(pixel(im, 0, 1, 0), 7);  // the second file row, bottom-up order kept
    EXPECT_EQ(pixel(im, 2, 1, 1), 12);
}

struct Hostile {
    const char* what;
    Bytes bytes;
    const char* message;
};

TEST_F(Bmp, HostileHeadersAreRefusedInCheckOrderWithoutAllocation) {
    const Bytes good = makeBmp(4, 2, 24, {}, {Bytes(12, 1), Bytes(12, 2)});
    auto with = [&](std::initializer_list<std::pair<size_t, unsigned>> fields32) {
        Bytes b = good;
        for (auto [at, v] : fields32) at == 26 || at == 28 ? put16(b, at, v) : put32(b, at, v);
        return b;
    };
    const Hostile cases[] = {
        {"empty", {}, "Bitmap files are valid only"},
        {"not a bitmap", Bytes(100, 'x'), "Bitmap files are valid only"},
        {"short info header", Bytes(good.begin(), good.begin() + 30), "Bitmap header is corrupted: file is too short"},
        {"core header", with({{14, 12}}), "Bitmap header is corrupted: biSize is invalid"},
        {"header past the end", with({{14, 100000}}), "Bitmap header is corrupted: biSize is invalid"},
        {"rle8 and no width", with({{30, 1}, {18, 0}}), "Compression is not valid"},
        {"zero width", with({{18, 0}}), "Bitmap header is corrupted: biWidth is invalid"},
        {"negative width", with({{18, 0xFFFFFFFF}}), "Bitmap header is corrupted: biWidth is invalid"},
        {"top-down", with({{22, static_cast<unsigned>(-2)}}), "Bitmap header is corrupted: biHeight is invalid"},
        {"two bits", with({{28, 2}}), "Bitmap header is corrupted: biBitCount is invalid"},
        {"two planes", with({{26, 2}}), "Bitmap header is corrupted: biPlanes is invalid"},
        {"huge width", with({{18, 0x7FFFFFFF}}), "Bitmap data are truncated"},
        {"huge both", with({{18, 0x7FFFFFFF}, {22, 0x7FFFFFFF}}), "Bitmap data are truncated"},
        {"offset past the end", with({{10, 0xFFFFFFF0}}), "Bitmap data are truncated"},
        {"one row missing", Bytes(good.begin(), good.end() - 12), "Bitmap data are truncated"},
        {"palette past the end", makeBmp(4, 1, 8, grayPalette(3), {}, 256),
         "Bitmap palette is corrupted: file is too short"},
    };
    for (const Hostile& h : cases) {
        ConsoleCapture out(ERR);
        zkImage im;
        zkBmpFile bmp(&im);
        EXPECT_FALSE(loadBytes(bmp, h.bytes)) << h.what;
        EXPECT_EQ(bmp.lastError(), h.message) << h.what;
        EXPECT_EQ(out.text(), std::string("-- ") + h.message + "\n") << h.what;
        EXPECT_EQ(qmMallocCount(), 0) << h.what;
    }
    zkImage im;
    zkBmpFile bmp(&im);
    EXPECT_TRUE(loadBytes(bmp, good));
}

TEST_F(Bmp, EveryTruncationOfARealFileIsRefusedCleanly) {
    FILE* f = std::fopen((kData + "/im_8_color_7x4.bmp").c_str(), "rb");
    ASSERT_NE(f, nullptr);
    Bytes whole(2048);
    whole.resize(std::fread(whole.data(), 1, whole.size(), f));
    std::fclose(f);
    ConsoleCapture quiet(0);
    for (size_t n = 0; n < whole.size(); ++n) {
        zkImage im;
        zkBmpFile bmp(&im);
        EXPECT_FALSE(loadBytes(bmp, Bytes(whole.begin(), whole.begin() + n))) << n;
    }
    zkImage im;
    zkBmpFile bmp(&im);
    EXPECT_TRUE(loadBytes(bmp, whole));
}

TEST_F(Bmp, CallerLayoutThatDisagreesWithTheFileIsRefused) {
    zkImage im(zkFunc("zkriCopy_16s_P3R"), zkSrc);
    EXPECT_FALSE(im.canLoadImage());
    zkBmpFile bmp(&im);
    ConsoleCapture quiet(0);
    FILE* f = std::fopen((kData + "/im_24_7x6.bmp").c_str(), "rb");
    ASSERT_NE(f, nullptr);
    EXPECT_FALSE(bmp.load(f, "im_24_7x6.bmp", zkSrc));  // would re-lay the image as 16s planes
    std::fclose(f);
    EXPECT_EQ(bmp.lastError(), "Image layout does not match the bitmap");
}
