// CAVLC and Exp-Golomb decoders: round trips through the test-side writer
// (built from the standard's code tables), hand-built good and corrupt
// streams, and the entry points' checks. Every case runs on 16s and 32s.
#include <cstdlib>
#include <set>

#include "harness/cavlc_writer.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "tables.h"

namespace {

using namespace zt;
namespace cv = zt::cavlc;

template <class T>
struct Dec;
template <>
struct Dec<Zep16s> {
    static constexpr auto c4 = zepiDecodeCAVLCCoeffs_H264_1u16s;
    static constexpr auto dc = zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s;
    static constexpr auto dc422 = zepiDecodeCAVLCChroma422DcCoeffs_H264_1u16s;
    static constexpr auto eg = zepiDecodeExpGolombOne_H264_1u16s;
};
template <>
struct Dec<Zep32s> {
    static constexpr auto c4 = zepiDecodeCAVLCCoeffs_H264_1u32s;
    static constexpr auto dc = zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s;
    static constexpr auto dc422 = zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s;
    static constexpr auto eg = zepiDecodeExpGolombOne_H264_1u32s;
};

template <class F>
void for_both(F f) {
    f(Zep16s{});
    f(Zep32s{});
}

// kind 16 or 15: a 4x4 block with nC and that maxCoeffs; 4, 8: chroma DC 2x2, 2x4.
template <class T>
ZepStatus decode(const CavlcTables& tb, int kind, int nC, Zep32u** p, Zep32s* off, Zep16s* num, T** buf,
                 const Zep32s* scan = kZigzag) {
    if (kind >= 15) return Dec<T>::c4(p, off, num, buf, nC, static_cast<Zep16s>(kind), tb.ct, tb.tz4x4, tb.rb, scan);
    if (kind == 4) return Dec<T>::dc(p, off, num, buf, tb.dc420, tb.tz420, tb.rb);
    return Dec<T>::dc422(p, off, num, buf, tb.dc422, tb.tz422, tb.rb);
}

// A random block in scan order: mostly few coefficients and small levels, with
// every level class (prefix 14, 15 and escapes) present now and then.
std::vector<int> random_block(Rng& rng, int n) {
    std::vector<int> c(n, 0);
    const int r = rng.range(0, 99);
    const int tc = r < 45 ? rng.range(0, 3) : (r < 80 ? rng.range(4, std::min(8, n)) : rng.range(0, n));
    std::vector<int> pos(n);
    for (int i = 0; i < n; ++i) pos[i] = i;
    for (int i = 0; i < tc; ++i) std::swap(pos[i], pos[rng.range(i, n - 1)]);
    for (int i = 0; i < tc; ++i) {
        const int m = rng.range(0, 99);
        int mag = m < 40 ? 1 : m < 65 ? rng.range(2, 3) : m < 80 ? rng.range(4, 15) : m < 90 ? rng.range(16, 300)
                : m < 96 ? rng.range(300, 3000) : rng.range(3000, 32767);
        c[pos[i]] = rng.coin() ? -mag : mag;
    }
    if (tc && rng.range(0, 40) == 0) c[pos[0]] = -32768;
    return c;
}

// (suffixLength > 0, level_prefix) of every level a block codes, tracking
// suffixLength the way the decoder must.
using Hits = std::set<std::pair<bool, int>>;
void note_prefixes(const int* block, int n, Hits& hit) {
    const cv::Syntax s = cv::syntax_of(block, n);
    int sl = s.totalCoeff > 10 && s.trailingOnes < 3 ? 1 : 0;
    for (int k = s.trailingOnes; k < s.totalCoeff; ++k) {
        cv::BitWriter scratch;
        hit.insert({sl > 0, cv::write_level(scratch, s.levels[k], sl, k == s.trailingOnes && s.trailingOnes < 3)});
        if (sl == 0) sl = 1;
        if (std::abs(s.levels[k]) > (3 << (sl - 1)) && sl < 6) ++sl;
    }
}

constexpr int kScan2x4[8] = {0, 2, 1, 4, 6, 3, 5, 7};

// Writes `blocks` random blocks after a random prefix, decodes them back one
// by one and checks values, counts, buffer advance and the position after
// every block. nC is the writer's (-1, -2 for chroma DC).
template <class T>
void round_trip(const CavlcTables& tb, int kind, int nC, const Zep32s* scan, uint64_t seed, int blocks, Hits& hit) {
    Rng rng(seed);
    cv::BitWriter w;
    const int prefix = rng.range(0, 40);
    for (int i = 0; i < prefix; ++i) w.put(rng.coin(), 1);
    std::vector<std::vector<int>> in;
    std::vector<size_t> ends;
    for (int b = 0; b < blocks; ++b) {
        in.push_back(random_block(rng, kind));
        cv::write_block(w, in.back().data(), kind, nC);
        ends.push_back(w.bit_count());
        note_prefixes(in.back().data(), kind, hit);
    }
    std::vector<Zep32u> words = w.words();
    Zep32u* p = words.data() + prefix / 32;
    Zep32s off = 31 - prefix % 32;
    const int n = kind >= 15 ? 16 : kind;
    std::vector<T> out(static_cast<size_t>(n) * blocks + 16, T(0x5A5A));
    T* buf = out.data();
    for (int b = 0; b < blocks; ++b) {
        std::vector<T> expect(n, 0);
        int tc = 0;
        for (int i = 0; i < kind; ++i)
            if (in[b][i] != 0) {
                ++tc;
                expect[kind >= 15 ? scan[i + 16 - kind] : (kind == 8 ? kScan2x4[i] : i)] = static_cast<T>(in[b][i]);
            }
        Zep16s num = -1;
        T* before = buf;
        const std::string ctx = "block " + std::to_string(b) + " kind " + std::to_string(kind) + " nC " +
                                std::to_string(nC) + " " + std::to_string(sizeof(T) * 8) + "-bit";
        ASSERT_EQ(decode(tb, kind, nC, &p, &off, &num, &buf, scan), zepStatusOk) << ctx;
        ASSERT_EQ(num, tc) << ctx;
        ASSERT_EQ(bit_pos(words.data(), p, off), static_cast<int64_t>(ends[b])) << ctx;
        ASSERT_EQ(buf, before + (tc ? n : 0)) << ctx;
        ASSERT_TRUE(same_array(expect.data(), before, tc ? n : 0, ctx));
    }
}

// Every nC class, maxCoeffs 16 and 15, both scans, chroma DC 2x2 and 2x4; the
// random levels must have reached level_prefix 14, 15 and the escapes 16..18.
TEST(CavlcDecode, RoundTripEveryClass) {
    CavlcTables tb;
    Hits hit;
    for_both([&](auto tag) {
        using T = decltype(tag);
        uint64_t seed = 100 * sizeof(T);
        for (int nC : {0, 1, 2, 3, 4, 7, 8, 16})
            for (int maxC : {16, 15})
                for (const Zep32s* scan : {kZigzag, kField}) round_trip<T>(tb, maxC, nC, scan, ++seed, 60, hit);
        for (int rep = 0; rep < 8; ++rep) {
            round_trip<T>(tb, 4, -1, nullptr, ++seed, 80, hit);
            round_trip<T>(tb, 8, -2, nullptr, ++seed, 80, hit);
        }
    });
    for (int pre : {14, 15, 16, 17, 18}) EXPECT_TRUE(hit.count({false, pre})) << "suffixLength 0, prefix " << pre;
    for (int pre : {15, 16, 17}) EXPECT_TRUE(hit.count({true, pre})) << "suffixLength > 0, prefix " << pre;
}

// Level +32768 (levelCode 65534) wraps to -32768 in the 16-bit output but not
// in the 32-bit one; the suffix of a 40-bit escape keeps its low 16 bits.
TEST(CavlcDecode, EscapeTruncation) {
    CavlcTables tb;
    for (int extraPrefix : {0, 22}) {  // suffixes of 16 and 38 bits
        cv::BitWriter e;
        cv::write_coeff_token(e, 0, 0, 1);
        // levelCode = 30 + s + 2^(p-3) - 4096 + 2 (adjusted), kept modulo 65536.
        const int pfx = 19 + extraPrefix;
        const uint32_t s = (65534u - 30 - 2 + 4096 - (pfx - 3 < 16 ? (1u << (pfx - 3)) : 0)) & 0xFFFF;
        for (int z = pfx; z > 0; z -= 16) e.put(0, z < 16 ? z : 16);
        e.put(1, 1);
        if (pfx - 3 > 16) e.put(0x12345, pfx - 3 - 16);
        e.put(s, 16);
        cv::write_total_zeros(e, 16, 1, 0);
        auto ww = e.words();
        for_both([&](auto tag) {
            using T = decltype(tag);
            Zep32u* q = ww.data();
            Zep32s o = 31;
            Zep16s n = 0;
            T out[16];
            T* b = out;
            ASSERT_EQ(decode(tb, 16, 0, &q, &o, &n, &b), zepStatusOk);
            EXPECT_EQ(out[0], sizeof(T) == 2 ? -32768 : 32768) << pfx;
            EXPECT_EQ(bit_pos(ww.data(), q, o), static_cast<int64_t>(e.bit_count()));
        });
    }
}

// Hand-built streams after a 3-bit lead-in. Good ones decode to `coeffs`
// (raster order, the rest of the block zero) with `used` bits taken; corrupt
// ones give -74 with the position at entry, the count and the (cleared)
// coefficients written before the fault kept, the buffer pointer unmoved.
TEST(CavlcDecode, HandBuiltStreams) {
    CavlcTables tb;
    struct Case {  // kind as for decode(); count at pNumCoeff, -1 untouched
        const char* name;
        int kind, nC;
        const char* bits;
        ZepStatus st;
        int count, used;
        std::vector<int> coeffs;
    };
    const ZepStatus ok = zepStatusOk, bad = zepStatusBitstreamErr;
    const Case cases[] = {
        // coeff_token T1 3 / TC 5, signs, levels 1 and 3, total_zeros, runs.
        {"hand-worked nC 0", 16, 0, "000010001110010111101101", ok, 5, 24, {0, 3, -1, 0, 0, -1, 1, 0, 1}},
        {"fixed-length TotalCoeff 0", 16, 8, "000011", ok, 0, 6, {}},
        {"fixed-length TC 1, adjusted level +2", 16, 8, "000000" "1" "1", ok, 1, 8, {2}},
        {"2x2 TotalCoeff 0", 4, -1, "01", ok, 0, 2, {}},
        {"2x2 -1 at 0", 4, -1, "1" "1" "1", ok, 1, 3, {-1}},
        {"2x2 +1 at 3", 4, -1, "1" "0" "000", ok, 1, 5, {0, 0, 0, 1}},
        {"2x2 +1 at 2", 4, -1, "1" "0" "001", ok, 1, 5, {0, 0, 1}},
        {"2x2 -1 at 1", 4, -1, "1" "1" "01", ok, 1, 4, {0, -1}},
        {"coeff_token nC 0 all zeros", 16, 0, "0000000000000001", bad, -1, 0, {}},
        {"coeff_token nC 2 all zeros", 16, 2, "00000000000001", bad, -1, 0, {}},
        {"coeff_token nC 4 all zeros", 16, 5, "00000000001", bad, -1, 0, {}},
        {"fixed 000010", 16, 8, "000010", bad, -1, 0, {}},
        {"fixed 000111", 16, 9, "000111", bad, -1, 0, {}},
        {"TotalCoeff 16 in a 15-coefficient block", 15, 8, "111100" "000" "1111111111111", bad, -1, 0, {}},
        {"total_zeros TotalCoeff 1 all zeros", 16, 0, "01" "0" "000000000", bad, 1, 0, {}},
        {"total_zeros 15 in a 15-coefficient block", 15, 0, "01" "0" "000000001", bad, 1, 0, {}},
        {"run_before zerosLeft > 6 all zeros", 16, 0, "001" "00" "0011" "000000000000", bad, 2, 0, {}},
        {"2x4 coeff_token unused code", 8, -2, "00000000000", bad, -1, 0, {}},
    };
    for (const Case& c : cases) {
        cv::BitWriter w;
        w.put(0x5, 3);  // start mid-word
        for (const char* b = c.bits; *b; ++b) w.put(*b - '0', 1);
        // Good streams must not end in a run of zeros; corrupt ones must.
        auto words = c.st == ok ? w.words_padded(true) : w.words();
        const int n = c.kind >= 15 ? 16 : c.kind;
        for_both([&](auto tag) {
            using T = decltype(tag);
            const std::string ctx = std::string(c.name) + (sizeof(T) == 2 ? " 16s" : " 32s");
            Zep32u* p = words.data();
            Zep32s off = 28;
            Zep16s num = -1;
            T out[16];
            std::fill(out, out + 16, T(77));
            T* buf = out;
            EXPECT_EQ(decode(tb, c.kind, c.nC, &p, &off, &num, &buf), c.st) << ctx;
            EXPECT_EQ(num, c.count) << ctx;
            EXPECT_EQ(bit_pos(words.data(), p, off), 3 + c.used) << ctx;
            EXPECT_EQ(buf - out, c.st == ok && c.count > 0 ? n : 0) << ctx;
            for (int i = 0; i < 16; ++i) {
                const bool written = c.count > 0 && i < n;
                const int expect = !written ? 77 : i < static_cast<int>(c.coeffs.size()) ? c.coeffs[i] : 0;
                ASSERT_EQ(out[i], expect) << ctx << " element " << i;
            }
        });
    }
}

// A missing total_zeros / run_before table: -8 with the position where the
// decode stopped (after the part of the block already read).
TEST(CavlcDecode, MissingTablesMidDecode) {
    CavlcTables tb;
    cv::BitWriter w;
    cv::write_coeff_token(w, 0, 1, 2);
    w.put(1, 1);
    cv::write_level(w, 2, 0, true);
    const size_t before_tz = w.bit_count();
    cv::write_total_zeros(w, 16, 2, 5);
    const size_t before_rb = w.bit_count();
    cv::write_run_before(w, 5, 2);  // the block 0 0 0 2 0 0 -1 in scan order
    auto words = w.words();
    const Zep32s* tz[16];
    const Zep32s* rb[15];
    std::copy(tb.tz4x4, tb.tz4x4 + 16, tz);
    std::copy(tb.rb, tb.rb + 15, rb);
    for (int which = 0; which < 2; ++which) {
        tz[2] = which ? tb.tz4x4[2] : nullptr;
        rb[5] = which ? nullptr : tb.rb[5];
        Zep32u* p = words.data();
        Zep32s off = 31;
        Zep16s num = 0, out[16];
        Zep16s* buf = out;
        EXPECT_EQ(zepiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &buf, 0, 16, tb.ct, tz, rb, kZigzag), zepStatusNullPtr);
        EXPECT_EQ(bit_pos(words.data(), p, off), static_cast<int64_t>(which ? before_rb : before_tz));
        EXPECT_EQ(buf, out);
        EXPECT_EQ(num, 2);
    }
}

TEST(CavlcEntry, ChecksInOrder) {
    CavlcTables tb;
    Zep32u words[4] = {0x80000000u, 0, 0, 0};
    Zep32u *p = words, *nullWord = nullptr;
    Zep32s off = 31;
    Zep16s num = -1, out[16];
    Zep16s* buf = out;
    const Zep32s* noCt[3] = {nullptr, tb.ct[1], tb.ct[2]};
    // Every pointer, then the pointers they point to, before any range check;
    // on all three decoders and both widths.
    for_both([&](auto tag) {
        using T = decltype(tag);
        T tmp[16];
        T *b = tmp, *nb = nullptr;
        EXPECT_TRUE(null_sweep(Dec<T>::c4, &p, &off, &num, &b, -1, Zep16s(3), tb.ct, tb.tz4x4, tb.rb, kZigzag));
        EXPECT_TRUE(null_sweep(Dec<T>::dc, &p, &off, &num, &b, tb.dc420, tb.tz420, tb.rb));
        EXPECT_TRUE(null_sweep(Dec<T>::dc422, &p, &off, &num, &b, tb.dc422, tb.tz422, tb.rb));
        for (int kind : {15, 4, 8}) {
            EXPECT_EQ(decode(tb, kind, -1, &nullWord, &off, &num, &b), zepStatusNullPtr) << kind;
            EXPECT_EQ(decode(tb, kind, -1, &p, &off, &num, &nb), zepStatusNullPtr) << kind;
        }
        EXPECT_EQ(b, tmp);
    });
    auto call = [&](Zep32s vlc, int mc, const Zep32s* const* ct) {
        return zepiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &buf, vlc, static_cast<Zep16s>(mc), ct, tb.tz4x4,
                                                tb.rb, kZigzag);
    };
    struct {
        const char* what;
        ZepStatus st, got;
    } cases[] = {
        {"maxCoeffs 14", zepStatusOutOfRange, call(0, 14, tb.ct)},
        {"maxCoeffs before vlcSelect", zepStatusOutOfRange, call(-1, 17, noCt)},
        {"vlcSelect -1", zepStatusOutOfRange, call(-1, 16, tb.ct)},
        {"range before selected table", zepStatusOutOfRange, call(-1, 16, noCt)},
        {"selected table null", zepStatusNullPtr, call(1, 16, noCt)},
    };
    for (const auto& c : cases) EXPECT_EQ(c.got, c.st) << c.what;
    EXPECT_EQ(p, words);
    EXPECT_EQ(off, 31);
    EXPECT_EQ(num, -1);
    EXPECT_EQ(buf, out);
    // The unselected null table does not matter, nor does any table for nC >= 8
    // (streams "11": TotalCoeff 0 for nC 2, "000011": TotalCoeff 0 for nC 8).
    words[0] = 0xC0000000u;
    EXPECT_EQ(call(2, 16, noCt), zepStatusOk);
    const Zep32s* none[3] = {nullptr, nullptr, nullptr};
    words[0] = 0x0C000000u;
    p = words;
    off = 31;
    EXPECT_EQ(call(8, 16, none), zepStatusOk);
}

// Exp-Golomb: values, signed mapping, 16-bit truncation, the 32/33 zero
// boundary and its position rule, and the checks.
TEST(ExpGolomb, ValuesAndLimits) {
    Rng rng(9);
    for (int rep = 0; rep < 3000; ++rep) {
        const uint32_t v = rng.u32() >> rng.range(0, 31);
        const bool sgn = rng.coin();
        cv::BitWriter w;
        const int pre = rng.range(0, 31);
        w.put(rng.u32(), pre);
        const int32_t sv = static_cast<int32_t>(v) / 2 * (rng.coin() ? 1 : -1);
        if (sgn) cv::write_se(w, sv);
        else cv::write_ue(w, v);
        auto words = w.words();
        for_both([&](auto tag) {
            using T = decltype(tag);
            Zep32u* p = words.data();
            Zep32s off = 31 - pre;
            T got = 0;
            ASSERT_EQ(Dec<T>::eg(&p, &off, &got, sgn), zepStatusOk);
            ASSERT_EQ(got, static_cast<T>(sgn ? sv : static_cast<int32_t>(v)));
            ASSERT_EQ(bit_pos(words.data(), p, off), static_cast<int64_t>(w.bit_count()));
        });
    }
    // 32 leading zeros: codeNum = 2^32 - 1 + b (mod 2^32); 33: -74 after the first bit.
    for (int zeros : {32, 33, 40}) {
        cv::BitWriter w;
        w.put(0, 7);
        w.put(0, zeros - 16);
        w.put(0, 16);
        w.put(1, 1);
        w.put(5, 32);
        auto words = w.words_padded(true);
        Zep32u* p = words.data();
        Zep32s off = 24, got = -7;
        EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u32s(&p, &off, &got, 0), zeros == 32 ? zepStatusOk : zepStatusBitstreamErr);
        EXPECT_EQ(got, zeros == 32 ? 4 : -7);
        EXPECT_EQ(bit_pos(words.data(), p, off), zeros == 32 ? 7 + 32 + 1 + 32 : 8);
    }
    Zep32u words[3] = {0x40000000u, 0, 0};
    Zep32u *p = words, *np = nullptr;
    Zep32s off = 32, v = 0;
    Zep16s v16 = 0;
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u32s(&p, &off, &v, 0), zepStatusBadArg);
    off = -1;
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u16s(&p, &off, &v16, 0), zepStatusBadArg);
    // Null pointers before the offset check.
    EXPECT_TRUE(null_sweep(zepiDecodeExpGolombOne_H264_1u32s, &p, &off, &v, 0));
    EXPECT_TRUE(null_sweep(zepiDecodeExpGolombOne_H264_1u16s, &p, &off, &v16, Zep8u(0)));
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u32s(&np, &off, &v, 0), zepStatusNullPtr);
    EXPECT_EQ(p, words);
    EXPECT_EQ(v, 0);
}

}  // namespace
