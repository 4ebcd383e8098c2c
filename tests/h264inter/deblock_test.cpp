// H.264 luma deblocking: hand-worked lines for each branch of the filter,
// every kernel level against the reference on random edges, and the entry
// points' checks.
#include "harness/harness.h"
#include "harness/null_sweep.h"

#include <algorithm>
#include <array>

#include "h264/deblock_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::DeblockDsp;

// A macroblock with a 4-sample margin on every side; origin() is its top-left.
template <class T>
struct Mb {
    static constexpr int kSide = 24;
    int step;  // in samples
    std::vector<T> mem;
    explicit Mb(int extra = 0) : step(kSide + extra), mem(static_cast<size_t>(step) * kSide + 8, 0) {}
    T* origin() { return mem.data() + 4 * step + 4; }
    // Sample k (0..7 = p3..q3) of line i across edge e.
    T& line(bool vertical, int e, int i, int k) {
        return vertical ? origin()[i * step + 4 * e + k - 4] : origin()[(4 * e + k - 4) * step + i];
    }
};

struct Line {
    std::array<int, 8> in;  // p3 p2 p1 p0 q0 q1 q2 q3
    int alpha, beta, bS, tc0, maxVal;
    std::array<int, 8> out;
    const char* what;
};

// Worked by hand from the filter equations.
const Line kLines[] = {
    {{60, 60, 60, 60, 70, 70, 70, 70}, 10, 5, 2, 1, 255, {60, 60, 60, 60, 70, 70, 70, 70}, "|p0-q0| == alpha"},
    {{60, 60, 60, 60, 70, 70, 70, 70}, 11, 5, 2, 1, 255, {60, 60, 61, 63, 67, 69, 70, 70}, "normal, tC = tC0 + 2"},
    {{60, 60, 65, 60, 70, 70, 70, 70}, 11, 5, 2, 1, 255, {60, 60, 65, 60, 70, 70, 70, 70}, "|p1-p0| == beta"},
    {{60, 60, 60, 60, 70, 75, 70, 70}, 11, 5, 2, 1, 255, {60, 60, 60, 60, 70, 75, 70, 70}, "|q1-q0| == beta"},
    {{54, 54, 50, 50, 50, 50, 46, 46}, 10, 5, 1, 1, 255, {54, 54, 51, 50, 50, 49, 46, 46}, "delta 0, p1 and q1 still"},
    {{54, 55, 50, 50, 50, 50, 45, 46}, 10, 5, 3, 1, 255, {54, 55, 50, 50, 50, 50, 45, 46}, "|p2-p0| == beta: no p1"},
    {{60, 60, 60, 60, 66, 66, 66, 66}, 16, 5, 4, 0, 255, {60, 60, 60, 62, 65, 66, 66, 66}, "bS 4, at the small bound"},
    {{60, 60, 60, 60, 65, 65, 65, 65}, 17, 5, 4, 0, 255, {60, 61, 61, 62, 63, 64, 64, 65}, "bS 4, strong both sides"},
    {{60, 60, 60, 60, 65, 65, 70, 65}, 17, 5, 4, 0, 255, {60, 61, 61, 62, 64, 65, 70, 65}, "bS 4, strong p side only"},
    {{60, 60, 60, 60, 70, 70, 70, 70}, 11, 5, 5, 9, 255, {60, 60, 60, 60, 70, 70, 70, 70}, "bS above 4: untouched"},
    {{1023, 1023, 1023, 1022, 1023, 30, 30, 30}, 10, 1000, 2, 200, 1023, {1023, 1023, 1023, 1023, 898, 230, 30, 30},
     "10-bit clamp of p0"},
    {{255, 255, 255, 254, 255, 30, 30, 30}, 10, 255, 2, 200, 255, {255, 255, 255, 255, 226, 142, 30, 30}, "8-bit clamp of p0"},
    // The largest 8-bit delta (159) against tC 94 and 95: either side of the
    // largest tC0 the byte-lane filter takes.
    {{0, 0, 254, 0, 254, 1, 254, 254}, 255, 255, 2, 92, 255, {0, 0, 162, 94, 160, 93, 254, 254}, "delta 159, tC0 92"},
    {{0, 0, 254, 0, 254, 1, 254, 254}, 255, 255, 3, 93, 255, {0, 0, 161, 95, 159, 94, 254, 254}, "delta 159, tC0 93"},
};

// A macroblock with the thresholds and strengths of its edges.
template <class T>
struct Edge {
    Mb<T> mb;
    T alpha[2] = {}, beta[2] = {}, tc0[16] = {};
    Zep8u bs[16] = {};
};

// Filters through table t (wide: its full-range 16-bit kernels), or through
// the entry points when t is null.
template <class T>
void filter(const DeblockDsp* t, bool wide, int dir, Mb<T>& mb, const Edge<T>& in, int depth) {
    const int maxVal = (1 << depth) - 1;
    if constexpr (sizeof(T) == 1) {
        if (t) return t->luma8[dir](mb.origin(), mb.step, in.alpha, in.beta, in.tc0, in.bs);
        auto f = dir ? zepiFilterDeblockingLuma_HorEdge_H264_8u_C1IR : zepiFilterDeblockingLuma_VerEdge_H264_8u_C1IR;
        ASSERT_EQ(f(mb.origin(), mb.step, in.alpha, in.beta, in.tc0, in.bs), zepStatusOk);
    } else {
        if (t) {
            const auto& table = wide ? t->luma16_wide : t->luma16;
            return table[dir](mb.origin(), mb.step, in.alpha, in.beta, in.tc0, in.bs, maxVal);
        }
        const ZepDeblockParams16u p{mb.origin(), mb.step, in.alpha, in.beta, in.tc0, in.bs, depth};
        auto f = dir ? zepiFilterDeblockingLumaHorEdge_H264_16u_C1IR : zepiFilterDeblockingLumaVerEdge_H264_16u_C1IR;
        ASSERT_EQ(f(&p), zepStatusOk);
    }
}

// Fills the four lines of segment `seg` across edge e with c.in over a random
// macroblock and expects c.out there and every other sample unchanged.
template <class T>
void run_line(const Line& c, int dir, int e, int seg, const DeblockDsp& t, bool wide) {
    Edge<T> in{Mb<T>(3)};
    Rng rng(e * 4 + seg);
    for (auto& v : in.mb.mem) v = static_cast<T>(rng.range(0, c.maxVal));
    Mb<T> want = in.mb;
    for (int i = 4 * seg; i < 4 * seg + 4; ++i)
        for (int k = 0; k < 8; ++k) {
            in.mb.line(dir == 0, e, i, k) = static_cast<T>(c.in[k]);
            want.line(dir == 0, e, i, k) = static_cast<T>(c.out[k]);
        }
    // The other edge class (outer vs. inner) keeps zero thresholds: reading them filters nothing.
    in.alpha[e ? 1 : 0] = static_cast<T>(c.alpha);
    in.beta[e ? 1 : 0] = static_cast<T>(c.beta);
    in.bs[4 * e + seg] = static_cast<Zep8u>(c.bS);
    in.tc0[4 * e + seg] = static_cast<T>(c.tc0);
    filter(&t, wide, dir, in.mb, in, c.maxVal == 255 ? 8 : 10);
    ASSERT_TRUE(same_array(want.mem, in.mb.mem, std::string(c.what) + (dir ? " horizontal" : " vertical") + " edge " +
                                                    std::to_string(e) + " segment " + std::to_string(seg)));
}

// 8-bit lines through the 8-bit kernels and both 16-bit kernels; 10-bit lines
// through both 16-bit kernels.
TEST(DeblockLines, HandWorkedCasesAtEveryLevel) {
    for (Isa level : all_levels()) {
        SCOPED_TRACE(zep::isa_name(level));
        const DeblockDsp t = zep::build_table(zep::deblock_init, level);
        for (const Line& c : kLines)
            for (int dir = 0; dir < 2; ++dir)
                for (int e : {0, 3})
                    for (int seg : {0, 2, 3}) {
                        if (c.maxVal == 255) run_line<Zep8u>(c, dir, e, seg, t, false);
                        for (bool wide : {false, true}) run_line<Zep16u>(c, dir, e, seg, t, wide);
                    }
    }
}

// Random macroblocks whose sample spread is comparable to alpha and beta, so
// every comparison lands on both sides and often on equality.
template <class T>
Edge<T> random_edge(Rng& rng, int maxVal) {
    Edge<T> in{Mb<T>(rng.range(0, 9))};
    const int spread = std::min(maxVal, std::array<int, 5>{2, 6, 20, 80, maxVal}[rng.range(0, 4)]);
    const int base = rng.range(0, maxVal - spread), pat = rng.range(0, 3);
    for (auto& v : in.mb.mem) v = static_cast<T>(pat == 1 ? (rng.coin() ? maxVal : 0) : base + rng.range(0, spread));
    if (pat == 2)  // steps at every edge: flat 4x4 blocks
        for (int y = -4; y < 20; ++y)
            for (int x = -4; x < 20; ++x)
                in.mb.origin()[y * in.mb.step + x] =
                    static_cast<T>(base + (((x + 4) >> 2) * 7 + ((y + 4) >> 2) * 5) % (spread + 1));
    for (int i = 0; i < 2; ++i) {
        in.alpha[i] = static_cast<T>(rng.range(0, std::min(maxVal, spread + 3)));
        in.beta[i] = static_cast<T>(rng.range(0, std::min(maxVal, spread / 2 + 3)));
    }
    if (rng.range(0, 9) == 0) in.alpha[0] = in.beta[0] = static_cast<T>(maxVal);
    const int bsMode = rng.range(0, 4);
    for (int i = 0; i < 16; ++i) {
        in.bs[i] = static_cast<Zep8u>(bsMode == 0 ? rng.range(0, 4) : bsMode == 1 ? rng.range(1, 3)
                                      : bsMode == 2 ? (rng.coin() ? 4 : 0) : bsMode == 3 ? rng.range(0, 6) : 4);
        in.tc0[i] = static_cast<T>(rng.range(0, 9) == 0 ? rng.range(0, maxVal) : rng.range(0, 25 * ((maxVal + 1) / 256)));
    }
    if (rng.range(0, 4) == 0) std::fill_n(in.bs + 4 * rng.range(0, 3), 4, 0);
    return in;
}

template <class T>
void matches_reference(const DeblockDsp* k, int depth, int iterations, Rng& rng) {
    const DeblockDsp ref = zep::build_table(zep::deblock_init, Isa::Ref);
    for (int it = 0; it < iterations; ++it)
        for (int dir = 0; dir < 2; ++dir) {
            const Edge<T> in = random_edge<T>(rng, (1 << depth) - 1);
            auto want = in.mb, got = in.mb;
            filter(&ref, true, dir, want, in, depth);
            ASSERT_NO_FATAL_FAILURE(filter(k, false, dir, got, in, depth));
            ASSERT_TRUE(same_array(want.mem, got.mem, "depth " + std::to_string(depth) + " iteration " +
                                                          std::to_string(it) + (dir ? " horizontal" : " vertical")));
        }
}

TEST(DeblockKernels, EveryLevelMatchesReference) {
    for (Isa level : simd_levels()) {
        SCOPED_TRACE(zep::isa_name(level));
        const DeblockDsp k = zep::build_table(zep::deblock_init, level);
        Rng rng(31);
        ASSERT_NO_FATAL_FAILURE(matches_reference<Zep8u>(&k, 8, 3000, rng));
        for (int depth = 8; depth <= 12; ++depth) ASSERT_NO_FATAL_FAILURE(matches_reference<Zep16u>(&k, depth, 600, rng));
    }
}

// Both directions, steps in samples (random extra per macroblock), and depths
// either side of 12 bits, where the entry points leave the 16-bit-lane kernels
// for the full-range ones.
TEST(DeblockEntry, DispatchMatchesReference) {
    Rng rng(6);
    ASSERT_NO_FATAL_FAILURE(matches_reference<Zep8u>(nullptr, 8, 200, rng));
    for (int depth : {10, 12, 13, 14, 16}) ASSERT_NO_FATAL_FAILURE(matches_reference<Zep16u>(nullptr, depth, 200, rng));
}

// Null pointers (8-bit arguments, 16-bit record and its fields) and zero
// strengths write nothing.
TEST(DeblockEntry, NullPointersAndZeroStrengthsWriteNothing) {
    Mb<Zep8u> mb;
    Mb<Zep16u> mb16(5);
    Rng rng(3);
    for (auto& v : mb.mem) v = static_cast<Zep8u>(rng.range(100, 104));
    for (auto& v : mb16.mem) v = static_cast<Zep16u>(rng.range(0, 1023));
    const auto before = mb.mem;
    const auto before16 = mb16.mem;
    const Zep8u a[2] = {40, 40}, b[2] = {10, 10}, tc[16] = {}, bs0[16] = {};
    const Zep16u a16[2] = {1023, 1023}, tc16[16] = {};
    Zep8u bs4[16];
    std::fill_n(bs4, 16, 4);
    for (auto f : {zepiFilterDeblockingLuma_VerEdge_H264_8u_C1IR, zepiFilterDeblockingLuma_HorEdge_H264_8u_C1IR}) {
        EXPECT_TRUE(null_sweep(f, mb.origin(), mb.step, a, b, tc, static_cast<const Zep8u*>(bs4)));
        EXPECT_EQ(f(mb.origin(), -5, a, b, tc, bs0), zepStatusOk);  // the step is not checked
    }
    for (auto f : {zepiFilterDeblockingLumaVerEdge_H264_16u_C1IR, zepiFilterDeblockingLumaHorEdge_H264_16u_C1IR}) {
        EXPECT_EQ(f(nullptr), zepStatusNullPtr);
        auto fields = [&](Zep16u* p, const Zep16u* al, const Zep16u* be, const Zep16u* th, const Zep8u* s) {
            const ZepDeblockParams16u d{p, mb16.step, al, be, th, s, 10};
            return f(&d);
        };
        EXPECT_TRUE(null_sweep(fields, mb16.origin(), a16, a16, tc16, static_cast<const Zep8u*>(bs4)));
    }
    EXPECT_EQ(mb.mem, before);
    EXPECT_EQ(mb16.mem, before16);
    // With strength 4 everywhere the same picture is smoothed: the calls above did reach the kernel.
    EXPECT_EQ(zepiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(mb.origin(), mb.step, a, b, tc, bs4), zepStatusOk);
    EXPECT_NE(mb.mem, before);
}

}  // namespace
