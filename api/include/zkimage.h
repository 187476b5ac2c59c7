// zkImage: the two-dimensional test data object, laid out after the descriptor of the function that
// uses it (channels, unprocessed alpha, interleaved or planar), rows from the test allocator.
#pragma once
#include "qmgeometry.h"
#include "zkvector.h"
#include "zkrcore.h"

// createImage's argument selector: keep the layout set by init() or the constructor.
constexpr int zkArgKeep = -1;

class zkImage : public zkVector {
public:
    static constexpr int MAX_PLANES = 4;
    static constexpr int STEP_ALIGN = 16;  // row steps are multiples of this

    explicit zkImage(const qmString& name = "image");
    // Layout of argument arg (zkSrc, zkDst, ...) of the function.
    zkImage(const zkFunc& func, int arg, const qmString& name = qmString());
    ~zkImage() override;

    // Layout rules of one argument's channel token ("C3", "AC4", "P3"; the whole descriptor when the
    // function has no token): channels in memory, channels processed (alpha carried, not processed),
    // planar.
    static int numChannels(const zkFunc& func, int arg = zkSrc);
    static int numActualChannels(const zkFunc& func, int arg = zkSrc);
    static bool isPlane(const zkFunc& func, int arg = zkSrc);

    // Type and layout; actual channels default to channels.
    void init(zkType type, int channels, bool plane, int actualChannels = 0);
    void initFromFunc(const zkFunc& func, int arg);

    // Allocates the image. arg >= 0 takes the layout of that argument of the image's function first;
    // align < 0 asks for the session's misalignment (0 and up: bytes as given); firstPlaneOnly
    // leaves the planes after the first on a boundary. False when a buffer cannot be allocated.
    bool createImage(ZkriSize size, int arg = zkArgKeep, int align = -1, bool firstPlaneOnly = false);
    bool createImage(int width, int height, int arg = zkArgKeep, int align = -1, bool firstPlaneOnly = false);
    bool createImageExt(ZkriSize size, int arg, int align, bool firstPlaneOnly, SetMode mode, double v1, double v2);
    bool createImageExt(int width, int height, int arg, int align, bool firstPlaneOnly, SetMode mode, double v1,
                        double v2);
    // Create with the session's misalignment and the current layout, then fill.
    bool createVector(ZkriSize size, SetMode mode, double v1, double v2);
    bool createVector(int width, int height, SetMode mode, double v1, double v2);
    bool createVectorExt(ZkriSize size, int align, SetMode mode, double v1, double v2);
    bool createVectorExt(int width, int height, int align, SetMode mode, double v1, double v2);

    // Overrides over every plane.
    int objectSize() const override;
    qmString objectInfo() const override;
    bool reserveCopy() override;
    bool setReservedCopy() override;
    void deleteReservedCopy() override;
    void deleteVector() override;
    using zkVector::setConst;
    using zkVector::setJaehne;
    using zkVector::setRandom;
    using zkVector::setSequence;
    bool setConst(double re, double im) override;
    bool setMinValue() override;
    bool setMaxValue() override;
    bool setJaehne(double magn) override;  // two-dimensional rings, every channel alike
    bool setSequence(double start, double step) override;
    bool setSequence(double start, double step, double limit, bool wrap) override;
    bool setRandom(double low, double high) override;

    // Rings on one plane of the image's type: w x h elements, rows step bytes apart, elements
    // stride elements apart. False for a negative magnitude.
    bool setPlaneJaehne(void* plane, int width, int height, int step, int stride, double magn);

    // Plane pointers from the plane vectors (planar), or plane 0 = the data (interleaved).
    void setPlaneArray();
    void setPlanePtrs();

    // Rows: height, or height times planes; planar rows are numbered through the planes.
    int getNumRows() const;
    int getRowLen() const;                 // bytes of pixels in one row (no padding)
    void* getRowPointer(int row) const;    // null outside the image
    void* getPointerAt(int x, int y, int plane = 0) const;  // interleaved: plane is the channel

    // "640x480 8u C3 step 1920", "640x480 32f P3 step 2560 planes 3", "AC4" with alpha.
    qmString getString() const;

    // Bitmaps give 8u interleaved images.
    bool canLoadImage() const;
    // Fills the image from a bitmap file; on failure writes "--- Can't load file <name>".
    bool loadImage(const qmString& fileName, int arg = zkArgKeep);

    // Region of interest: the whole image after creation.
    const ZkriRect& roi() const { return m_roi; }
    void setRoi(const ZkriRect& roi) { m_roi = roi; }
    ZkriSize roiSize() const { return {m_roi.width, m_roi.height}; }
    void* roiPointer(int plane = 0) const { return getPointerAt(m_roi.x, m_roi.y, plane); }

    // Cheap accessors for test modules.
    void* data() const { return m_planePtr[0]; }
    // Typed pointer to plane 0 (the whole buffer when interleaved); null for another element type.
    template <class T>
    T* ptr() const { return m_plane ? m_planes[0].ptr<T>() : zkVector::ptr<T>(); }
    void* planePtr(int plane) const { return plane >= 0 && plane < MAX_PLANES ? m_planePtr[plane] : nullptr; }
    void* const* planePtrs() const { return m_planePtr; }
    const zkVector& planeVector(int plane) const { return m_planes[plane]; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    ZkriSize size() const { return {m_width, m_height}; }
    int step() const { return m_step; }
    int channels() const { return m_channels; }
    int actualChannels() const { return m_actualChannels; }
    bool plane() const { return m_plane; }
    int numPlanes() const { return m_plane ? m_channels : 1; }
    int pixelSize() const { return elemSize() * (m_plane ? 1 : m_channels); }

private:
    bool createPlanes(int bytes, int align, bool firstPlaneOnly);
    // Calls f(plane, rowPointer) for every row of every plane, planes in order.
    template <class F>
    void forEachRow(F&& f) const;
    // Runs the per-type kernel k(T* row, elements, plane) over every row.
    template <class K>
    bool fillRows(K&& k);

    int m_width = 0;
    int m_height = 0;
    int m_step = 0;
    int m_channels = 1;
    int m_actualChannels = 1;
    bool m_plane = false;
    zkVector m_planes[MAX_PLANES];
    void* m_planePtr[MAX_PLANES] = {};
    ZkriRect m_roi = {0, 0, 0, 0};
};

// The text forms of ZkriSize, ZkriPoint and ZkriRect are in qmgeometry.h.
