// H.264 CAVLC syntax analysis: the reference against an independent model,
// every kernel level against the reference (untouched entries of the level and
// run arrays included), the entry points' checks, and round trips: analysis ->
// a CAVLC writer fed only with the analysis outputs -> the library's decoders.
#include <algorithm>
#include <array>
#include <numeric>
#include <type_traits>

#include "harness/cavlc_writer.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "h264dec/tables.h"

#include "h264/cavlcenc_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::CavlcEncDsp;
namespace cv = zt::cavlc;

constexpr Zep32s kIdentity[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr Zep32s kDc2x4Scan[8] = {0, 2, 1, 4, 6, 3, 5, 7};

// Outputs of one call, level and run arrays guard-filled beforehand.
template <class T>
struct Out {
    ZepStatus status = zepStatusOk;
    Zep8u t = 0xEE, s = 0xEE, n = 0xEE, tz = 0xEE;
    std::array<T, 16> levels;
    std::array<Zep8u, 16> runs;
    Out() {
        levels.fill(static_cast<T>(0x7A7A));
        runs.fill(0xA7);
    }
    bool operator==(const Out&) const = default;
};

// Model of c[order[last]], ..., c[order[start]] (highest frequency first):
// find the non-zero positions, then read every output off them; levels and
// runs beyond the counts stay guard values.
template <class T>
Out<T> model(const T* c, const Zep32s* order, int start, int last) {
    std::vector<T> walk;
    for (int i = last; i >= start; --i) walk.push_back(c[order[i]]);
    std::vector<int> nz;
    for (int i = 0; i < static_cast<int>(walk.size()); ++i)
        if (walk[i] != 0) nz.push_back(i);
    Out<T> o;
    const int n = static_cast<int>(nz.size());
    int t = 0, s = 0;
    while (t < 3 && t < n && (walk[nz[t]] == 1 || walk[nz[t]] == -1)) ++t;
    for (int j = 0; j < t; ++j) s = 2 * s + (walk[nz[j]] < 0);
    for (int j = t; j < n; ++j) o.levels[j - t] = walk[nz[j]];
    for (int j = 0; j + 1 < n; ++j) o.runs[j] = static_cast<Zep8u>(nz[j + 1] - nz[j] - 1);
    o.t = static_cast<Zep8u>(t), o.s = static_cast<Zep8u>(s), o.n = static_cast<Zep8u>(n);
    o.tz = static_cast<Zep8u>(n ? static_cast<int>(walk.size()) - nz[0] - n : 0);
    return o;
}

// Calls an entry point or a kernel: its inputs, then the six outputs.
template <class F, class T, class... In>
Out<T> analyse(F f, const T* c, In... in) {
    Out<T> o;
    auto call = [&] { return f(c, in..., &o.t, &o.s, &o.n, &o.tz, o.levels.data(), o.runs.data()); };
    if constexpr (std::is_void_v<decltype(call())>) call();
    else o.status = call();
    return o;
}

// Expected against got; on mismatch both counts and the block's coefficients.
template <class T>
::testing::AssertionResult same(const Out<T>& e, const Out<T>& g, const T* c, int n) {
    if (e == g) return ::testing::AssertionSuccess();
    auto r = ::testing::AssertionFailure();
    for (const Out<T>* o : {&e, &g})
        r << "t " << +o->t << " s " << +o->s << " n " << +o->n << " tz " << +o->tz << " status " << o->status << "; ";
    r << "coefficients:";
    for (int i = 0; i < n; ++i) r << ' ' << +c[i];
    return r;
}

// Coefficient blocks like quantised residuals: mostly zeros and ones, some
// larger levels, now and then the type's extremes.
template <class T>
void random_coeffs(Rng& rng, T* c, int n, int density) {
    for (int i = 0; i < n; ++i) {
        const int r = rng.range(0, 99);
        if (r >= density) c[i] = 0;
        else if (r < density / 2) c[i] = rng.coin() ? 1 : -1;
        else if (r < density - 2) c[i] = static_cast<T>(rng.range(-40, 40));
        else c[i] = rng.coin() ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
    }
}

// The zig-zag scan half the time, any permutation otherwise.
std::array<Zep32s, 16> random_scan(Rng& rng) {
    std::array<Zep32s, 16> p;
    std::copy(kZigzag, kZigzag + 16, p.begin());
    if (rng.coin())
        for (int i = 15; i > 0; --i) std::swap(p[i], p[rng.range(0, i)]);
    return p;
}

// ---------------------------------------------------------------- reference

// Through the entry points: 4x4 blocks in any scan and index range, chroma DC
// 2x2 (raster order) and 2x4 (its own order), both coefficient types.
TEST(CavlcEncEntry, MatchesModel) {
    Rng rng(21);
    for (int it = 0; it < 4000; ++it) {
        Zep16s c16[16];
        Zep32s c32[16];
        random_coeffs(rng, c32, 16, rng.range(0, 100));
        for (int i = 0; i < 16; ++i) c16[i] = static_cast<Zep16s>(std::clamp(c32[i], -32768, 32767));
        const auto scan = random_scan(rng);
        const Zep32s* sc = scan.data();
        const int last = rng.range(0, 15), start = rng.range(0, std::min(last, 1 + (it & 1) * 14));
        const std::string ctx = "start " + std::to_string(start) + " last " + std::to_string(last);
        ASSERT_TRUE(same(model(c16, sc, start, last),
                         analyse(zepiEncodeCoeffsCAVLC_H264_16s, c16, Zep8u(start), sc, Zep8u(last)), c16, 16))
            << ctx;
        ASSERT_TRUE(same(model(c32, sc, start, last), analyse(zepiEncodeCoeffsCAVLC_H264_32s, c32, start, sc, last),
                         c32, 16))
            << ctx;
        auto dc = [&](auto f, const auto* c, const Zep32s* order, int n) {
            return same(model(c, order, 0, n - 1), analyse(f, c), c, n);
        };
        ASSERT_TRUE(dc(zepiEncodeChromaDcCoeffsCAVLC_H264_16s, c16, kIdentity, 4));
        ASSERT_TRUE(dc(zepiEncodeCoeffsCAVLCChromaDC2x2_H264_32s, c32, kIdentity, 4));
        ASSERT_TRUE(dc(zepiEncodeCoeffsCAVLCChromaDC2x4_H264_16s, c16, kDc2x4Scan, 8));
        ASSERT_TRUE(dc(zepiEncodeCoeffsCAVLCChromaDC2x4_H264_32s, c32, kDc2x4Scan, 8));
    }
}

// ---------------------------------------------------------------- kernels

TEST(CavlcEncKernels, EveryLevelMatchesReference) {
    const CavlcEncDsp ref = zep::build_table(zep::cavlcenc_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const CavlcEncDsp k = zep::build_table(zep::cavlcenc_init, level);
        Rng rng(23);
        for (int it = 0; it < 20000; ++it) {
            const int off = rng.range(0, 7);  // unaligned blocks
            std::vector<Zep16s> v16(24);
            std::vector<Zep32s> v32(24);
            const Zep16s* c16 = v16.data() + off;
            const Zep32s* c32 = v32.data() + off;
            const int density = it % 5 == 0 ? 100 : rng.range(0, 60);
            random_coeffs(rng, v16.data() + off, 16, density);
            random_coeffs(rng, v32.data() + off, 16, density);
            const auto scan = random_scan(rng);
            const int last = rng.range(0, 15), start = rng.range(0, last);
            const std::string ctx = std::string("level ") + zep::isa_name(level) + " start " + std::to_string(start) +
                                    " last " + std::to_string(last) + " ";
            auto cmp = [](auto rf, auto kf, const auto* c, int n, auto... in) {
                return same(analyse(rf, c, in...), analyse(kf, c, in...), c, n);
            };
            ASSERT_TRUE(cmp(ref.block16, k.block16, c16, 16, start, scan.data(), last)) << ctx << "4x4 16s";
            ASSERT_TRUE(cmp(ref.block32, k.block32, c32, 16, start, scan.data(), last)) << ctx << "4x4 32s";
            ASSERT_TRUE(cmp(ref.dc2x2_16, k.dc2x2_16, c16, 4)) << ctx << "2x2 16s";
            ASSERT_TRUE(cmp(ref.dc2x2_32, k.dc2x2_32, c32, 4)) << ctx << "2x2 32s";
            ASSERT_TRUE(cmp(ref.dc2x4_16, k.dc2x4_16, c16, 8)) << ctx << "2x4 16s";
            ASSERT_TRUE(cmp(ref.dc2x4_32, k.dc2x4_32, c32, 8)) << ctx << "2x4 32s";
        }
    }
}

// ---------------------------------------------------------------- checks

// Every pointer, checked before the index range; nothing is written on error.
TEST(CavlcEncEntry, BadArgumentsWriteNothing) {
    Zep16s c16[16] = {1, 2, 3};
    Zep32s c32[16] = {1, 2, 3}, scan[16];
    std::iota(scan, scan + 16, 0);
    Guarded<Zep8u> t(1), s(1), n(1), tz(1), runs(16);
    Guarded<Zep16s> l16(16);
    Guarded<Zep32s> l32(16);
    // Runs `how` (a plain call or a null sweep) on a 4x4 entry point with the guarded outputs.
    auto call = [](auto f, auto... a) { return f(a...); };
    auto sweep = [](auto f, auto... a) { return null_sweep(f, a...); };
    auto e16 = [&](auto how, int start, int last) {
        return how(zepiEncodeCoeffsCAVLC_H264_16s, c16, Zep8u(start), scan, Zep8u(last), t.data(), s.data(), n.data(),
                   tz.data(), l16.data(), runs.data());
    };
    auto e32 = [&](auto how, int start, int last) {
        return how(zepiEncodeCoeffsCAVLC_H264_32s, c32, start, scan, last, t.data(), s.data(), n.data(), tz.data(),
                   l32.data(), runs.data());
    };
    for (int last : {16, 99, 15}) {  // bad ranges first: a missing check reports before it can crash
        EXPECT_TRUE(e16(sweep, 0, last)) << last;
        EXPECT_TRUE(e32(sweep, 0, last)) << last;
    }
    // Negative indices reach the 16-bit entry point as 255 and 251: out of range there too.
    const int badRanges[][2] = {{0, 16}, {5, 4}, {16, 16}, {1, 0}, {0, 255}, {-1, 15}, {-5, -1}};
    for (const auto& r : badRanges) {
        EXPECT_EQ(e16(call, r[0], r[1]), zepStatusOutOfRange) << r[0] << ".." << r[1];
        EXPECT_EQ(e32(call, r[0], r[1]), zepStatusOutOfRange) << r[0] << ".." << r[1];
    }
    auto dc = [&](auto f, auto* c, auto* levels) {
        return null_sweep(f, c, t.data(), s.data(), n.data(), tz.data(), levels, runs.data());
    };
    EXPECT_TRUE(dc(zepiEncodeChromaDcCoeffsCAVLC_H264_16s, c16, l16.data()));
    EXPECT_TRUE(dc(zepiEncodeCoeffsCAVLCChromaDC2x2_H264_32s, c32, l32.data()));
    EXPECT_TRUE(dc(zepiEncodeCoeffsCAVLCChromaDC2x4_H264_16s, c16, l16.data()));
    EXPECT_TRUE(dc(zepiEncodeCoeffsCAVLCChromaDC2x4_H264_32s, c32, l32.data()));
    EXPECT_TRUE(t.untouched() && s.untouched() && n.untouched() && tz.untouched() && runs.untouched() &&
                l16.untouched() && l32.untouched());
    // The extreme valid ranges are accepted.
    EXPECT_EQ(e16(call, 15, 15), zepStatusOk);
    EXPECT_EQ(e32(call, 0, 0), zepStatusOk);
}

// ---------------------------------------------------------------- round trips

// The writer's syntax record from the analysis outputs alone: trailing ones
// rebuilt from their sign bits (first one met = most significant bit), then
// the other levels, then run_before of all but the lowest coefficient.
template <class T>
cv::Syntax to_syntax(const Out<T>& a) {
    cv::Syntax s;
    s.totalCoeff = a.n;
    s.trailingOnes = a.t;
    for (int i = 0; i < a.t; ++i) s.levels[i] = ((a.s >> (a.t - 1 - i)) & 1) ? -1 : 1;
    for (int i = a.t; i < a.n; ++i) s.levels[i] = static_cast<int>(a.levels[i - a.t]);
    for (int i = 0; i + 1 < a.n; ++i) s.runs[i] = a.runs[i];
    s.totalZeros = a.tz;
    return s;
}

template <class T>
struct Block {
    std::array<T, 16> c{}, expect{};  // what the decoder must return, raster order
    const Zep32s* scan = nullptr;
    int nC = 0, count = 0;
    size_t end = 0;  // bit position after the block
};

// A stream of 400 blocks, each analysed, written from the analysis alone and
// then decoded back in order: values, counts, buffer advance and the position
// after every block must match. N = 16: 4x4 blocks from startIdx `start`,
// mostly up to index 15, sometimes to a lower lastIdx whose coefficients above
// the analysis must ignore. N = 4 / 8: chroma DC 2x2 (nC -1) / 2x4 (nC -2),
// which the decoders write in raster order.
template <class T, int N, class Analyse, class Decode>
void round_trip(Analyse analyseFn, Decode decode, int start, uint64_t seed) {
    CavlcTables tb;
    Rng rng(seed);
    cv::BitWriter w;
    std::vector<Block<T>> blocks(400);
    for (Block<T>& b : blocks) {
        // Quantised-looking: sparse, mostly ones, now and then large levels that need the escape codes.
        const int density = rng.range(0, 100);
        for (int i = 0; i < N; ++i) {
            if (rng.range(0, 99) >= density) continue;
            const int m = rng.range(0, 99);
            const int mag = m < 50 ? 1 : m < 80 ? rng.range(2, 4) : m < 95 ? rng.range(5, 200) : rng.range(200, 20000);
            b.c[i] = static_cast<T>(rng.coin() ? -mag : mag);
        }
        Out<T> a;
        if constexpr (N == 16) {
            b.scan = rng.coin() ? kZigzag : kField;
            b.nC = rng.range(0, 16);
            const int last = rng.range(0, 3) ? 15 : rng.range(start, 15);
            for (int i = start; i <= last; ++i) b.expect[b.scan[i]] = b.c[b.scan[i]];
            using Idx = std::conditional_t<sizeof(T) == 2, Zep8u, Zep32s>;
            a = analyse(analyseFn, b.c.data(), Idx(start), b.scan, Idx(last));
        } else {
            b.nC = N == 4 ? -1 : -2;
            b.expect = b.c;
            a = analyse(analyseFn, b.c.data());
        }
        ASSERT_EQ(a.status, zepStatusOk);
        b.count = a.n;
        cv::write_syntax(w, to_syntax(a), b.nC, N - start);
        b.end = w.bit_count();
    }
    std::vector<Zep32u> words = w.words();
    Zep32u* p = words.data();
    Zep32s off = 31;
    for (size_t i = 0; i < blocks.size(); ++i) {
        const Block<T>& b = blocks[i];
        std::array<T, 16> out{};
        T* buf = out.data();
        Zep16s num = -1;
        const std::string ctx = "block " + std::to_string(i) + " nC " + std::to_string(b.nC) + " start " +
                                std::to_string(start);
        if constexpr (N == 16)
            ASSERT_EQ(decode(&p, &off, &num, &buf, b.nC, Zep16s(16 - start), tb.ct, tb.tz4x4, tb.rb, b.scan),
                      zepStatusOk)
                << ctx;
        else
            ASSERT_EQ(decode(&p, &off, &num, &buf, N == 4 ? tb.dc420 : tb.dc422, N == 4 ? tb.tz420 : tb.tz422, tb.rb),
                      zepStatusOk)
                << ctx;
        ASSERT_EQ(num, b.count) << ctx;
        ASSERT_EQ(buf, out.data() + (b.count ? N : 0)) << ctx;
        ASSERT_TRUE(same_array(b.expect.data(), out.data(), N, ctx));
        ASSERT_EQ(bit_pos(words.data(), p, off), static_cast<int64_t>(b.end)) << ctx;
    }
}

TEST(CavlcRoundTrip, AnalysisWriterDecoder) {
    for (int start = 0; start < 2; ++start) {
        round_trip<Zep16s, 16>(zepiEncodeCoeffsCAVLC_H264_16s, zepiDecodeCAVLCCoeffs_H264_1u16s, start, 1 + start);
        round_trip<Zep32s, 16>(zepiEncodeCoeffsCAVLC_H264_32s, zepiDecodeCAVLCCoeffs_H264_1u32s, start, 3 + start);
    }
    round_trip<Zep16s, 4>(zepiEncodeChromaDcCoeffsCAVLC_H264_16s, zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s, 0, 5);
    round_trip<Zep32s, 4>(zepiEncodeCoeffsCAVLCChromaDC2x2_H264_32s, zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s, 0, 6);
    round_trip<Zep16s, 8>(zepiEncodeCoeffsCAVLCChromaDC2x4_H264_16s, zepiDecodeCAVLCChroma422DcCoeffs_H264_1u16s, 0, 7);
    round_trip<Zep32s, 8>(zepiEncodeCoeffsCAVLCChromaDC2x4_H264_32s, zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s, 0, 8);
}

}  // namespace
