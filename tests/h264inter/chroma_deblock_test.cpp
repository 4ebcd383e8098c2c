// H.264 chroma and MBAFF deblocking: a picture-level reading of the chroma
// edge filter (edges every four chroma samples, strengths looked up at the
// co-located luma sample), hand-worked lines, every kernel level and the
// entry points against it; the MBAFF left edges against the whole-macroblock
// functions; the entry points' checks.
#include "harness/harness.h"
#include "harness/null_sweep.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "h264/deblock_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::DeblockDsp;

// A chroma block (8 wide, 8 or 16 high) with a margin of 4 on every side.
template <class T>
struct Block {
    int h, step;  // step in samples
    std::vector<T> mem;
    Block(int height, int extra) : h(height), step(16 + extra), mem(static_cast<size_t>(step) * (h + 8), 0) {}
    T* origin() { return mem.data() + 4 * step + 4; }
    T& at(int x, int y) { return origin()[y * step + x]; }
};

// The filter inputs in the luma layout the functions take.
template <class T>
struct Params {
    T alpha[2] = {}, beta[2] = {}, tc0[16] = {};
    Zep8u bs[16] = {};
};

enum Kind { kVer420, kHor420, kVer422, kHor422 };
bool vertical(int kind) { return kind == kVer420 || kind == kVer422; }
bool is422(int kind) { return kind >= kVer422; }

// The picture-level process: every chroma edge on the 4-sample grid of the
// block in the filtered direction; the strength and tC0 of a line are those
// of the luma sample at (2x, 2y) for 4:2:0 and (2x, y) for 4:2:2, read from
// the luma bS layout; only p0 and q0 of a line change.
template <class T>
void oracle(Block<T>& b, int kind, const Params<T>& prm, int maxVal) {
    const int subH = is422(kind) ? 1 : 2;
    const bool ver = vertical(kind);
    const int edges = ver ? 2 : b.h / 4, lines = ver ? b.h : 8;
    for (int k = 0; k < edges; ++k)
        for (int i = 0; i < lines; ++i) {
            const int x = ver ? 4 * k : i, y = ver ? i : 4 * k;  // chroma q0 sample
            const int lx = 2 * x, ly = subH * y;                 // co-located luma sample
            const int idx = ver ? 4 * (lx / 4) + ly / 4 : 4 * (ly / 4) + lx / 4;
            const int bS = prm.bs[idx], a = prm.alpha[k > 0], be = prm.beta[k > 0];
            auto s = [&](int d) -> T& { return ver ? b.at(x + d, y) : b.at(x, y + d); };  // d = 0: q0, -1: p0
            const int p1 = s(-2), p0 = s(-1), q0 = s(0), q1 = s(1);
            if (bS == 0 || bS > 4 || std::abs(p0 - q0) >= a || std::abs(p1 - p0) >= be || std::abs(q1 - q0) >= be)
                continue;
            if (bS == 4) {
                s(-1) = static_cast<T>((2 * p1 + p0 + q1 + 2) >> 2);
                s(0) = static_cast<T>((2 * q1 + q0 + p1 + 2) >> 2);
            } else {
                const int tc = prm.tc0[idx] + 1;
                const int d = std::clamp((((q0 - p0) << 2) + (p1 - q1) + 4) >> 3, -tc, tc);
                s(-1) = static_cast<T>(std::clamp(p0 + d, 0, maxVal));
                s(0) = static_cast<T>(std::clamp(q0 - d, 0, maxVal));
            }
        }
}

// Through table t (wide: the full-range 16-bit kernels) or, when t is null,
// through the entry points.
template <class T>
void filter(const DeblockDsp* t, bool wide, int kind, Block<T>& b, const Params<T>& p, int depth) {
    if constexpr (sizeof(T) == 1) {
        if (t) return t->chroma8[kind](b.origin(), b.step, p.alpha, p.beta, p.tc0, p.bs);
        constexpr decltype(&zepiFilterDeblockingChroma_VerEdge_H264_8u_C1IR) f[] = {
            zepiFilterDeblockingChroma_VerEdge_H264_8u_C1IR, zepiFilterDeblockingChroma_HorEdge_H264_8u_C1IR,
            zepiFilterDeblockingChroma422VerEdge_H264_8u_C1IR, zepiFilterDeblockingChroma422HorEdge_H264_8u_C1IR};
        ASSERT_EQ(f[kind](b.origin(), b.step, p.alpha, p.beta, p.tc0, p.bs), zepStatusOk);
    } else {
        if (t) return (wide ? t->chroma16_wide : t->chroma16)[kind](b.origin(), b.step, p.alpha, p.beta, p.tc0, p.bs,
                                                                    (1 << depth) - 1);
        constexpr decltype(&zepiFilterDeblockingChromaVerEdge_H264_16u_C1IR) f[] = {
            zepiFilterDeblockingChromaVerEdge_H264_16u_C1IR, zepiFilterDeblockingChromaHorEdge_H264_16u_C1IR,
            zepiFilterDeblockingChroma422VerEdge_H264_16u_C1IR, zepiFilterDeblockingChroma422HorEdge_H264_16u_C1IR};
        const ZepDeblockParams16u d{b.origin(), b.step, p.alpha, p.beta, p.tc0, p.bs, depth};
        ASSERT_EQ(f[kind](&d), zepStatusOk);
    }
}

struct Line {
    std::array<int, 4> in;  // p1 p0 q0 q1
    int alpha, beta, bS, tc0, maxVal;
    std::array<int, 4> out;
    const char* what;
};

// Worked by hand from the chroma equations.
const Line kLines[] = {
    {{60, 60, 70, 70}, 10, 5, 2, 1, 255, {60, 60, 70, 70}, "|p0-q0| == alpha"},
    {{60, 60, 70, 70}, 11, 5, 2, 1, 255, {60, 62, 68, 70}, "normal: delta 4 clipped to tC0 + 1"},
    {{60, 60, 70, 70}, 11, 5, 2, 0, 255, {60, 61, 69, 70}, "normal, tC0 0 still moves by 1"},
    {{60, 60, 70, 70}, 11, 5, 3, 9, 255, {60, 64, 66, 70}, "normal, delta 4 unclipped"},
    {{65, 60, 70, 70}, 11, 5, 2, 1, 255, {65, 60, 70, 70}, "|p1-p0| == beta"},
    {{60, 60, 70, 75}, 11, 5, 2, 1, 255, {60, 60, 70, 75}, "|q1-q0| == beta"},
    {{58, 60, 70, 73}, 11, 5, 4, 0, 255, {58, 62, 69, 73}, "strong: p1, q1 unchanged"},
    {{60, 60, 70, 70}, 11, 5, 5, 9, 255, {60, 60, 70, 70}, "bS above 4: untouched"},
    {{1023, 1000, 1023, 900}, 30, 124, 1, 30, 1023, {1023, 1023, 996, 900}, "10-bit clamp of p0"},
    {{1020, 1018, 1023, 1023}, 10, 5, 1, 20, 1023, {1020, 1020, 1021, 1023}, "10-bit normal"},
    {{0, 0, 254, 254}, 255, 255, 1, 200, 255, {0, 95, 159, 254}, "largest delta"},
};

// Fills line i of edge k of a kind with c.in over a random block and expects c.out.
template <class T>
void run_line(const Line& c, int kind, int k, int i, const DeblockDsp& t, bool wide) {
    Block<T> b(is422(kind) ? 16 : 8, 3);
    Rng rng(kind * 64 + k * 16 + i);
    for (auto& v : b.mem) v = static_cast<T>(rng.range(0, c.maxVal));
    Params<T> p;
    p.alpha[k > 0] = static_cast<T>(c.alpha);
    p.beta[k > 0] = static_cast<T>(c.beta);
    const bool ver = vertical(kind);
    const int x = ver ? 4 * k : i, y = ver ? i : 4 * k;
    for (int d = -2; d < 2; ++d) (ver ? b.at(x + d, y) : b.at(x, y + d)) = static_cast<T>(c.in[d + 2]);
    // Strength and tC0 of that line's segment, as the luma layout places it.
    const int e = is422(kind) && !ver ? k : 2 * k, seg = is422(kind) && ver ? i / 4 : i / 2;
    p.bs[4 * e + seg] = static_cast<Zep8u>(c.bS);
    p.tc0[4 * e + seg] = static_cast<T>(c.tc0);
    Block<T> want = b;
    for (int d = -2; d < 2; ++d) (ver ? want.at(x + d, y) : want.at(x, y + d)) = static_cast<T>(c.out[d + 2]);
    // The segment's other lines hold random samples: let the oracle decide them.
    Block<T> others = b;
    oracle(others, kind, p, c.maxVal);
    for (int j = 0; j < static_cast<int>(b.mem.size()); ++j)
        if (&b.mem[j] != &(ver ? b.at(x - 1, y) : b.at(x, y - 1)) && &b.mem[j] != &(ver ? b.at(x, y) : b.at(x, y)))
            want.mem[j] = others.mem[j];
    filter(&t, wide, kind, b, p, c.maxVal == 255 ? 8 : 10);
    ASSERT_TRUE(same_array(want.mem, b.mem, std::string(c.what) + " kind " + std::to_string(kind) + " edge " +
                                                std::to_string(k) + " line " + std::to_string(i)));
}

TEST(ChromaDeblockLines, HandWorkedCasesAtEveryLevel) {
    for (Isa level : all_levels()) {
        SCOPED_TRACE(zep::isa_name(level));
        const DeblockDsp t = zep::build_table(zep::deblock_init, level);
        for (const Line& c : kLines)
            for (int kind = 0; kind < 4; ++kind)
                for (int k : {0, 1})
                    for (int i : {0, 3, 7}) {
                        if (c.maxVal == 255) run_line<Zep8u>(c, kind, k, i, t, false);
                        for (bool wide : {false, true}) run_line<Zep16u>(c, kind, k, i, t, wide);
                    }
    }
}

// Random blocks whose sample spread is comparable to alpha and beta.
template <class T>
void random_case(Rng& rng, int maxVal, Block<T>& b, Params<T>& p) {
    const int spread = std::min(maxVal, std::array<int, 5>{2, 6, 20, 80, maxVal}[rng.range(0, 4)]);
    const int base = rng.range(0, maxVal - spread), pat = rng.range(0, 2);
    for (auto& v : b.mem) v = static_cast<T>(pat == 1 ? (rng.coin() ? maxVal : 0) : base + rng.range(0, spread));
    for (int i = 0; i < 2; ++i) {
        p.alpha[i] = static_cast<T>(rng.range(0, std::min(maxVal, spread + 3)));
        p.beta[i] = static_cast<T>(rng.range(0, std::min(maxVal, spread / 2 + 3)));
    }
    if (rng.range(0, 9) == 0) p.alpha[0] = p.beta[0] = static_cast<T>(maxVal);
    const int bsMode = rng.range(0, 4);
    for (int i = 0; i < 16; ++i) {
        p.bs[i] = static_cast<Zep8u>(bsMode == 0 ? rng.range(0, 4) : bsMode == 1 ? rng.range(1, 3)
                                     : bsMode == 2 ? (rng.coin() ? 4 : 0) : bsMode == 3 ? rng.range(0, 6) : 4);
        p.tc0[i] = static_cast<T>(rng.range(0, 9) == 0 ? rng.range(0, maxVal) : rng.range(0, 25 * ((maxVal + 1) / 256)));
    }
    if (rng.range(0, 4) == 0) std::fill_n(p.bs + 4 * rng.range(0, 3), 4, 0);
}

template <class T>
void matches_oracle(const DeblockDsp* t, int depth, int iterations, Rng& rng) {
    const int maxVal = (1 << depth) - 1;
    for (int it = 0; it < iterations; ++it)
        for (int kind = 0; kind < 4; ++kind) {
            Block<T> b(is422(kind) ? 16 : 8, rng.range(0, 9));
            Params<T> p;
            random_case(rng, maxVal, b, p);
            Block<T> want = b;
            oracle(want, kind, p, maxVal);
            ASSERT_NO_FATAL_FAILURE(filter(t, false, kind, b, p, depth));
            ASSERT_TRUE(same_array(want.mem, b.mem, "depth " + std::to_string(depth) + " iteration " +
                                                        std::to_string(it) + " kind " + std::to_string(kind)));
        }
}

TEST(ChromaDeblockKernels, EveryLevelMatchesThePictureProcess) {
    for (Isa level : all_levels()) {
        SCOPED_TRACE(zep::isa_name(level));
        const DeblockDsp t = zep::build_table(zep::deblock_init, level);
        Rng rng(17);
        ASSERT_NO_FATAL_FAILURE(matches_oracle<Zep8u>(&t, 8, 1500, rng));
        for (int depth = 8; depth <= 12; ++depth) ASSERT_NO_FATAL_FAILURE(matches_oracle<Zep16u>(&t, depth, 300, rng));
    }
}

// Depths either side of 12 bits, where the entry points leave the 16-bit-lane kernels.
TEST(ChromaDeblockEntry, DispatchMatchesThePictureProcess) {
    Rng rng(5);
    ASSERT_NO_FATAL_FAILURE(matches_oracle<Zep8u>(nullptr, 8, 200, rng));
    for (int depth : {10, 12, 13, 14, 16}) ASSERT_NO_FATAL_FAILURE(matches_oracle<Zep16u>(nullptr, depth, 100, rng));
}

// An MBAFF left edge of n lines equals the whole-macroblock vertical edge 0
// with those lines spread out so that each lands on the segment its strength
// names (luma: lines 2k, 2k + 1 -> rows 4k, 4k + 1 of a 16-row block; chroma:
// line k -> row 2k of an 8-row 4:2:0 block); the rows between are unfiltered
// copies that must not matter.
TEST(MbaffDeblock, LeftEdgesMatchTheMacroblockFunctions) {
    Rng rng(77);
    for (Isa level : all_levels()) {
        const DeblockDsp t = zep::build_table(zep::deblock_init, level);
        for (int it = 0; it < 400; ++it)
            for (bool chroma : {false, true}) {
                const int lines = chroma ? 4 : 8, rows = chroma ? 8 : 16;
                Block<Zep8u> wide(rows, 0), mb(lines, rng.range(0, 20));
                Params<Zep8u> p;
                random_case(rng, 255, wide, p);
                std::fill(p.bs + 4, p.bs + 16, 0);  // only edge 0
                p.alpha[1] = p.beta[1] = 0;
                auto rowOf = [&](int i) { return chroma ? 2 * i : 4 * (i / 2) + (i & 1); };
                for (int i = 0; i < lines; ++i)
                    for (int x = -4; x < 12; ++x) mb.at(x, i) = wide.at(x, rowOf(i));
                const Block<Zep8u> before = mb;
                if (chroma) {
                    t.chroma8[zep::kChromaVer420](wide.origin(), wide.step, p.alpha, p.beta, p.tc0, p.bs);
                    t.mbaff8[1](mb.origin(), mb.step, p.alpha, p.beta, p.tc0, p.bs);
                } else {
                    t.luma8[0](wide.origin(), wide.step, p.alpha, p.beta, p.tc0, p.bs);
                    t.mbaff8[0](mb.origin(), mb.step, p.alpha, p.beta, p.tc0, p.bs);
                }
                for (int i = 0; i < lines; ++i)
                    for (int x = -4; x < 12; ++x)
                        ASSERT_EQ(mb.at(x, i), wide.at(x, rowOf(i)))
                            << zep::isa_name(level) << (chroma ? " chroma" : " luma") << " line " << i << " x " << x;
                // Rows of the margin above and below stay as they were.
                for (int y : {-4, -1, lines, lines + 3})
                    for (int x = -4; x < 12; ++x) ASSERT_EQ(mb.at(x, y), const_cast<Block<Zep8u>&>(before).at(x, y));
            }
    }
}

TEST(ChromaDeblockEntry, NullPointersAndZeroStrengthsWriteNothing) {
    Block<Zep8u> b(16, 0);
    Block<Zep16u> b16(16, 2);
    Rng rng(3);
    for (auto& v : b.mem) v = static_cast<Zep8u>(rng.range(100, 104));
    for (auto& v : b16.mem) v = static_cast<Zep16u>(rng.range(0, 1023));
    const auto before = b.mem;
    const auto before16 = b16.mem;
    const Zep8u a[2] = {40, 40}, be[2] = {10, 10}, tc[16] = {}, bs0[16] = {};
    const Zep16u a16[2] = {1023, 1023}, tc16[16] = {};
    Zep8u bs4[16];
    std::fill_n(bs4, 16, 4);
    for (auto f : {zepiFilterDeblockingChroma_VerEdge_H264_8u_C1IR, zepiFilterDeblockingChroma_HorEdge_H264_8u_C1IR,
                   zepiFilterDeblockingChroma422VerEdge_H264_8u_C1IR, zepiFilterDeblockingChroma422HorEdge_H264_8u_C1IR,
                   zepiFilterDeblockingLumaVerEdgeMBAFF_H264_8u_C1IR, zepiFilterDeblockingChromaVerEdgeMBAFF_H264_8u_C1IR}) {
        EXPECT_TRUE(null_sweep(f, b.origin(), b.step, a, be, tc, static_cast<const Zep8u*>(bs4)));
        EXPECT_EQ(f(b.origin(), -5, a, be, tc, bs0), zepStatusOk);  // the step is not checked
    }
    for (auto f : {zepiFilterDeblockingChromaVerEdge_H264_16u_C1IR, zepiFilterDeblockingChromaHorEdge_H264_16u_C1IR,
                   zepiFilterDeblockingChroma422VerEdge_H264_16u_C1IR, zepiFilterDeblockingChroma422HorEdge_H264_16u_C1IR}) {
        EXPECT_EQ(f(nullptr), zepStatusNullPtr);
        auto fields = [&](Zep16u* p, const Zep16u* al, const Zep16u* bt, const Zep16u* th, const Zep8u* s) {
            const ZepDeblockParams16u d{p, b16.step, al, bt, th, s, 10};
            return f(&d);
        };
        EXPECT_TRUE(null_sweep(fields, b16.origin(), a16, a16, tc16, static_cast<const Zep8u*>(bs4)));
    }
    // Refused always, valid arguments or not.
    EXPECT_EQ(zepiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(b.origin(), b.step, a, be, tc, bs4),
              zepStatusNotSupported);
    EXPECT_EQ(zepiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(nullptr, 0, nullptr, nullptr, nullptr, nullptr),
              zepStatusNotSupported);
    EXPECT_EQ(b.mem, before);
    EXPECT_EQ(b16.mem, before16);
    // With strength 4 everywhere the same block is smoothed: the calls above did reach the kernel.
    EXPECT_EQ(zepiFilterDeblockingChroma422HorEdge_H264_8u_C1IR(b.origin(), b.step, a, be, tc, bs4), zepStatusOk);
    EXPECT_NE(b.mem, before);
}

}  // namespace
