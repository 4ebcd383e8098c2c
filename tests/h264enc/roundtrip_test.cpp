// Round trips that prove the encoder-side pieces fit the decoder side: random
// coefficient blocks -> syntax analysis -> a CAVLC writer fed only with the
// analysis outputs -> the CAVLC decoders -> the same coefficients.
#include <algorithm>
#include <array>

#include "harness/cavlc_writer.h"
#include "harness/harness.h"
#include "h264dec/tables.h"
#include "zepvc.h"

namespace {

using namespace zt;
namespace cv = zt::cavlc;

// What the analysis functions report for one block.
template <class T>
struct Analysis {
    Zep8u t = 0, s = 0, n = 0, tz = 0;
    T levels[16] = {};
    Zep8u runs[16] = {};
};

// The writer's syntax record from the analysis outputs alone: trailing ones
// rebuilt from their sign bits (first one met = most significant bit), then
// the other levels, then run_before of all but the lowest coefficient.
template <class T>
cv::Syntax to_syntax(const Analysis<T>& a) {
    cv::Syntax s;
    s.totalCoeff = a.n;
    s.trailingOnes = a.t;
    for (int i = 0; i < a.t; ++i) s.levels[i] = ((a.s >> (a.t - 1 - i)) & 1) ? -1 : 1;
    for (int i = a.t; i < a.n; ++i) s.levels[i] = static_cast<int>(a.levels[i - a.t]);
    for (int i = 0; i + 1 < a.n; ++i) s.runs[i] = a.runs[i];
    s.totalZeros = a.tz;
    return s;
}

// Quantised-looking blocks: sparse, mostly ones, now and then large levels
// that need the escape codes.
template <class T>
void random_levels(Rng& rng, T* c, int n) {
    const int density = rng.range(0, 100);
    for (int i = 0; i < n; ++i) {
        c[i] = 0;
        if (rng.range(0, 99) >= density) continue;
        const int m = rng.range(0, 99);
        const int mag = m < 50 ? 1 : m < 80 ? rng.range(2, 4) : m < 95 ? rng.range(5, 200) : rng.range(200, 20000);
        c[i] = static_cast<T>(rng.coin() ? -mag : mag);
    }
}

template <class T>
using Decode4x4 = ZepStatus (*)(Zep32u**, Zep32s*, Zep16s*, T**, Zep32s, Zep16s, const Zep32s* const*,
                                const Zep32s* const*, const Zep32s* const*, const Zep32s*);
template <class T>
using DecodeDc = ZepStatus (*)(Zep32u**, Zep32s*, Zep16s*, T**, const Zep32s*, const Zep32s* const*,
                               const Zep32s* const*);

template <class T>
ZepStatus analyse4x4(const T* c, int start, const Zep32s* scan, int last, Analysis<T>& a) {
    if constexpr (sizeof(T) == 2)
        return zepiEncodeCoeffsCAVLC_H264_16s(c, static_cast<Zep8u>(start), scan, static_cast<Zep8u>(last), &a.t,
                                              &a.s, &a.n, &a.tz, a.levels, a.runs);
    else
        return zepiEncodeCoeffsCAVLC_H264_32s(c, start, scan, last, &a.t, &a.s, &a.n, &a.tz, a.levels, a.runs);
}

// A stream of blocks, each analysed, written and then decoded back in order:
// values, counts, buffer advance and the position after every block must match.
template <class T>
void round_trip_4x4(Decode4x4<T> decode, int start, uint64_t seed) {
    CavlcTables tb;
    Rng rng(seed);
    constexpr int kBlocks = 400;
    cv::BitWriter w;
    std::vector<std::array<T, 16>> expect(kBlocks);
    std::vector<int> nC(kBlocks), counts(kBlocks);
    std::vector<const Zep32s*> scans(kBlocks);
    std::vector<size_t> ends(kBlocks);
    for (int b = 0; b < kBlocks; ++b) {
        T c[16];
        random_levels(rng, c, 16);
        scans[b] = rng.coin() ? kZigzag : kField;
        // Mostly the whole block; sometimes a shorter range, whose coefficients
        // above lastIdx the analysis must ignore.
        const int last = rng.range(0, 3) ? 15 : rng.range(start, 15);
        nC[b] = rng.range(0, 16);
        Analysis<T> a;
        ASSERT_EQ(analyse4x4(c, start, scans[b], last, a), zepStatusOk);
        expect[b].fill(0);
        for (int i = start; i <= last; ++i) expect[b][scans[b][i]] = c[scans[b][i]];
        counts[b] = a.n;
        cv::write_syntax(w, to_syntax(a), nC[b], 16 - start);
        ends[b] = w.bit_count();
    }
    std::vector<Zep32u> words = w.words();
    Zep32u* p = words.data();
    Zep32s off = 31;
    for (int b = 0; b < kBlocks; ++b) {
        std::array<T, 16> out;
        out.fill(0);
        T* buf = out.data();
        Zep16s num = -1;
        const std::string ctx = "block " + std::to_string(b) + " nC " + std::to_string(nC[b]) + " startIdx " +
                                std::to_string(start);
        ASSERT_EQ(decode(&p, &off, &num, &buf, nC[b], static_cast<Zep16s>(16 - start), tb.ct, tb.tz4x4, tb.rb,
                         scans[b]),
                  zepStatusOk)
            << ctx;
        ASSERT_EQ(num, counts[b]) << ctx;
        ASSERT_EQ(buf, out.data() + (counts[b] ? 16 : 0)) << ctx;
        ASSERT_TRUE(same_array(expect[b].data(), out.data(), 16, ctx));
        ASSERT_EQ(bit_pos(words.data(), p, off), static_cast<int64_t>(ends[b])) << ctx;
    }
}

TEST(CavlcRoundTrip, Block4x4WholeAndAc16s) {
    round_trip_4x4<Zep16s>(zepiDecodeCAVLCCoeffs_H264_1u16s, 0, 1);
    round_trip_4x4<Zep16s>(zepiDecodeCAVLCCoeffs_H264_1u16s, 1, 2);
}

TEST(CavlcRoundTrip, Block4x4WholeAndAc32s) {
    round_trip_4x4<Zep32s>(zepiDecodeCAVLCCoeffs_H264_1u32s, 0, 3);
    round_trip_4x4<Zep32s>(zepiDecodeCAVLCCoeffs_H264_1u32s, 1, 4);
}

// Chroma DC: N = 4 (2x2, nC -1) or 8 (2x4, nC -2); the decoders write raster order.
template <class T, int N>
void round_trip_dc(ZepStatus (*analyse)(const T*, Zep8u*, Zep8u*, Zep8u*, Zep8u*, T*, Zep8u*), DecodeDc<T> decode,
                   uint64_t seed) {
    CavlcTables tb;
    Rng rng(seed);
    constexpr int kBlocks = 400;
    cv::BitWriter w;
    std::vector<std::array<T, N>> in(kBlocks);
    std::vector<int> counts(kBlocks);
    std::vector<size_t> ends(kBlocks);
    for (int b = 0; b < kBlocks; ++b) {
        random_levels(rng, in[b].data(), N);
        Analysis<T> a;
        ASSERT_EQ(analyse(in[b].data(), &a.t, &a.s, &a.n, &a.tz, a.levels, a.runs), zepStatusOk);
        counts[b] = a.n;
        cv::write_syntax(w, to_syntax(a), N == 4 ? -1 : -2, N);
        ends[b] = w.bit_count();
    }
    std::vector<Zep32u> words = w.words();
    Zep32u* p = words.data();
    Zep32s off = 31;
    for (int b = 0; b < kBlocks; ++b) {
        std::array<T, N> out;
        out.fill(0);
        T* buf = out.data();
        Zep16s num = -1;
        const std::string ctx = "block " + std::to_string(b) + " of " + std::to_string(N);
        ASSERT_EQ(decode(&p, &off, &num, &buf, N == 4 ? tb.dc420 : tb.dc422, N == 4 ? tb.tz420 : tb.tz422, tb.rb),
                  zepStatusOk)
            << ctx;
        ASSERT_EQ(num, counts[b]) << ctx;
        ASSERT_EQ(buf, out.data() + (counts[b] ? N : 0)) << ctx;
        ASSERT_TRUE(same_array(in[b].data(), out.data(), N, ctx));
        ASSERT_EQ(bit_pos(words.data(), p, off), static_cast<int64_t>(ends[b])) << ctx;
    }
}

TEST(CavlcRoundTrip, ChromaDc2x2) {
    round_trip_dc<Zep16s, 4>(zepiEncodeChromaDcCoeffsCAVLC_H264_16s, zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s, 5);
    round_trip_dc<Zep32s, 4>(zepiEncodeCoeffsCAVLCChromaDC2x2_H264_32s, zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s, 6);
}

TEST(CavlcRoundTrip, ChromaDc2x4) {
    round_trip_dc<Zep16s, 8>(zepiEncodeCoeffsCAVLCChromaDC2x4_H264_16s, zepiDecodeCAVLCChroma422DcCoeffs_H264_1u16s,
                             7);
    round_trip_dc<Zep32s, 8>(zepiEncodeCoeffsCAVLCChromaDC2x4_H264_32s, zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s,
                             8);
}

}  // namespace
