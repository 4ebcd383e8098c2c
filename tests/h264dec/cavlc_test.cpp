// CAVLC decoders: round trips through the test-side writer (built from the
// standard's code tables), corrupt streams, and the entry points' checks.
#include <cstdlib>
#include <set>

#include "harness/cavlc_writer.h"
#include "harness/harness.h"
#include "tables.h"

namespace {

using namespace zt;
namespace cv = zt::cavlc;

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

template <class T>
using Decode4x4 = ZepStatus (*)(Zep32u**, Zep32s*, Zep16s*, T**, Zep32s, Zep16s, const Zep32s* const*,
                                const Zep32s* const*, const Zep32s* const*, const Zep32s*);
template <class T>
using DecodeDc = ZepStatus (*)(Zep32u**, Zep32s*, Zep16s*, T**, const Zep32s*, const Zep32s* const*,
                               const Zep32s* const*);

constexpr int kScan2x4[8] = {0, 2, 1, 4, 6, 3, 5, 7};

// Writes `blocks` random blocks after a random prefix, decodes them back one
// by one and checks values, counts, buffer advance and the position after
// every block. kind: 16 or 15 (4x4 with nC), 4 or 8 (chroma DC).
template <class T, class F>
void round_trip(F decode, int kind, int nC, const Zep32s* scan, uint64_t seed, int blocks = 60) {
    Rng rng(seed);
    cv::BitWriter w;
    const int prefix = rng.range(0, 40);
    for (int i = 0; i < prefix; ++i) w.put(rng.coin(), 1);
    std::vector<std::vector<int>> in;
    std::vector<size_t> ends;
    for (int b = 0; b < blocks; ++b) {
        in.push_back(random_block(rng, kind));
        cv::write_block(w, in.back().data(), kind, kind >= 15 ? nC : (kind == 4 ? -1 : -2));
        ends.push_back(w.bit_count());
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
        for (int i = 0; i < kind; ++i) {
            if (in[b][i] == 0) continue;
            ++tc;
            const int at = kind >= 15 ? scan[i + 16 - kind] : (kind == 8 ? kScan2x4[i] : i);
            expect[at] = static_cast<T>(in[b][i]);
        }
        Zep16s num = -1;
        T* before = buf;
        const ZepStatus st = decode(&p, &off, &num, &buf, nC, kind, scan);
        const std::string ctx = "block " + std::to_string(b) + " kind " + std::to_string(kind) + " nC " +
                                std::to_string(nC);
        ASSERT_EQ(st, zepStatusOk) << ctx;
        ASSERT_EQ(num, tc) << ctx;
        ASSERT_EQ(bit_pos(words.data(), p, off), static_cast<int64_t>(ends[b])) << ctx;
        if (tc == 0) {
            ASSERT_EQ(buf, before) << ctx;
            continue;
        }
        ASSERT_EQ(buf, before + n) << ctx;
        ASSERT_TRUE(same_array(expect.data(), before, n, ctx));
    }
}

template <class T>
void round_trip_4x4(Decode4x4<T> fn, uint64_t seed) {
    CavlcTables tb;
    for (int nC : {0, 1, 2, 3, 4, 7, 8, 16})
        for (int maxC : {16, 15})
            for (const Zep32s* scan : {kZigzag, kField}) {
                auto dec = [&](Zep32u** p, Zep32s* o, Zep16s* num, T** buf, int vlc, int mc, const Zep32s* sc) {
                    return fn(p, o, num, buf, vlc, static_cast<Zep16s>(mc), tb.ct, tb.tz4x4, tb.rb, sc);
                };
                round_trip<T>(dec, maxC, nC, scan, seed + nC * 7 + maxC);
            }
}

TEST(CavlcDecode, RoundTrip4x4Every16s) { round_trip_4x4<Zep16s>(zepiDecodeCAVLCCoeffs_H264_1u16s, 11); }
TEST(CavlcDecode, RoundTrip4x4Every32s) { round_trip_4x4<Zep32s>(zepiDecodeCAVLCCoeffs_H264_1u32s, 12); }

template <class T>
void round_trip_dc(DecodeDc<T> fn, int kind, uint64_t seed) {
    CavlcTables tb;
    auto dec = [&](Zep32u** p, Zep32s* o, Zep16s* num, T** buf, int, int, const Zep32s*) {
        return kind == 4 ? fn(p, o, num, buf, tb.dc420, tb.tz420, tb.rb) : fn(p, o, num, buf, tb.dc422, tb.tz422, tb.rb);
    };
    for (int rep = 0; rep < 8; ++rep) round_trip<T>(dec, kind, 0, nullptr, seed + rep, 80);
}

TEST(CavlcDecode, RoundTripChromaDc) {
    round_trip_dc<Zep16s>(zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s, 4, 21);
    round_trip_dc<Zep32s>(zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s, 4, 22);
    round_trip_dc<Zep16s>(zepiDecodeCAVLCChroma422DcCoeffs_H264_1u16s, 8, 23);
    round_trip_dc<Zep32s>(zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s, 8, 24);
}

// Every trailing-one count with every class, and single large levels that
// need level_prefix 14, 15 and the escapes 16..18 at several suffixLengths.
TEST(CavlcDecode, LevelPrefixClassesAndTrailingOnes) {
    CavlcTables tb;
    std::set<std::pair<int, int>> hit;  // (suffixLength > 0, prefix)
    Rng rng(5);
    for (int rep = 0; rep < 400; ++rep) {
        int block[16] = {};
        const int t1 = rng.range(0, 3);
        const int big = rng.range(t1 ? 0 : 1, 3);
        int i = 15;
        for (int k = 0; k < t1; ++k, --i) block[i] = rng.coin() ? 1 : -1;
        for (int k = 0; k < big; ++k, --i) {
            const int mag = rng.range(0, 3) == 0 ? rng.range(8, 40) : rng.range(2000, 32767);
            block[i] = rng.coin() ? -mag : mag;
        }
        // Which prefixes this block uses (suffixLength as the standard tracks it).
        const cv::Syntax s = cv::syntax_of(block, 16);
        int sl = 0;
        for (int k = s.trailingOnes; k < s.totalCoeff; ++k) {
            cv::BitWriter scratch;
            hit.insert({sl > 0, cv::write_level(scratch, s.levels[k], sl, k == s.trailingOnes && s.trailingOnes < 3)});
            if (sl == 0) sl = 1;
            if (std::abs(s.levels[k]) > (3 << (sl - 1)) && sl < 6) ++sl;
        }
        cv::BitWriter w;
        cv::write_block(w, block, 16, 0);
        auto words = w.words();
        Zep32u* p = words.data();
        Zep32s off = 31, out[16];
        Zep32s* buf = out;
        Zep16s num = 0;
        ASSERT_EQ(zepiDecodeCAVLCCoeffs_H264_1u32s(&p, &off, &num, &buf, 0, 16, tb.ct, tb.tz4x4, tb.rb, kZigzag),
                  zepStatusOk);
        for (int k = 0; k < 16; ++k) ASSERT_EQ(out[kZigzag[k]], block[k]) << "rep " << rep << " scan " << k;
        ASSERT_EQ(bit_pos(words.data(), p, off), static_cast<int64_t>(w.bit_count()));
    }
    for (int pre : {14, 15, 16, 17, 18}) EXPECT_TRUE(hit.count({false, pre})) << "suffixLength 0, prefix " << pre;
    for (int pre : {15, 16, 17}) EXPECT_TRUE(hit.count({true, pre})) << "suffixLength > 0, prefix " << pre;
}

// Hand-worked stream (nC 0): coeff_token T1 3 / TC 5, signs, levels 1 and 3
// ... the block 0 3 -1 0 / 0 -1 1 0 / 1 0 0 0 / 0 0 0 0.
TEST(CavlcDecode, KnownBlockAndEscapeTruncation) {
    CavlcTables tb;
    const char* bits = "000010001110010111101101";
    cv::BitWriter w;
    for (const char* c = bits; *c; ++c) w.put(*c - '0', 1);
    auto words = w.words();
    Zep32u* p = words.data();
    Zep32s off = 31;
    Zep16s out[16], num = 0;
    Zep16s* buf = out;
    ASSERT_EQ(zepiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &buf, 0, 16, tb.ct, tb.tz4x4, tb.rb, kZigzag),
              zepStatusOk);
    const Zep16s expect[16] = {0, 3, -1, 0, 0, -1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_TRUE(same_array(expect, out, 16, "known block"));
    EXPECT_EQ(num, 5);
    EXPECT_EQ(bit_pos(words.data(), p, off), 24);

    // Level +32768 (levelCode 65534) wraps to -32768 in the 16-bit output but
    // not in the 32-bit one; the suffix of a 40-bit escape keeps its low 16 bits.
    for (int extraPrefix : {0, 22}) {  // suffixes of 16 and 38 bits
        cv::BitWriter e;
        cv::write_coeff_token(e, 0, 0, 1);
        // levelCode = 30 + s + 2^(p-3) - 4096 + 2 (adjusted), kept modulo 65536.
        const int pfx = 19 + extraPrefix;
        const uint32_t want = 65534;
        const uint32_t s = (want - 30 - 2 + 4096 - (pfx - 3 < 16 ? (1u << (pfx - 3)) : 0)) & 0xFFFF;
        for (int z = pfx; z > 0; z -= 16) e.put(0, z < 16 ? z : 16);
        e.put(1, 1);
        if (pfx - 3 > 16) e.put(0x12345, pfx - 3 - 16);
        e.put(s, 16);
        cv::write_total_zeros(e, 16, 1, 0);
        auto ww = e.words();
        for (int bits32 = 0; bits32 < 2; ++bits32) {
            Zep32u* q = ww.data();
            Zep32s o = 31;
            Zep16s n = 0;
            if (bits32) {
                Zep32s o32[16];
                Zep32s* b32 = o32;
                ASSERT_EQ(zepiDecodeCAVLCCoeffs_H264_1u32s(&q, &o, &n, &b32, 0, 16, tb.ct, tb.tz4x4, tb.rb, kZigzag),
                          zepStatusOk);
                EXPECT_EQ(o32[0], 32768) << pfx;
            } else {
                Zep16s o16[16];
                Zep16s* b16 = o16;
                ASSERT_EQ(zepiDecodeCAVLCCoeffs_H264_1u16s(&q, &o, &n, &b16, 0, 16, tb.ct, tb.tz4x4, tb.rb, kZigzag),
                          zepStatusOk);
                EXPECT_EQ(o16[0], -32768) << pfx;
            }
            EXPECT_EQ(bit_pos(ww.data(), q, o), static_cast<int64_t>(e.bit_count()));
        }
    }
}

// Corrupt streams: each gives -74 with the position at entry; the count and
// the (cleared) coefficients written before the fault stay, the buffer pointer
// does not move.
struct Corrupt {
    const char* name;
    int kind;  // 16, 15: 4x4 with nC; 4, 8: chroma DC
    int nC;
    const char* bits;  // a fault is somewhere in here
    int count;         // count expected at pNumCoeff, -1 untouched
};

TEST(CavlcDecode, CorruptStreamsRestorePosition) {
    CavlcTables tb;
    const Corrupt cases[] = {
        {"coeff_token nC 0 all zeros", 16, 0, "0000000000000001", -1},
        {"coeff_token nC 2 all zeros", 16, 2, "00000000000001", -1},
        {"coeff_token nC 4 all zeros", 16, 5, "00000000001", -1},
        {"fixed 000010", 16, 8, "000010", -1},
        {"fixed 000111", 16, 9, "000111", -1},
        {"TotalCoeff 16 in a 15-coefficient block", 16 - 1, 8, "111100" "000" "1" "1" "1" "1" "1" "1" "1" "1" "1" "1" "1" "1" "1", -1},
        {"total_zeros TotalCoeff 1 all zeros", 16, 0, "01" "0" "000000000", 1},
        {"total_zeros 15 in a 15-coefficient block", 15, 0, "01" "0" "000000001", 1},
        {"run_before zerosLeft > 6 all zeros", 16, 0, "001" "00" "0011" "000000000000", 2},
        {"2x4 coeff_token unused code", 8, -2, "00000000000", -1},
    };
    for (const Corrupt& c : cases) {
        cv::BitWriter w;
        w.put(0x5, 3);  // start mid-word
        for (const char* b = c.bits; *b; ++b) w.put(*b - '0', 1);
        auto words = w.words();
        for (int t = 0; t < 2; ++t) {
            Zep32u* p = words.data();
            Zep32s off = 28;
            Zep16s num = -1;
            Zep32s buf32[16];
            Zep16s buf16[16];
            Zep32s* b32 = buf32;
            Zep16s* b16 = buf16;
            for (int i = 0; i < 16; ++i) buf32[i] = buf16[i] = 77;
            ZepStatus st;
            if (c.kind >= 15)
                st = t ? zepiDecodeCAVLCCoeffs_H264_1u32s(&p, &off, &num, &b32, c.nC, c.kind, tb.ct, tb.tz4x4, tb.rb, kZigzag)
                       : zepiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &b16, c.nC, c.kind, tb.ct, tb.tz4x4, tb.rb, kZigzag);
            else if (c.kind == 4)
                st = t ? zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s(&p, &off, &num, &b32, tb.dc420, tb.tz420, tb.rb)
                       : zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&p, &off, &num, &b16, tb.dc420, tb.tz420, tb.rb);
            else
                st = t ? zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(&p, &off, &num, &b32, tb.dc422, tb.tz422, tb.rb)
                       : zepiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(&p, &off, &num, &b16, tb.dc422, tb.tz422, tb.rb);
            EXPECT_EQ(st, zepStatusBitstreamErr) << c.name << (t ? " 32s" : " 16s");
            EXPECT_EQ(p, words.data()) << c.name;
            EXPECT_EQ(off, 28) << c.name;
            EXPECT_EQ(num, c.count) << c.name;
            EXPECT_EQ(b32, buf32) << c.name;
            EXPECT_EQ(b16, buf16) << c.name;
            const int n = c.kind >= 15 ? 16 : c.kind;
            for (int i = 0; i < 16; ++i) {
                const int expect = (c.count > 0 && i < n) ? 0 : 77;
                ASSERT_EQ(t ? buf32[i] : buf16[i], expect) << c.name << " element " << i;
            }
        }
    }
}

// A missing total_zeros / run_before table: -8 with the position where the
// decode stopped (after the part of the block already read).
TEST(CavlcDecode, MissingTablesMidDecode) {
    CavlcTables tb;
    int block[16] = {0, 0, 0, 2, 0, 0, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    cv::BitWriter w;
    cv::write_coeff_token(w, 0, 1, 2);
    w.put(1, 1);
    cv::write_level(w, 2, 0, true);
    const size_t before_tz = w.bit_count();
    cv::write_total_zeros(w, 16, 2, 5);
    const size_t before_rb = w.bit_count();
    cv::write_run_before(w, 5, 2);
    cv::BitWriter full;
    cv::write_block(full, block, 16, 0);
    ASSERT_EQ(full.bit_count(), w.bit_count());
    auto words = full.words();
    const Zep32s* tz[16];
    const Zep32s* rb[15];
    for (int i = 0; i < 16; ++i) tz[i] = tb.tz4x4[i];
    for (int i = 0; i < 15; ++i) rb[i] = tb.rb[i];
    for (int which = 0; which < 2; ++which) {
        if (which == 0) tz[2] = nullptr;
        else {
            tz[2] = tb.tz4x4[2];
            rb[5] = nullptr;
        }
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

// Fixed-length class, 2x2 fast path and TotalCoeff 0 details.
TEST(CavlcDecode, ShortCodesAndFixedLength) {
    CavlcTables tb;
    struct Case {
        int kind, nC;
        const char* bits;
        int count, used;
        int first;  // expected value at the element `at` (when count > 0)
        int at;
    } cases[] = {
        {16, 8, "000011", 0, 6, 0, 0},       // TotalCoeff 0
        {16, 8, "000000" "1" "1", 1, 8, -1, 0},  // TC 1, T1 0: level -1 (prefix 0 odd? no: "1" = +1 adjusted)
        {4, -1, "01", 0, 2, 0, 0},
        {4, -1, "1" "1" "1", 1, 3, -1, 0},
        {4, -1, "1" "0" "000", 1, 5, 1, 3},
        {4, -1, "1" "0" "001", 1, 5, 1, 2},
        {4, -1, "1" "1" "01", 1, 4, -1, 1},
    };
    // "000000" = TC 1, T1 0; level_prefix 0 with adjustment: magnitude 2, positive; total_zeros "1" = 0.
    cases[1].first = 2;
    for (const Case& c : cases) {
        for (int t = 0; t < 2; ++t) {
            cv::BitWriter w;
            for (const char* b = c.bits; *b; ++b) w.put(*b - '0', 1);
            auto words = w.words_padded(true);
            Zep32u* p = words.data();
            Zep32s off = 31;
            Zep16s num = -1;
            Zep32s o32[16];
            Zep16s o16[16];
            for (int i = 0; i < 16; ++i) o32[i] = o16[i] = 9;
            Zep32s* b32 = o32;
            Zep16s* b16 = o16;
            ZepStatus st;
            if (c.kind == 16)
                st = t ? zepiDecodeCAVLCCoeffs_H264_1u32s(&p, &off, &num, &b32, c.nC, 16, tb.ct, tb.tz4x4, tb.rb, kZigzag)
                       : zepiDecodeCAVLCCoeffs_H264_1u16s(&p, &off, &num, &b16, c.nC, 16, tb.ct, tb.tz4x4, tb.rb, kZigzag);
            else
                st = t ? zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s(&p, &off, &num, &b32, tb.dc420, tb.tz420, tb.rb)
                       : zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&p, &off, &num, &b16, tb.dc420, tb.tz420, tb.rb);
            ASSERT_EQ(st, zepStatusOk) << c.bits;
            EXPECT_EQ(num, c.count) << c.bits;
            EXPECT_EQ(bit_pos(words.data(), p, off), c.used) << c.bits;
            const int n = c.kind == 16 ? 16 : 4;
            const int adv = c.count ? n : 0;
            EXPECT_EQ(t ? (b32 - o32) : (b16 - o16), adv) << c.bits;
            for (int i = 0; i < n; ++i) {
                const int v = t ? o32[i] : o16[i];
                const int expect = c.count == 0 ? 9 : (i == c.at ? c.first : 0);
                EXPECT_EQ(v, expect) << c.bits << " element " << i;
            }
        }
    }
}

TEST(CavlcEntry, ChecksInOrder) {
    CavlcTables tb;
    Zep32u words[4] = {0x80000000u, 0, 0, 0};
    Zep32u* p = words;
    Zep32u* nullWord = nullptr;
    Zep32s off = 31;
    Zep16s num = -1;
    Zep16s out[16];
    Zep16s* buf = out;
    Zep16s* nullBuf = nullptr;
    const Zep32s* noCt[3] = {nullptr, tb.ct[1], tb.ct[2]};
    auto call = [&](Zep32u** pp, Zep32s* po, Zep16s* pn, Zep16s** pb, Zep32s vlc, Zep16s mc,
                    const Zep32s* const* ct, const Zep32s* const* tz, const Zep32s* const* rb, const Zep32s* sc) {
        return zepiDecodeCAVLCCoeffs_H264_1u16s(pp, po, pn, pb, vlc, mc, ct, tz, rb, sc);
    };
    struct {
        const char* what;
        ZepStatus st;
        ZepStatus got;
    } cases[] = {
        {"ppBitStream", zepStatusNullPtr, call(nullptr, &off, &num, &buf, -1, 3, tb.ct, tb.tz4x4, tb.rb, kZigzag)},
        {"pBitOffset", zepStatusNullPtr, call(&p, nullptr, &num, &buf, -1, 3, tb.ct, tb.tz4x4, tb.rb, kZigzag)},
        {"pNumCoeff", zepStatusNullPtr, call(&p, &off, nullptr, &buf, 0, 16, tb.ct, tb.tz4x4, tb.rb, kZigzag)},
        {"ppCoeffBuf", zepStatusNullPtr, call(&p, &off, &num, nullptr, 0, 16, tb.ct, tb.tz4x4, tb.rb, kZigzag)},
        {"tables", zepStatusNullPtr, call(&p, &off, &num, &buf, 0, 16, nullptr, tb.tz4x4, tb.rb, kZigzag)},
        {"tz", zepStatusNullPtr, call(&p, &off, &num, &buf, 0, 16, tb.ct, nullptr, tb.rb, kZigzag)},
        {"rb", zepStatusNullPtr, call(&p, &off, &num, &buf, 0, 16, tb.ct, tb.tz4x4, nullptr, kZigzag)},
        {"scan", zepStatusNullPtr, call(&p, &off, &num, &buf, 0, 16, tb.ct, tb.tz4x4, tb.rb, nullptr)},
        {"*ppBitStream before range", zepStatusNullPtr,
         call(&nullWord, &off, &num, &buf, -1, 3, tb.ct, tb.tz4x4, tb.rb, kZigzag)},
        {"*ppCoeffBuf before range", zepStatusNullPtr,
         call(&p, &off, &num, &nullBuf, -1, 3, tb.ct, tb.tz4x4, tb.rb, kZigzag)},
        {"maxCoeffs 14", zepStatusOutOfRange, call(&p, &off, &num, &buf, 0, 14, tb.ct, tb.tz4x4, tb.rb, kZigzag)},
        {"maxCoeffs before vlcSelect", zepStatusOutOfRange,
         call(&p, &off, &num, &buf, -1, 17, noCt, tb.tz4x4, tb.rb, kZigzag)},
        {"vlcSelect -1", zepStatusOutOfRange, call(&p, &off, &num, &buf, -1, 16, tb.ct, tb.tz4x4, tb.rb, kZigzag)},
        {"range before selected table", zepStatusOutOfRange,
         call(&p, &off, &num, &buf, -1, 16, noCt, tb.tz4x4, tb.rb, kZigzag)},
        {"selected table null", zepStatusNullPtr, call(&p, &off, &num, &buf, 1, 16, noCt, tb.tz4x4, tb.rb, kZigzag)},
    };
    for (const auto& c : cases) EXPECT_EQ(c.got, c.st) << c.what;
    EXPECT_EQ(p, words);
    EXPECT_EQ(off, 31);
    EXPECT_EQ(num, -1);
    EXPECT_EQ(buf, out);
    // The unselected null table does not matter, nor does any table for nC >= 8
    // (streams "11": TotalCoeff 0 for nC 2, "000011": TotalCoeff 0 for nC 8).
    words[0] = 0xC0000000u;
    EXPECT_EQ(call(&p, &off, &num, &buf, 2, 16, noCt, tb.tz4x4, tb.rb, kZigzag), zepStatusOk);
    const Zep32s* none[3] = {nullptr, nullptr, nullptr};
    words[0] = 0x0C000000u;
    p = words;
    off = 31;
    EXPECT_EQ(call(&p, &off, &num, &buf, 8, 16, none, tb.tz4x4, tb.rb, kZigzag), zepStatusOk);

    // Chroma DC: every pointer, then *ppCoeffBuf and *ppBitStream.
    Zep32s* n32 = nullptr;
    EXPECT_EQ(zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&p, &off, &num, &buf, nullptr, tb.tz420, tb.rb), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s(&p, &off, &num, &n32, tb.dc420, tb.tz420, tb.rb), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(&nullWord, &off, &num, &buf, tb.dc422, tb.tz422, tb.rb),
              zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(&p, &off, &num, &n32, tb.dc422, nullptr, tb.rb),
              zepStatusNullPtr);
}

// Exp-Golomb: values, signed mapping, 16-bit truncation, the 32/33 zero
// boundary and its position rule, and the checks.
TEST(ExpGolomb, ValuesAndLimits) {
    Rng rng(9);
    for (int rep = 0; rep < 3000; ++rep) {
        const int sh = rng.range(0, 31);
        const uint32_t v = rng.u32() >> sh;
        const bool sgn = rng.coin();
        cv::BitWriter w;
        const int pre = rng.range(0, 31);
        w.put(rng.u32(), pre);
        const int32_t sv = static_cast<int32_t>(v) / 2 * (rng.coin() ? 1 : -1);
        if (sgn) cv::write_se(w, sv);
        else cv::write_ue(w, v);
        auto words = w.words();
        for (int t = 0; t < 2; ++t) {
            Zep32u* p = words.data();
            Zep32s off = 31 - pre;
            Zep32s got32 = 0;
            Zep16s got16 = 0;
            const ZepStatus st = t ? zepiDecodeExpGolombOne_H264_1u32s(&p, &off, &got32, sgn)
                                   : zepiDecodeExpGolombOne_H264_1u16s(&p, &off, &got16, sgn);
            ASSERT_EQ(st, zepStatusOk);
            const int32_t expect = sgn ? sv : static_cast<int32_t>(v);
            if (t) ASSERT_EQ(got32, expect);
            else ASSERT_EQ(got16, static_cast<Zep16s>(expect));
            ASSERT_EQ(bit_pos(words.data(), p, off), static_cast<int64_t>(w.bit_count()));
        }
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
        const ZepStatus st = zepiDecodeExpGolombOne_H264_1u32s(&p, &off, &got, 0);
        if (zeros == 32) {
            EXPECT_EQ(st, zepStatusOk);
            EXPECT_EQ(got, 4);
            EXPECT_EQ(bit_pos(words.data(), p, off), 7 + 32 + 1 + 32);
        } else {
            EXPECT_EQ(st, zepStatusBitstreamErr);
            EXPECT_EQ(got, -7);
            EXPECT_EQ(bit_pos(words.data(), p, off), 8);
        }
    }
    Zep32u words[3] = {0x40000000u, 0, 0};
    Zep32u* p = words;
    Zep32u* np = nullptr;
    Zep32s off = 32, v = 0;
    Zep16s v16 = 0;
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u32s(&p, &off, &v, 0), zepStatusBadArg);
    off = -1;
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u16s(&p, &off, &v16, 0), zepStatusBadArg);
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u32s(&np, &off, &v, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u32s(nullptr, &off, &v, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u32s(&p, nullptr, &v, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u16s(&p, &off, nullptr, 0), zepStatusNullPtr);
    off = 31;
    EXPECT_EQ(zepiDecodeExpGolombOne_H264_1u32s(&p, &off, &v, 1), zepStatusOk);  // "010" -> 1
    EXPECT_EQ(v, 1);
    EXPECT_EQ(off, 28);
}

}  // namespace
