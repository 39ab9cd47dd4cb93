// TportColor's HSV get and set over 1M colours beside OpenCV's cvtColor on
// the same floats (when OpenCV is installed; one OpenCV thread, as ours is
// one loop) and beside the textbook scalar loop a user would write.

#include "grundel/color/TportColor.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#if GRUNDEL_BENCH_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

static_assert(sizeof(TportColor) == 4 * sizeof(float), "a colour is four packed floats");

// Colours and HSV triples in range, made once, the same on every run.
const std::vector<TportColor>& colors(std::size_t n) {
    static std::vector<TportColor> v;
    if (v.size() != n) {
        std::mt19937 rng(5);
        std::uniform_real_distribution<float> unit(0.0f, 1.0f);
        v.clear();
        for (std::size_t i = 0; i < n; ++i)
            v.emplace_back(unit(rng), unit(rng), unit(rng), 1.0f);
    }
    return v;
}

const std::vector<float>& hsvTriples(std::size_t n) {
    static std::vector<float> v;
    if (v.size() != 3 * n) {
        std::mt19937 rng(6);
        std::uniform_real_distribution<float> unit(0.0f, 1.0f);
        v.resize(3 * n);
        for (std::size_t i = 0; i < n; ++i) {
            v[3 * i] = 360.0f * unit(rng);
            if (v[3 * i] >= 360.0f)
                v[3 * i] = 0.0f;
            v[3 * i + 1] = unit(rng);
            v[3 * i + 2] = unit(rng);
        }
    }
    return v;
}

const float* floats(const std::vector<TportColor>& c) { return reinterpret_cast<const float*>(c.data()); }
float* floats(std::vector<TportColor>& c) { return reinterpret_cast<float*>(c.data()); }

// The conversions of each implementation, by the name the results carry.
template <class Impl>
struct Hsv;

template <>
struct Hsv<TportColor> {
    static void toHsv(const std::vector<TportColor>& in, float* out) {
        for (const TportColor& c : in) {
            c.get(TportColor::HSV, out[0], out[1], out[2]);
            out += 3;
        }
    }
    static void fromHsv(const float* in, std::vector<TportColor>& out) {
        for (TportColor& c : out) {
            c.set(TportColor::HSV, in[0], in[1], in[2], 1.0f);
            in += 3;
        }
    }
};

// The conversion as it is usually written: max, min, then one branch per
// sector.
struct ScalarLoop;
template <>
struct Hsv<ScalarLoop> {
    static void toHsv(const std::vector<TportColor>& in, float* out) {
        const float* p = floats(in);
        for (std::size_t i = 0; i < in.size(); ++i, p += 4, out += 3) {
            const float r = p[0], g = p[1], b = p[2];
            const float max = std::fmax(r, std::fmax(g, b)), min = std::fmin(r, std::fmin(g, b));
            const float d = max - min;
            float h = 0.0f;
            if (d > 0.0f) {
                if (max == r)
                    h = 60.0f * std::fmod((g - b) / d + 6.0f, 6.0f);
                else if (max == g)
                    h = 60.0f * ((b - r) / d + 2.0f);
                else
                    h = 60.0f * ((r - g) / d + 4.0f);
            }
            out[0] = h;
            out[1] = max > 0.0f ? d / max : 0.0f;
            out[2] = max;
        }
    }
    static void fromHsv(const float* in, std::vector<TportColor>& out) {
        float* p = floats(out);
        for (std::size_t i = 0; i < out.size(); ++i, in += 3, p += 4) {
            const float h = in[0] / 60.0f, s = in[1], v = in[2];
            const int sector = static_cast<int>(h) % 6;
            const float f = h - std::floor(h);
            const float a = v * (1 - s), b = v * (1 - s * f), c = v * (1 - s * (1 - f));
            const float rgb[6][3] = {{v, c, a}, {b, v, a}, {a, v, c}, {a, b, v}, {c, a, v}, {v, a, b}};
            p[0] = rgb[sector][0];
            p[1] = rgb[sector][1];
            p[2] = rgb[sector][2];
            p[3] = 1.0f;
        }
    }
};

#if GRUNDEL_BENCH_HAVE_OPENCV
struct OpenCV;
template <>
struct Hsv<OpenCV> {
    static void toHsv(const std::vector<TportColor>& in, float* out) {
        const cv::Mat src(static_cast<int>(in.size()), 1, CV_32FC4, const_cast<float*>(floats(in)));
        cv::Mat dst(static_cast<int>(in.size()), 1, CV_32FC3, out);
        cv::cvtColor(src, dst, cv::COLOR_RGB2HSV);
    }
    static void fromHsv(const float* in, std::vector<TportColor>& out) {
        const cv::Mat src(static_cast<int>(out.size()), 1, CV_32FC3, const_cast<float*>(in));
        cv::Mat dst(static_cast<int>(out.size()), 1, CV_32FC4, floats(out));
        cv::cvtColor(src, dst, cv::COLOR_HSV2RGB, 4);
    }
};
#endif

template <class Impl>
void BM_GetHsv(benchmark::State& state) {
#if GRUNDEL_BENCH_HAVE_OPENCV
    cv::setNumThreads(1);
#endif
    const auto n = static_cast<std::size_t>(state.range(0));
    const std::vector<TportColor>& in = colors(n);
    std::vector<float> out(3 * n);
    for (auto _ : state) {
        Hsv<Impl>::toHsv(in, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * n));
}

template <class Impl>
void BM_SetHsv(benchmark::State& state) {
#if GRUNDEL_BENCH_HAVE_OPENCV
    cv::setNumThreads(1);
#endif
    const auto n = static_cast<std::size_t>(state.range(0));
    const float* in = hsvTriples(n).data();
    std::vector<TportColor> out(n);
    for (auto _ : state) {
        Hsv<Impl>::fromHsv(in, out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * n));
}

} // namespace

BENCHMARK_TEMPLATE(BM_GetHsv, TportColor)->Arg(1 << 20);
#if GRUNDEL_BENCH_HAVE_OPENCV
BENCHMARK_TEMPLATE(BM_GetHsv, OpenCV)->Arg(1 << 20);
#endif
BENCHMARK_TEMPLATE(BM_GetHsv, ScalarLoop)->Arg(1 << 20);
BENCHMARK_TEMPLATE(BM_SetHsv, TportColor)->Arg(1 << 20);
#if GRUNDEL_BENCH_HAVE_OPENCV
BENCHMARK_TEMPLATE(BM_SetHsv, OpenCV)->Arg(1 << 20);
#endif
BENCHMARK_TEMPLATE(BM_SetHsv, ScalarLoop)->Arg(1 << 20);
