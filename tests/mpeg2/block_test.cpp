// MPEG-1 and MPEG-2 DCT block reconstruction: a test-side encoder writes
// random blocks with the standards' code tables (escapes included), the
// decoders read them back through tables built by the library's Huffman
// builders; hand-worked cases pin the arithmetic; corrupt streams fail
// without moving the position; checks.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "huffman_build.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "zepvc.h"

namespace {

using namespace zt;
using namespace mpeg2t;

// ---- tables through the library's builders
struct Table {
    Zep32s* t = nullptr;
    ~Table() { zepiHuffmanTableFree_32s(t); }
};

template <size_t N>
std::unique_ptr<Table> ac_table(const RlCode (&codes)[N]) {
    auto t = std::make_unique<Table>();
    t->t = build_ac_table(codes);
    EXPECT_NE(t->t, nullptr);
    return t;
}

template <size_t N>
std::unique_ptr<Table> dc_table(const DcCode (&codes)[N]) {
    auto t = std::make_unique<Table>();
    t->t = build_dc_table(codes);
    EXPECT_NE(t->t, nullptr);
    return t;
}

// ---- the test-side encoder
struct Bits {
    std::string s;
    void put(const std::string& b) { s += b; }
    void put(uint32_t v, int n) {
        for (int i = n - 1; i >= 0; --i) s += ((v >> i) & 1) ? '1' : '0';
    }
    // Words for the decoder: first bit most significant, two spare words of noise.
    std::vector<Zep32u> words(Rng& rng) const {
        std::vector<Zep32u> w((s.size() + 31) / 32 + 2, 0);
        for (size_t i = 0; i < s.size(); ++i)
            if (s[i] == '1') w[i / 32] |= 1u << (31 - i % 32);
        // Bits after the block are random: the decoder must stop at its end of block.
        for (size_t i = s.size(); i < w.size() * 32; ++i)
            if (rng.coin()) w[i / 32] |= 1u << (31 - i % 32);
        return w;
    }
};

using Codes = std::vector<RlCode>;
const Codes kCodes14(std::begin(kB14), std::end(kB14)), kCodes15(std::begin(kB15), std::end(kB15));

std::string code_of(const Codes& codes, int run, int level) {
    for (const RlCode& r : codes)
        if (r.run == run && r.level == level) return r.code;
    return "";
}
std::string special(const Codes& codes, int kind) {
    for (const RlCode& r : codes)
        if (r.run == kind) return r.code;
    return "";
}

enum class Std { Mpeg1, Mpeg2 };

// One coefficient: the table's code with its sign, or the escape.
void put_coef(Bits& b, const Codes& codes, Std std, int run, int level, bool first) {
    const int a = level < 0 ? -level : level;
    if (first && run == 0 && a == 1) {
        b.put(level < 0 ? "11" : "10");
        return;
    }
    const std::string c = code_of(codes, run, a);
    if (!c.empty()) {
        b.put(c);
        b.put(level < 0 ? 1u : 0u, 1);
        return;
    }
    b.put(special(codes, -2));
    b.put(static_cast<uint32_t>(run), 6);
    if (std == Std::Mpeg2) {
        b.put(static_cast<uint32_t>(level) & 0xFFF, 12);
    } else if (a < 128) {
        b.put(static_cast<uint32_t>(level) & 0xFF, 8);
    } else {
        b.put(level > 0 ? 0u : 128u, 8);
        b.put(static_cast<uint32_t>(level > 0 ? level : level + 256), 8);
    }
}

// ---- expected reconstruction
int32_t mpeg2_value(bool intra, int level, int qp, int w) {
    const int16_t t = static_cast<int16_t>(intra ? 2 * qp * level : 2 * level + (level > 0 ? 1 : -1));
    const int32_t v = intra ? int32_t{t} * w : int32_t{t} * w * qp;
    return v / 32;  // toward zero
}
int32_t mpeg1_value(bool intra, int level, int qp, int w) {
    int32_t v = static_cast<int32_t>((intra ? int64_t{2} * level : int64_t{2} * level + (level > 0 ? 1 : -1)) * qp * w / 16);
    if (v % 2 == 0 && v != 0) v += v > 0 ? -1 : 1;
    return std::clamp(v, -2048, 2047);
}

struct Coef {
    int pos, level;
};

std::vector<Coef> random_coefs(Rng& rng, bool intra, Std std) {
    std::vector<Coef> c;
    int pos = intra ? 0 : -1;
    const int maxLevel = std == Std::Mpeg2 ? 2047 : 255;
    while (true) {
        pos += 1 + (rng.range(0, 3) ? rng.range(0, 2) : rng.range(0, 30));
        if (pos > 63 || (c.size() > 2 && rng.range(0, 5) == 0)) break;
        int level = rng.range(0, 4) ? rng.range(1, 3) : rng.range(1, maxLevel);
        if (rng.coin()) level = -level;
        c.push_back({pos, level});
    }
    if (c.empty() && !intra) c.push_back({rng.range(0, 63), rng.coin() ? 1 : -1});
    return c;
}

struct Tables {
    std::unique_ptr<Table> b14 = ac_table(kB14), b15 = ac_table(kB15), dcL = dc_table(kDcLuma), dcC = dc_table(kDcChroma);
};

void round_trip(Rng& rng, Tables& t, Std std, bool intra, bool tableOne, bool alternate) {
    const int* scan = alternate ? kAlternate : kZigzag;
    std::vector<Zep32s> scan32(scan, scan + 64);
    const int qp = rng.range(1, std == Std::Mpeg2 ? 112 : 31);
    std::vector<Zep16s> w(64);
    for (auto& v : w) v = static_cast<Zep16s>(rng.range(8, 255));
    const Codes& codes = tableOne ? kCodes15 : kCodes14;
    const Table& ac = tableOne ? *t.b15 : *t.b14;
    const std::vector<Coef> coefs = random_coefs(rng, intra, std);
    Bits b;
    std::vector<int32_t> want(64, 0);
    Zep16s pred = static_cast<Zep16s>(rng.range(0, 255)), predWant = pred;
    const int shift = std == Std::Mpeg2 ? rng.range(0, 3) : 3;
    int64_t sum = 0;
    const bool chroma = rng.coin();
    if (intra) {
        const int size = rng.range(0, std == Std::Mpeg2 ? 11 : 8);
        const auto& dcCodes = chroma ? kDcChroma : kDcLuma;
        b.put(dcCodes[size].code);
        int diff = 0;
        if (size) {
            diff = rng.coin() ? rng.range(1 << (size - 1), (1 << size) - 1) : -rng.range(1 << (size - 1), (1 << size) - 1);
            b.put(static_cast<uint32_t>(diff > 0 ? diff : diff + (1 << size) - 1), size);
        }
        predWant = static_cast<Zep16s>(pred + diff);
        want[0] = static_cast<Zep16s>(predWant << shift);
        sum = want[0];
    }
    int prev = intra ? 0 : -1;
    for (size_t i = 0; i < coefs.size(); ++i) {
        if (intra && coefs[i].pos == 0) continue;
        put_coef(b, codes, std, coefs[i].pos - prev - 1, coefs[i].level, !intra && i == 0);
        const int idx = scan[coefs[i].pos];
        const int32_t v = std == Std::Mpeg2 ? mpeg2_value(intra, coefs[i].level, qp, w[idx])
                                            : mpeg1_value(intra, coefs[i].level, qp, w[idx]);
        want[idx] = static_cast<Zep16s>(v);
        sum += v;
        prev = coefs[i].pos;
    }
    b.put(special(codes, -1));
    if (std == Std::Mpeg2 && sum % 2 == 0) want[63] = static_cast<Zep16s>(want[63] ^ 1);
    const std::vector<Zep32u> words = b.words(rng);
    // Start at a random bit of the first word: the stream begins with padding.
    const int lead = rng.range(0, 31);
    std::vector<Zep32u> shifted(words.size() + 1, 0);
    for (size_t i = 0; i < words.size(); ++i) {
        shifted[i] |= lead == 31 ? words[i] : words[i] >> (31 - lead);
        if (lead != 31) shifted[i + 1] |= words[i] << (lead + 1);
    }
    Zep32u* p = shifted.data();
    Zep32s off = lead;
    std::vector<Zep16s> blk(64, 0x7777);
    Zep32s size = -1;
    const Table& dc = chroma ? *t.dcC : *t.dcL;
    ZepStatus st;
    if (std == Std::Mpeg2) {
        st = intra ? zepiReconstructDCTBlockIntra_MPEG2_32s(&p, &off, dc.t, ac.t, scan32.data(), static_cast<Zep16s>(qp),
                                                            w.data(), &pred, shift, blk.data(), &size)
                   : zepiReconstructDCTBlock_MPEG2_32s(&p, &off, t.b14->t, ac.t, scan32.data(), static_cast<Zep16s>(qp),
                                                       w.data(), blk.data(), &size);
    } else {
        st = intra ? zepiReconstructDCTBlockIntra_MPEG1_32s(&p, &off, dc.t, ac.t, scan32.data(), static_cast<Zep16s>(qp),
                                                            w.data(), &pred, blk.data(), &size)
                   : zepiReconstructDCTBlock_MPEG1_32s(&p, &off, t.b14->t, ac.t, scan32.data(), static_cast<Zep16s>(qp),
                                                       w.data(), blk.data(), &size);
    }
    const std::string ctx = std::string(std == Std::Mpeg2 ? "MPEG-2" : "MPEG-1") + (intra ? " intra" : " non-intra") +
                            (tableOne ? " B-15" : " B-14") + (alternate ? " alternate" : "") + " qp " + std::to_string(qp) +
                            " bits " + b.s;
    ASSERT_EQ(st, zepStatusOk) << ctx;
    for (int i = 0; i < 64; ++i) ASSERT_EQ(blk[i], static_cast<Zep16s>(want[i])) << ctx << " entry " << i;
    ASSERT_EQ(size, coefs.empty() || (intra && coefs.back().pos == 0) ? 0 : coefs.back().pos) << ctx;
    const size_t consumed = static_cast<size_t>(p - shifted.data()) * 32 + static_cast<size_t>(31 - off) - static_cast<size_t>(31 - lead);
    ASSERT_EQ(consumed, b.s.size()) << ctx;
    if (intra) {
        ASSERT_EQ(pred, predWant) << ctx;
    }
}

TEST(DctBlockDecode, RandomBlocksDecodeBackThroughEveryPath) {
    Rng rng(111);
    Tables t;
    for (Std std : {Std::Mpeg2, Std::Mpeg1})
        for (bool intra : {true, false})
            for (bool tableOne : {false, true})
                for (bool alternate : {false, true}) {
                    if ((!intra || std == Std::Mpeg1) && tableOne) continue;  // B-15 serves MPEG-2 intra blocks only
                    for (int it = 0; it < 300; ++it) ASSERT_NO_FATAL_FAILURE(round_trip(rng, t, std, intra, tableOne, alternate));
                }
}

// Hand-worked streams.
TEST(DctBlockDecode, WorkedExamples) {
    Tables t;
    std::vector<Zep32s> zz(kZigzag, kZigzag + 64);
    std::vector<Zep16s> w16(64, 16);
    Zep16s blk[64];
    Zep32s size;
    // MPEG-2 non-intra, escape run 0 level 2047 at QP 62, weight 16: 2 * 2047 + 1 = 4095,
    // 4095 * 16 * 62 / 32 = 126945; stored in 16 bits as -4127; sum odd, no toggle.
    {
        Bits b;
        b.put("000001");
        b.put(0, 6);
        b.put(2047, 12);
        b.put("10");
        Rng rng(1);
        auto words = b.words(rng);
        Zep32u* p = words.data();
        Zep32s off = 31;
        ASSERT_EQ(zepiReconstructDCTBlock_MPEG2_32s(&p, &off, t.b14->t, t.b14->t, zz.data(), 62, w16.data(), blk, &size),
                  zepStatusOk);
        EXPECT_EQ(blk[0], static_cast<Zep16s>(126945));
        EXPECT_EQ(blk[63], 0);
    }
    // MPEG-2 intra: a level of 2047 at QP 62, weight 16 (the 16-bit truncation before the weight):
    // 2 * 62 * 2047 = 253828 -> -8316 -> -8316 * 16 / 32 = -4158.
    {
        Bits b;
        b.put("100");  // luma dct_dc_size 0
        b.put("000001");
        b.put(0, 6);
        b.put(2047, 12);
        b.put("10");
        Rng rng(2);
        auto words = b.words(rng);
        Zep32u* p = words.data();
        Zep32s off = 31;
        Zep16s pred = 128;
        ASSERT_EQ(zepiReconstructDCTBlockIntra_MPEG2_32s(&p, &off, t.dcL->t, t.b14->t, zz.data(), 62, w16.data(), &pred,
                                                         3, blk, &size),
                  zepStatusOk);
        EXPECT_EQ(blk[0], 1024);
        EXPECT_EQ(blk[1], -4158);
        EXPECT_EQ(blk[63], 1);  // 1024 - 4158 is even: entry 63 toggled
        EXPECT_EQ(size, 1);
    }
    // The MPEG-1 example of the header: luma size 2 ("01"), differential "11" (+3), then
    // "0100" + "0" (run 0, level +2), then end of block "10". Predictor 128 -> 131, entry 0 =
    // 1048; entry 1 = 2 * 2 * 8 * 16 / 16 = 32, made odd: 31. Word 0x74400000, 11 bits.
    {
        Zep32u words[3] = {0x74400000u, 0, 0};
        Zep32u* p = words;
        Zep32s off = 31;
        Zep16s pred = 128;
        ASSERT_EQ(zepiReconstructDCTBlockIntra_MPEG1_32s(&p, &off, t.dcL->t, t.b14->t, zz.data(), 8, w16.data(), &pred,
                                                         blk, &size),
                  zepStatusOk);
        EXPECT_EQ(pred, 131);
        EXPECT_EQ(blk[0], 1048);
        EXPECT_EQ(blk[1], 31);
        EXPECT_EQ(off, 31 - 11);
        EXPECT_EQ(size, 1);
        EXPECT_EQ(p, words);
    }
}

// Runs past position 63 and invalid codes fail with the position unchanged.
TEST(DctBlockDecode, CorruptStreamsFailInPlace) {
    Tables t;
    std::vector<Zep32s> zz(kZigzag, kZigzag + 64);
    std::vector<Zep16s> w16(64, 16);
    Rng rng(113);
    for (int it = 0; it < 2000; ++it) {
        std::vector<Zep32u> words(40);
        for (auto& v : words) v = rng.u32();
        for (int std = 0; std < 2; ++std)
            for (int intra = 0; intra < 2; ++intra) {
                Zep32u* p = words.data();
                Zep32s off = rng.range(0, 31);
                const Zep32s off0 = off;
                Zep16s blk[64], pred = 0;
                Zep32s size = -7;
                ZepStatus st;
                if (std) {
                    st = intra ? zepiReconstructDCTBlockIntra_MPEG2_32s(&p, &off, t.dcC->t, t.b15->t, zz.data(), 31,
                                                                        w16.data(), &pred, 0, blk, &size)
                               : zepiReconstructDCTBlock_MPEG2_32s(&p, &off, t.b14->t, t.b14->t, zz.data(), 31, w16.data(),
                                                                   blk, &size);
                } else {
                    st = intra ? zepiReconstructDCTBlockIntra_MPEG1_32s(&p, &off, t.dcL->t, t.b14->t, zz.data(), 31,
                                                                        w16.data(), &pred, blk, &size)
                               : zepiReconstructDCTBlock_MPEG1_32s(&p, &off, t.b14->t, t.b14->t, zz.data(), 31, w16.data(),
                                                                   blk, &size);
                }
                if (st == zepStatusOk) {
                    ASSERT_GE(size, 0);
                    ASSERT_LE(size, 63);
                    ASSERT_LT(p - words.data(), 38);
                    continue;
                }
                ASSERT_EQ(st, std ? zepStatusVLCErr : zepStatusBitstreamErr);
                ASSERT_EQ(p, words.data());
                ASSERT_EQ(off, off0);
                ASSERT_EQ(size, -7);
            }
    }
}

TEST(DctBlockDecode, ChecksPointers) {
    Tables t;
    std::vector<Zep32s> zz(kZigzag, kZigzag + 64);
    std::vector<Zep16s> w16(64, 16);
    Zep32u words[4] = {};
    Zep32u* p = words;
    Zep32u* nul = nullptr;
    Zep32s off = 31, size;
    Zep16s blk[64], pred = 0;
    const Zep32s* dc = t.dcL->t;
    const Zep32s* ac = t.b14->t;
    EXPECT_TRUE(null_sweep(zepiReconstructDCTBlockIntra_MPEG2_32s, &p, &off, dc, ac, zz.data(), Zep16s{1},
                           static_cast<const Zep16s*>(w16.data()), &pred, 0, blk, &size));
    EXPECT_TRUE(null_sweep_except({6}, zepiReconstructDCTBlock_MPEG2_32s, &p, &off, ac, ac, zz.data(), Zep16s{1},
                                  static_cast<const Zep16s*>(w16.data()), blk, &size));
    EXPECT_TRUE(null_sweep(zepiReconstructDCTBlockIntra_MPEG1_32s, &p, &off, dc, ac, zz.data(), Zep16s{1},
                           static_cast<const Zep16s*>(w16.data()), &pred, blk, &size));
    EXPECT_TRUE(null_sweep(zepiReconstructDCTBlock_MPEG1_32s, &p, &off, ac, ac, zz.data(), Zep16s{1},
                           static_cast<const Zep16s*>(w16.data()), blk, &size));
    EXPECT_EQ(zepiReconstructDCTBlock_MPEG2_32s(&nul, &off, ac, ac, zz.data(), 1, w16.data(), blk, &size), zepStatusNullPtr);
    EXPECT_EQ(zepiReconstructDCTBlockIntra_MPEG1_32s(&nul, &off, dc, ac, zz.data(), 1, w16.data(), &pred, blk, &size),
              zepStatusNullPtr);
}

}  // namespace
