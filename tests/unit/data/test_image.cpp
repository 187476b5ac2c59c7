// zkImage: layout from the descriptor, steps, planes as one vector, row addressing, the 2-D
// Jaehne fill and the other fills by rows, reserved copies over planes, text forms.
#include <cmath>
#include <cstring>
#include <vector>
#include "test_memory_fixture.h"
#include "zkimage.h"

class Image : public DataTest {};

// ---------------------------------------------------------------- layout rules

TEST(ImageLayout, ChannelsAlphaAndPlanesFromTheDescriptor) {
    struct Case {
        const char* func;
        int channels, actual;
        bool plane;
    };
    const Case cases[] = {
        {"zkriAdd_8u_C1RSfs", 1, 1, false}, {"zkriAdd_8u_C3RSfs", 3, 3, false}, {"zkriAdd_8u_AC4RSfs", 4, 3, false},
        {"zkriAdd_8u_C4RSfs", 4, 4, false}, {"zkriCopy_8u_P3R", 3, 3, true},    {"zkriCopy_8u_AP4R", 4, 3, true},
        {"zkriAbs_16s_C1IR", 1, 1, false},  {"zkriDCT8x8Fwd_16s_C1", 1, 1, false},
    };
    for (const Case& c : cases) {
        zkFunc f(c.func);
        EXPECT_EQ(zkImage::numChannels(f), c.channels) << c.func;
        EXPECT_EQ(zkImage::numActualChannels(f), c.actual) << c.func;
        EXPECT_EQ(zkImage::isPlane(f), c.plane) << c.func;
    }
}

TEST(ImageLayout, EachArgumentHasItsOwnLayout) {
    zkFunc f("zkriCopy_8u_C3P3R");
    EXPECT_FALSE(zkImage::isPlane(f, zkSrc));
    EXPECT_TRUE(zkImage::isPlane(f, zkDst));
    zkImage src(f, zkSrc), dst(f, zkDst);
    EXPECT_FALSE(src.plane());
    EXPECT_TRUE(dst.plane());
    EXPECT_EQ(dst.channels(), 3);
}

// ---------------------------------------------------------------- creation

TEST_F(Image, StepIsRowBytesRoundedUpTo16) {
    struct Case {
        const char* func;
        int width, step;
    };
    const Case cases[] = {{"zkriAdd_8u_C1RSfs", 1, 16},  {"zkriAdd_8u_C1RSfs", 16, 16}, {"zkriAdd_8u_C1RSfs", 17, 32},
                          {"zkriAdd_8u_C3RSfs", 13, 48}, {"zkriAdd_32f_C1R", 4, 16},    {"zkriAdd_32f_C1R", 5, 32},
                          {"zkriCopy_8u_P3R", 5, 16},    {"zkriAdd_64fc_C1R", 3, 48},   {"zkriAdd_16s_AC4RSfs", 3, 32}};
    for (const Case& c : cases) {
        zkImage im(zkFunc(c.func), zkSrc);
        ASSERT_TRUE(im.createImage({c.width, 3})) << c.func;
        EXPECT_EQ(im.step(), c.step) << c.func << " " << c.width;
        EXPECT_EQ(offset64(im.data()), 0);
    }
}

TEST_F(Image, Ac4HasFourChannelsInMemoryAndThreeProcessed) {
    zkImage im(zkFunc("zkriAdd_8u_AC4RSfs"), zkSrc);
    ASSERT_TRUE(im.createImage({5, 2}));
    EXPECT_EQ(im.channels(), 4);
    EXPECT_EQ(im.actualChannels(), 3);
    EXPECT_EQ(im.getRowLen(), 20);
    EXPECT_EQ(im.step(), 32);
    EXPECT_EQ(im.objectSize(), 64);
    EXPECT_EQ(im.getString(), "5x2 8u AC4 step 32");
}

TEST_F(Image, InterleavedIsOneVectorOwnedByTheImage) {
    zkImage im(zkFunc("zkriAdd_16u_C3R"), zkSrc);
    ASSERT_TRUE(im.createImage(7, 4));
    EXPECT_EQ(qmMallocCount(), 1);
    int size;
    void* owner;
    ASSERT_TRUE(qmMallocInfo(im.data(), &size, &owner));
    EXPECT_EQ(size, 4 * 48);
    EXPECT_EQ(owner, &im);
    EXPECT_EQ(qmVectorPlacement::m_vectorNum, 1);
    EXPECT_EQ(im.ptr<Zkr16u>(), im.data());
    EXPECT_EQ(im.ptr<Zkr8u>(), nullptr);
    EXPECT_EQ(im.roi().width, 7);
    EXPECT_EQ(im.roi().height, 4);
    EXPECT_EQ(im.roiPointer(), im.data());
}

TEST_F(Image, PlanesCountAsOneVectorAndLaterPlanesAreSubobjects) {
    setPlacement(1, false, 64, true);  // by element, only the first vector misaligned
    zkImage a(zkFunc("zkriCopy_32f_P3R"), zkSrc), b(zkFunc("zkriCopy_32f_P3R"), zkDst);
    ASSERT_TRUE(a.createImage({10, 4}));
    EXPECT_EQ(qmVectorPlacement::m_vectorNum, 1);
    EXPECT_EQ(qmMallocCount(), 3);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(offset64(a.planePtr(c)), 4) << c;  // every plane of the first vector
    EXPECT_EQ(a.planePtr(3), nullptr);

    void* owner;
    qmMallocInfo(a.planePtr(0), nullptr, &owner);
    EXPECT_EQ(owner, &a);
    qmMallocInfo(a.planePtr(2), nullptr, &owner);
    EXPECT_EQ(owner, MEM_OBJECT_IS_SUBOBJECT);
    // Each plane still takes the next mutual shift.
    EXPECT_EQ(qmVectorPlacement::m_vectorShift, 3 * 64);

    ASSERT_TRUE(b.createImage({10, 4}));  // the second vector of the test: aligned
    for (int c = 0; c < 3; ++c) EXPECT_EQ(offset64(b.planePtr(c)), 0) << c;
    EXPECT_EQ(qmVectorPlacement::m_vectorNum, 2);
}

TEST_F(Image, FirstPlaneOnlyLeavesLaterPlanesAligned) {
    setPlacement(3, true, 0, false);
    zkImage im(zkFunc("zkriCopy_8u_AP4R"), zkSrc);
    ASSERT_TRUE(im.createImage({9, 3}, zkArgKeep, -1, true));
    EXPECT_EQ(offset64(im.planePtr(0)), 3);
    for (int c = 1; c < 4; ++c) EXPECT_EQ(offset64(im.planePtr(c)), 0) << c;
    ASSERT_TRUE(im.createImage({9, 3}));
    for (int c = 0; c < 4; ++c) EXPECT_EQ(offset64(im.planePtr(c)), 3) << c;
}

TEST_F(Image, ArgumentSelectsTheLayoutAtCreation) {
    zkImage im(zkFunc("zkriCopy_16s_C3P3R"), zkSrc);
    ASSERT_TRUE(im.createImage({4, 2}, zkDst));
    EXPECT_TRUE(im.plane());
    EXPECT_EQ(im.numPlanes(), 3);
    ASSERT_TRUE(im.createImage({4, 2}, zkSrc));
    EXPECT_FALSE(im.plane());
    EXPECT_EQ(im.step(), 32);
    EXPECT_EQ(qmMallocCount(), 1);  // the planes were freed
}

TEST_F(Image, FailedCreationReportsAndLeavesNothing) {
    zkImage im(zkFunc("zkriAdd_32f_C4R"), zkSrc, "pDst");
    ConsoleCapture out(ERR);
    EXPECT_FALSE(im.createImage({1 << 20, 1 << 12}));
    EXPECT_FALSE(im.createImage({-1, 5}));
    EXPECT_EQ(out.text(), "-- Fail to allocate pDst data\n-- Fail to allocate pDst data\n");
    EXPECT_EQ(im.data(), nullptr);
    EXPECT_EQ(qmMallocCount(), 0);
}

TEST_F(Image, EmptySizeAllocatesNothing) {
    zkImage im(zkFunc("zkriAdd_8u_C1R"), zkSrc);
    EXPECT_TRUE(im.createImage({0, 10}));
    EXPECT_EQ(im.data(), nullptr);
    EXPECT_EQ(qmMallocCount(), 0);
}

// ---------------------------------------------------------------- addressing

TEST_F(Image, PlanarRowsRunThroughThePlanes) {
    zkImage im(zkFunc("zkriCopy_16s_P3R"), zkSrc);
    ASSERT_TRUE(im.createImage({6, 5}));
    EXPECT_EQ(im.getNumRows(), 15);
    EXPECT_EQ(im.getRowLen(), 12);
    EXPECT_EQ(im.getRowPointer(0), im.planePtr(0));
    EXPECT_EQ(im.getRowPointer(5), im.planePtr(1));  // row h is row 0 of the second plane
    EXPECT_EQ(im.getRowPointer(13), static_cast<char*>(im.planePtr(2)) + 3 * im.step());
    EXPECT_EQ(im.getRowPointer(15), nullptr);
    EXPECT_EQ(im.getRowPointer(-1), nullptr);
    EXPECT_EQ(im.getPointerAt(2, 3, 1), static_cast<char*>(im.planePtr(1)) + 3 * im.step() + 4);
}

TEST_F(Image, InterleavedPointerAtSelectsTheChannel) {
    zkImage im(zkFunc("zkriAdd_32f_C3R"), zkSrc);
    ASSERT_TRUE(im.createImage({5, 4}));
    EXPECT_EQ(im.getNumRows(), 4);
    EXPECT_EQ(im.getRowPointer(3), static_cast<char*>(im.data()) + 3 * 64);
    EXPECT_EQ(im.getPointerAt(2, 1, 2), static_cast<char*>(im.data()) + 64 + (2 * 3 + 2) * 4);
    EXPECT_EQ(im.getPointerAt(0, 0, 3), nullptr);
    im.setRoi({1, 2, 3, 2});
    EXPECT_EQ(im.roiPointer(), im.getPointerAt(1, 2));
    EXPECT_EQ(im.roiSize().width, 3);
}

// ---------------------------------------------------------------- fills

// (sin((cx^2 + cy^2) * 2 pi / (4 h)) + 1) * magn + offset
double rings(int x, int y, int w, int h, double magn, double offset) {
    const double cx = x - (w - 1) / 2.0, cy = y - (h - 1) / 2.0;
    return (std::sin((cx * cx + cy * cy) * 2 * M_PI / (4.0 * h)) + 1) * magn + offset;
}

TEST_F(Image, Jaehne2DMatchesTheFormulaOnEveryChannel) {
    zkImage im(zkFunc("zkriAdd_16s_C3RSfs"), zkSrc);
    ASSERT_TRUE(im.createImage({7, 6}));
    ASSERT_TRUE(im.setJaehne(1000));
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 7; ++x)
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(*static_cast<Zkr16s*>(im.getPointerAt(x, y, c)),
                          static_cast<Zkr16s>(static_cast<long long>(rings(x, y, 7, 6, 1000, 0))));
    // The row padding is untouched.
    const auto* row = static_cast<unsigned char*>(im.getRowPointer(2));
    for (int i = im.getRowLen(); i < im.step(); ++i) EXPECT_EQ(row[i], 0);
}

TEST_F(Image, Jaehne2DUnsignedKeepsTheLowByte) {
    zkImage im(zkFunc("zkriAdd_8u_C1RSfs"), zkSrc);
    ASSERT_TRUE(im.createImage({9, 8}));
    ASSERT_TRUE(im.setJaehne(1000));  // limited to 127.5, offset 127.5: values up to 382 wrap
    bool wrapped = false;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 9; ++x) {
            const long long v = static_cast<long long>(rings(x, y, 9, 8, 127.5, 127.5));
            wrapped = wrapped || v > 255;
            EXPECT_EQ(*static_cast<Zkr8u*>(im.getPointerAt(x, y)), static_cast<Zkr8u>(v));
        }
    EXPECT_TRUE(wrapped);
    EXPECT_FALSE(im.setJaehne(-2));
}

TEST_F(Image, Jaehne2DOnPlanesAndFloats) {
    zkImage im(zkFunc("zkriCopy_32f_P3R"), zkSrc);
    ASSERT_TRUE(im.createImage({5, 4}));
    ASSERT_TRUE(im.setJaehne());  // magnitude 1 for floats
    for (int c = 0; c < 3; ++c)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 5; ++x)
                EXPECT_FLOAT_EQ(*static_cast<Zkr32f*>(im.getPointerAt(x, y, c)),
                                static_cast<float>(rings(x, y, 5, 4, 1, 0)));
}

// The plane is computed for one quadrant and mirrored: every parity of width and height, the
// one-pixel and one-row planes, and a channel stride all give the formula's value everywhere.
TEST_F(Image, Jaehne2DMirroredQuadrantsOnEveryParity) {
    for (auto [w, h] : {std::pair{1, 1}, {2, 1}, {1, 2}, {2, 3}, {8, 5}, {6, 7}, {5, 5}, {16, 16}}) {
        zkImage im(zkFunc("zkriAdd_32f_C3R"), zkSrc);
        ASSERT_TRUE(im.createImage({w, h}));
        ASSERT_TRUE(im.setJaehne());  // magnitude 1 for floats
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < 3; ++c)
                    ASSERT_FLOAT_EQ(*static_cast<Zkr32f*>(im.getPointerAt(x, y, c)), static_cast<float>(rings(x, y, w, h, 1, 0)))
                        << w << "x" << h << " at " << x << "," << y << " channel " << c;
    }
}

TEST_F(Image, ConstAndSequenceFillPixelsOnly) {
    zkImage im(zkFunc("zkriAdd_8u_C3RSfs"), zkSrc);
    ASSERT_TRUE(im.createVector({3, 2}, SET_CONST, 200, 0));
    auto* row1 = static_cast<unsigned char*>(im.getRowPointer(1));
    EXPECT_EQ(row1[8], 200);
    EXPECT_EQ(row1[9], 0);  // padding
    ASSERT_TRUE(im.setSequence(0, 1));
    // The sequence runs through the pixels row after row, skipping the padding.
    EXPECT_EQ(row1[0], 9);
    EXPECT_EQ(row1[8], 17);
    EXPECT_EQ(row1[9], 0);
    im.setMaxValue();
    EXPECT_EQ(row1[4], 255);
}

TEST_F(Image, SequenceRestartsOnEveryPlane) {
    zkImage im(zkFunc("zkriCopy_32s_P3R"), zkSrc);
    ASSERT_TRUE(im.createVector(2, 2, SET_SEQUENCE, 10, 5));
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(*static_cast<Zkr32s*>(im.getPointerAt(0, 0, c)), 10);
        EXPECT_EQ(*static_cast<Zkr32s*>(im.getPointerAt(1, 1, c)), 25);
    }
    ASSERT_TRUE(im.setSequence(0, 1, 2, true));
    EXPECT_EQ(*static_cast<Zkr32s*>(im.getPointerAt(1, 1, 2)), 0);  // 0 1 2 | 0
}

TEST_F(Image, RandomDiffersBetweenPlanesAndRepeatsForTheSameLine) {
    zkImage im(zkFunc("zkriCopy_16u_P3R"), zkSrc);
    ASSERT_TRUE(im.createVectorExt({40, 8}, -1, SET_RANDOM, 0, 65535));
    const int bytes = im.getRowLen();
    EXPECT_NE(std::memcmp(im.planePtr(0), im.planePtr(1), bytes), 0);
    std::vector<unsigned char> plane2(static_cast<unsigned char*>(im.planePtr(2)),
                                      static_cast<unsigned char*>(im.planePtr(2)) + bytes);
    qmVectorPlacement::resetPlacement();
    ASSERT_TRUE(im.createVectorExt({40, 8}, -1, SET_RANDOM, 0, 65535));
    EXPECT_EQ(std::memcmp(im.planePtr(2), plane2.data(), bytes), 0);
}

// ---------------------------------------------------------------- reserved copies

TEST_F(Image, ReservedCopiesCoverEveryPlane) {
    zkImage im(zkFunc("zkriCopy_8u_P3R"), zkSrc);
    EXPECT_FALSE(im.reserveCopy());
    ASSERT_TRUE(im.createVector({4, 3}, SET_SEQUENCE, 1, 1));
    ASSERT_TRUE(im.reserveCopy());
    im.setConst(0, 0);
    ASSERT_TRUE(im.setReservedCopy());
    for (int c = 0; c < 3; ++c) EXPECT_EQ(*static_cast<Zkr8u*>(im.getPointerAt(3, 2, c)), 12) << c;
    im.deleteReservedCopy();
    EXPECT_FALSE(im.setReservedCopy());
}

TEST_F(Image, ReserveAllVectorsCoversImagesOnce) {
    zkImage planar(zkFunc("zkriCopy_8u_P3R"), zkSrc), packed(zkFunc("zkriAdd_8u_C3R"), zkDst);
    planar.createVector({4, 2}, SET_CONST, 7, 0);
    packed.createVector({4, 2}, SET_CONST, 9, 0);
    ASSERT_TRUE(zkVector::reserveAllVectors());
    planar.setConst(0, 0);
    packed.setConst(0, 0);
    ASSERT_TRUE(zkVector::restoreAllVectors());
    EXPECT_EQ(*static_cast<Zkr8u*>(planar.getPointerAt(3, 1, 2)), 7);
    EXPECT_EQ(*static_cast<Zkr8u*>(packed.getPointerAt(3, 1, 2)), 9);
}

// ---------------------------------------------------------------- text forms

TEST_F(Image, DescriptionNamesSizeTypeLayoutAndStep) {
    zkImage im(zkFunc("zkriCopy_32f_P3R"), zkSrc);
    im.createImage({640, 480});
    EXPECT_EQ(im.getString(), "640x480 32f P3 step 2560 planes 3");
    EXPECT_EQ(im.objectInfo(), "src 640x480 32f P3 step 2560 planes 3");
    EXPECT_EQ(im.objectSize(), 3 * 480 * 2560);
}


// ---------------------------------------------------------------- large random fills

// Beyond 8 MB a plane repeats its drawn rows (out-of-cache images fill at a copy's speed): the rows
// up to that size differ, every later row equals the drawn row it repeats, padding stays zero.
TEST_F(Image, LargeRandomPlaneRepeatsItsFirstEightMegabytes) {
    zkImage im(zkFunc("zkriAdd_8u_C1RSfs"), zkSrc);
    const int w = 4099, h = 4100;  // rows of 4112 bytes with padding; 2041 rows drawn
    ASSERT_TRUE(im.createImage({w, h}));
    ASSERT_TRUE(im.setRandom(0, 255));
    const auto row = [&](int y) { return static_cast<const unsigned char*>(im.data()) + std::size_t(y) * im.step(); };
    const int drawn = int(((8u << 20) + w - 1) / w);
    EXPECT_NE(std::memcmp(row(0), row(drawn - 1), w), 0);
    EXPECT_NE(std::memcmp(row(drawn - 1), row(drawn), w), 0) << "the last drawn row is not repeated early";
    for (int y : {drawn, drawn + 1, 2 * drawn - 1, h - 1})
        EXPECT_EQ(std::memcmp(row(y), row(y % drawn), w), 0) << "row " << y;
    for (int y : {0, drawn, h - 1})
        for (int x = w; x < im.step(); ++x) ASSERT_EQ(row(y)[x], 0) << "padding of row " << y;
}
