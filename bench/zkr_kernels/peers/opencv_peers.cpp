// OpenCV rows of the kernel benchmark: the same operations as the library's rows, at the same
// sizes and element types, on one thread, so that each library row has an anchor from an image
// library in everyday use. A row is named like the library row it stands beside, with "opencv"
// in the level's place ("Add_8u_C1RSfs/opencv/L1"); OpenCV picks its own instruction set. Built
// only when CMake finds OpenCV (tools/install-bench-deps.sh installs it).
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <string>

#include "bench_support.h"

namespace zkbench {
namespace {

// Peer sizes: the library rows' L1 and L2 images (the "mem" size is left to the library rows).
constexpr ImageSize kPeerSizes[] = {kSizes[0], kSizes[1]};

// An image of `type` over a Buffer (64-byte aligned, every page touched, filled like the library
// rows' sources).
template <class T> struct Image {
    Buffer<T> buf;
    cv::Mat mat;
    Image(int w, int h, int type, int channels = 1)
        : buf(std::size_t(w) * h * channels), mat(h, w, type, buf.data()) {}
};

// One checked call, then the timed loop of every row (timeKernel): the call returns no status, so
// it is wrapped to give the library's "no error".
template <class Call> void timePeer(benchmark::State& state, double pixels, double bytesPerPixel, Call&& call) {
    cv::setNumThreads(1);
    timeKernel(state, pixels, bytesPerPixel, [&] {
        call();
        return zkrStsNoErr;
    });
}

template <int type, class T> void add(benchmark::State& s, ImageSize z) {
    Image<T> a(z.width, z.height, type), b(z.width, z.height, type), d(z.width, z.height, type);
    timePeer(s, double(z.width) * z.height, 3.0 * sizeof(T), [&] { cv::add(a.mat, b.mat, d.mat); });
}
template <int type, class T> void mul(benchmark::State& s, ImageSize z) {
    Image<T> a(z.width, z.height, type), b(z.width, z.height, type), d(z.width, z.height, type);
    timePeer(s, double(z.width) * z.height, 3.0 * sizeof(T), [&] { cv::multiply(a.mat, b.mat, d.mat); });
}
// The library's Threshold with "greater": values above 128 become 128, which is OpenCV's truncation.
template <int type, class T> void threshold(benchmark::State& s, ImageSize z) {
    Image<T> a(z.width, z.height, type), d(z.width, z.height, type);
    for (int i = 0; i < z.width * z.height; ++i) a.buf.data()[i] = T((i * 97 + i / 7) % 256);
    timePeer(s, double(z.width) * z.height, 2.0 * sizeof(T),
             [&] { cv::threshold(a.mat, d.mat, 128, 255, cv::THRESH_TRUNC); });
}
template <int srcType, class S, int dstType, class D> void convert(benchmark::State& s, ImageSize z) {
    Image<S> a(z.width, z.height, srcType);
    Image<D> d(z.width, z.height, dstType);
    timePeer(s, double(z.width) * z.height, double(sizeof(S) + sizeof(D)), [&] { a.mat.convertTo(d.mat, dstType); });
}
cv::Scalar g_sum;
double g_min, g_max;
void sum32f(benchmark::State& s, ImageSize z) {
    Image<float> a(z.width, z.height, CV_32FC1);
    timePeer(s, double(z.width) * z.height, 4.0, [&] { g_sum = cv::sum(a.mat); });
}
void minMax8u(benchmark::State& s, ImageSize z) {
    Image<unsigned char> a(z.width, z.height, CV_8UC1);
    timePeer(s, double(z.width) * z.height, 1.0, [&] { cv::minMaxLoc(a.mat, &g_min, &g_max); });
}
// 255 even bins over [0, 256) for 8u and [0, 65536) for 16u: the library rows' 256 levels.
template <int type, class T> void histogram(benchmark::State& s, ImageSize z) {
    Image<T> a(z.width, z.height, type);
    cv::Mat hist(255, 1, CV_32F);
    const int channels[] = {0}, bins[] = {255};
    const float range[] = {0.0f, type == CV_8UC1 ? 256.0f : 65536.0f};
    const float* ranges[] = {range};
    timePeer(s, double(z.width) * z.height, double(sizeof(T)),
             [&] { cv::calcHist(&a.mat, 1, channels, cv::Mat(), hist, 1, bins, ranges); });
}
void lut8u(benchmark::State& s, ImageSize z) {
    Image<unsigned char> a(z.width, z.height, CV_8UC1), d(z.width, z.height, CV_8UC1);
    cv::Mat table(1, 256, CV_8UC1);
    for (int k = 0; k < 256; ++k) table.at<unsigned char>(k) = static_cast<unsigned char>(255 - k);
    timePeer(s, double(z.width) * z.height, 2.0, [&] { cv::LUT(a.mat, table, d.mat); });
}
void transpose8u(benchmark::State& s, ImageSize z) {
    Image<unsigned char> a(z.width, z.height, CV_8UC1), d(z.height, z.width, CV_8UC1);
    timePeer(s, double(z.width) * z.height, 2.0, [&] { cv::transpose(a.mat, d.mat); });
}
// The library's vertical axis mirrors left and right: OpenCV's flip about the y axis.
void mirror8u(benchmark::State& s, ImageSize z) {
    Image<unsigned char> a(z.width, z.height, CV_8UC1), d(z.width, z.height, CV_8UC1);
    timePeer(s, double(z.width) * z.height, 2.0, [&] { cv::flip(a.mat, d.mat, 1); });
}
// The source holds the mask's margins around the region, as in the library rows; OpenCV reads
// them as the neighbours of the region's edge pixels.
template <int mask, bool median> void filter(benchmark::State& s, ImageSize z) {
    Image<unsigned char> src(z.width + mask - 1, z.height + mask - 1, CV_8UC1), d(z.width, z.height, CV_8UC1);
    const cv::Mat roi = src.mat(cv::Rect(mask / 2, mask / 2, z.width, z.height));
    timePeer(s, double(z.width) * z.height, 2.0, [&] {
        if constexpr (median) cv::medianBlur(roi, d.mat, mask);
        else cv::boxFilter(roi, d.mat, -1, cv::Size(mask, mask));
    });
}
void resizeLinearHalf(benchmark::State& s, ImageSize z) {
    Image<unsigned char> src(z.width, z.height, CV_8UC1), d(z.width / 2, z.height / 2, CV_8UC1);
    timePeer(s, double(z.width / 2) * (z.height / 2), 5.0,
             [&] { cv::resize(src.mat, d.mat, d.mat.size(), 0, 0, cv::INTER_LINEAR); });
}

using PeerFn = void (*)(benchmark::State&, ImageSize);
struct PeerRow {
    const char* name;  // the library row it stands beside
    PeerFn fn;
};
constexpr PeerRow kRows[] = {
    {"Add_8u_C1RSfs", &add<CV_8UC1, unsigned char>},
    {"Add_32f_C1R", &add<CV_32FC1, float>},
    {"Mul_8u_C1RSfs", &mul<CV_8UC1, unsigned char>},
    {"Mul_32f_C1R", &mul<CV_32FC1, float>},
    {"Threshold_8u_C1R", &threshold<CV_8UC1, unsigned char>},
    {"Threshold_32f_C1R", &threshold<CV_32FC1, float>},
    {"Convert_8u32f_C1R", &convert<CV_8UC1, unsigned char, CV_32FC1, float>},
    {"Convert_32f8u_C1R_near", &convert<CV_32FC1, float, CV_8UC1, unsigned char>},
    {"Sum_32f_C1R_fast", &sum32f},
    {"MinMax_8u_C1R", &minMax8u},
    {"HistogramEven_8u_C1R", &histogram<CV_8UC1, unsigned char>},
    {"HistogramEven_16u_C1R", &histogram<CV_16UC1, unsigned short>},
    {"LUT_8u_C1R", &lut8u},
    {"Transpose_8u_C1R", &transpose8u},
    {"Mirror_8u_C1R_vertical", &mirror8u},
    {"FilterBox_8u_C1R_3x3", &filter<3, false>},
    {"FilterBox_8u_C1R_7x7", &filter<7, false>},
    {"FilterMedian_8u_C1R_3x3", &filter<3, true>},
    {"Resize_8u_C1R_linear_x0.5", &resizeLinearHalf},
};

// The FFT rows: a forward transform of a 256 x 256 image, complex to complex and real to its packed
// spectrum (OpenCV's CCS packing), beside the library's "order8x8" rows.
template <bool complex> void dft(benchmark::State& s) {
    constexpr int n = 256;
    Image<float> a(n, n, complex ? CV_32FC2 : CV_32FC1, complex ? 2 : 1), d(n, n, complex ? CV_32FC2 : CV_32FC1, complex ? 2 : 1);
    cv::setNumThreads(1);
    const auto t = timeKernel(s, double(n) * n, 0.0, [&] {
        cv::dft(a.mat, d.mat);
        return zkrStsNoErr;
    });
    if (t) s.counters["flop/cpu_clk"] = 5.0 * 16 / (complex ? 1 : 2) / t->cpuClkPerPx;
}

bool registerRows() {
    for (const PeerRow& row : kRows)
        for (const ImageSize& size : kPeerSizes) {
            const std::string full = std::string(row.name) + "/opencv/" + size.name;
            benchmark::RegisterBenchmark(full.c_str(), row.fn, size)->Unit(benchmark::kMicrosecond);
        }
    benchmark::RegisterBenchmark("FFTFwd_CToC_32fc_C1R/opencv/order8x8", &dft<true>)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("FFTFwd_RToPack_32f_C1R/opencv/order8x8", &dft<false>)->Unit(benchmark::kMicrosecond);
    return true;
}

[[maybe_unused]] const bool s_registered = registerRows();

}  // namespace
}  // namespace zkbench
