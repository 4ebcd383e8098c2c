// MPEG-4 coefficient decoding: every TCOEF and RVLC code resolves; random
// blocks written with table codes and all three escapes (and with reversible
// codes) decode back; blocks written one after another with reversible codes
// decode backward from the partition's end, each call leaving the position
// on the previous block's last bit; the inter Reconstruct form equals decoding
// plus the inverse quantiser; corrupt input fails in place; checks.
#include <string>
#include <vector>

#include "harness/harness.h"
#include "vlc_codes.h"
#include "zepvc.h"

namespace {

using namespace zt;
using namespace mpeg4t;

struct Bits {
    std::string s;
    void put(const std::string& b) { s += b; }
    void put(uint32_t v, int n) {
        for (int i = n - 1; i >= 0; --i) s += ((v >> i) & 1) ? '1' : '0';
    }
    std::vector<Zep8u> bytes(int lead, Rng& rng, size_t pad = 8) const {
        const std::string all = std::string(static_cast<size_t>(lead), '1') + s;
        std::vector<Zep8u> b((all.size() + 7) / 8 + pad, 0);
        for (size_t i = 0; i < b.size() * 8; ++i)
            if (i < all.size() ? all[i] == '1' : rng.coin()) b[i / 8] |= static_cast<Zep8u>(0x80 >> (i % 8));
        return b;
    }
};

constexpr int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
                             41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
                             30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

struct Ev {
    int last, run, level;
};

template <size_t N>
std::string tcoef(const Tcoef (&t)[N], int last, int run, int level) {
    for (const Tcoef& c : t)
        if (c.last == last && c.run == run && c.level == level) return c.code;
    return "";
}
int limit(bool intra, bool lmax, int last, int index) {
    for (const Limit& l : kLimits)
        if (l.intra == intra && l.lmax == lmax && l.last == last && l.index == index) return l.value;
    return -1;
}

// The encoder's choice: a table code, else escape 1, else escape 2, else escape 3.
void put_vlc(Bits& b, bool intra, Ev e, int forceEscape) {
    auto code = [&](int last, int run, int level) {
        return intra ? tcoef(kMpeg4Intra, last, run, level) : tcoef(kMpeg4Inter, last, run, level);
    };
    const int a = std::abs(e.level);
    const std::string sign = e.level < 0 ? "1" : "0";
    std::string c = code(e.last, e.run, a);
    if (!c.empty() && forceEscape == 0) {
        b.put(c + sign);
        return;
    }
    const int lm = limit(intra, true, e.last, e.run);
    if (lm > 0 && a > lm && forceEscape <= 1 && !(c = code(e.last, e.run, a - lm)).empty()) {
        b.put("0000011" "0" + c + sign);
        return;
    }
    const int rm = limit(intra, false, e.last, a);
    if (rm >= 0 && e.run > rm && forceEscape <= 2 && !(c = code(e.last, e.run - rm - 1, a)).empty()) {
        b.put("0000011" "10" + c + sign);
        return;
    }
    b.put("0000011" "11");
    b.put(static_cast<uint32_t>(e.last), 1);
    b.put(static_cast<uint32_t>(e.run), 6);
    b.put("1");
    b.put(static_cast<uint32_t>(e.level) & 0xFFF, 12);
    b.put("1");
}

void put_rvlc(Bits& b, bool intra, Ev e) {
    const int a = std::abs(e.level);
    for (const Rvlc& r : kRvlc) {
        const bool match = intra ? (r.intraLast == e.last && r.intraRun == e.run && r.intraLevel == a)
                                 : (r.interLast == e.last && r.interRun == e.run && r.interLevel == a);
        if (match) {
            b.put(std::string(r.code) + (e.level < 0 ? "1" : "0"));
            return;
        }
    }
    b.put("00001");
    b.put(static_cast<uint32_t>(e.last), 1);
    b.put(static_cast<uint32_t>(e.run), 6);
    b.put("1");
    b.put(static_cast<uint32_t>(a), 11);
    b.put("1");
    b.put(e.level < 0 ? "00001" : "00000");
}

std::vector<Ev> random_events(Rng& rng, int start, int maxLevel) {
    std::vector<Ev> ev;
    int pos = start;
    while (true) {
        const int run = rng.range(0, 3) ? rng.range(0, 2) : rng.range(0, 30);
        if (pos + run + 1 > 63) break;
        pos += run + 1;
        const int a = rng.range(0, 3) ? rng.range(1, 3) : rng.range(1, maxLevel);
        ev.push_back({0, run, rng.coin() ? a : -a});
        if (rng.range(0, 5) == 0) break;
    }
    if (ev.empty()) ev.push_back({0, rng.range(0, 5), rng.coin() ? 1 : -1});
    ev.back().last = 1;
    return ev;
}

// Every code of the TCOEF and RVLC tables, in both meanings and (RVLC) both
// reading directions, decodes to its entry.
TEST(Mpeg4Vlc, EveryCodeResolvesToItsEntry) {
    Rng rng(160);
    for (int intra = 0; intra < 2; ++intra) {
        const auto check = [&](Bits& b, bool rvlc, Ev e, const std::string& ctx) {
            std::vector<Zep8u> bytes = b.bytes(0, rng);
            Zep8u* p = bytes.data();
            Zep32s off = 0, last = 0;
            std::vector<Zep16s> coef(64);
            ASSERT_EQ(intra ? zepiDecodeCoeffsIntra_MPEG4_1u16s(&p, &off, coef.data(), &last, rvlc, 0, 3)
                            : zepiDecodeCoeffsInter_MPEG4_1u16s(&p, &off, coef.data(), &last, rvlc, 3),
                      zepStatusOk) << ctx;
            ASSERT_EQ(coef[static_cast<size_t>(e.run)], e.level) << ctx;
            ASSERT_EQ(static_cast<size_t>(p - bytes.data()) * 8 + static_cast<size_t>(off), b.s.size()) << ctx;
        };
        for (const Tcoef& c : intra ? std::vector<Tcoef>(std::begin(kMpeg4Intra), std::end(kMpeg4Intra))
                                    : std::vector<Tcoef>(std::begin(kMpeg4Inter), std::end(kMpeg4Inter)))
            for (int sign = 0; sign < 2; ++sign) {
                Bits b;
                b.put(std::string(c.code) + (sign ? "1" : "0"));
                if (!c.last) put_vlc(b, intra, {1, 0, 1}, 0);
                ASSERT_NO_FATAL_FAILURE(check(b, false, {c.last, c.run, sign ? -c.level : c.level}, c.code));
            }
        for (const Rvlc& r : kRvlc)
            for (int sign = 0; sign < 2; ++sign) {
                const Ev e = intra ? Ev{r.intraLast, r.intraRun, sign ? -r.intraLevel : r.intraLevel}
                                   : Ev{r.interLast, r.interRun, sign ? -r.interLevel : r.interLevel};
                Bits b;
                b.put(std::string(r.code) + (sign ? "1" : "0"));
                if (!e.last) put_rvlc(b, intra, {1, 0, 1});
                ASSERT_NO_FATAL_FAILURE(check(b, true, e, r.code));
            }
    }
    // Values below the tables: the 12-bit VLC peek below 8 and the RVLC peek below 8.
    for (uint32_t v = 0; v < 8; ++v)
        for (int rvlc = 0; rvlc < 2; ++rvlc) {
            Bits b;
            b.put(v, rvlc ? 8 : 12);
            std::vector<Zep8u> bytes = b.bytes(0, rng);
            Zep8u* p = bytes.data();
            Zep32s off = 0, last = 0;
            Zep16s coef[64];
            EXPECT_EQ(zepiDecodeCoeffsInter_MPEG4_1u16s(&p, &off, coef, &last, rvlc, 0), zepStatusVLCErr) << v;
            EXPECT_EQ(p, bytes.data());
        }
}

TEST(Mpeg4Vlc, RandomBlocksWithEveryEscapeDecodeBack) {
    Rng rng(161);
    int escapes[4] = {};
    for (int it = 0; it < 4000; ++it) {
        const bool intra = it & 1, rvlc = it & 2, dcDone = intra && (it & 4);
        const int scan = rng.range(0, 3), start = dcDone ? 0 : -1;
        const std::vector<Ev> ev = random_events(rng, start, rvlc ? 2047 : 2047);
        Bits b;
        for (const Ev& e : ev) {
            const int force = rng.range(0, 3);
            if (rvlc) put_rvlc(b, intra, e);
            else put_vlc(b, intra, e, force);
            if (!rvlc) escapes[force]++;
        }
        const int lead = rng.range(0, 7);
        std::vector<Zep8u> bytes = b.bytes(lead, rng);
        Zep8u* p = bytes.data();
        Zep32s off = lead, last = -99;
        std::vector<Zep16s> coef(64, 0);
        coef[0] = 321;
        const ZepStatus st = intra ? zepiDecodeCoeffsIntra_MPEG4_1u16s(&p, &off, coef.data(), &last, rvlc, dcDone, scan)
                                   : zepiDecodeCoeffsInter_MPEG4_1u16s(&p, &off, coef.data(), &last, rvlc, scan);
        const std::string ctx = std::string(intra ? "intra" : "inter") + (rvlc ? " RVLC" : " VLC") + " scan " +
                                std::to_string(scan) + " bits " + b.s;
        ASSERT_EQ(st, zepStatusOk) << ctx;
        ASSERT_EQ(static_cast<size_t>(p - bytes.data()) * 8 + static_cast<size_t>(off - lead), b.s.size()) << ctx;
        std::vector<Zep16s> want(64, 0);
        if (dcDone) want[0] = 321;
        int pos = start;
        const bool none = scan == 3 || (!intra && scan == 2);
        for (const Ev& e : ev) {
            pos += e.run + 1;
            if (scan == 0) want[static_cast<size_t>(kZigzag[pos])] = static_cast<Zep16s>(e.level);
            else if (none) want[static_cast<size_t>(pos)] = static_cast<Zep16s>(e.level);
        }
        ASSERT_EQ(last, pos) << ctx;
        if (scan == 0 || none) {
            ASSERT_TRUE(same_array(want, coef, ctx));
        }
    }
    EXPECT_GT(escapes[1] + escapes[2] + escapes[3], 1000);
}

// Blocks written back to back with reversible codes, after a one-code block
// that stands for the partition's earlier data, decode backward one by one.
TEST(Mpeg4Rvlc, BackwardCallsChainFromThePartitionEnd) {
    Rng rng(162);
    for (int it = 0; it < 500; ++it) {
        const bool intra = it & 1, dcDone = intra && (it & 2);
        const int start = dcDone ? 0 : -1;
        Bits b;
        put_rvlc(b, intra, {1, 0, 1});  // the preceding data's last code
        std::vector<std::vector<Ev>> blocks;
        std::vector<size_t> ends;  // bit index of each block's last bit
        for (int k = 0; k < 4; ++k) {
            blocks.push_back(random_events(rng, start, 2047));
            for (const Ev& e : blocks.back()) put_rvlc(b, intra, e);
            ends.push_back(b.s.size() - 1);
        }
        // Four bytes of noise in front: reading backward, a lookup peeks past the code it stops at.
        const int lead = 32 + rng.range(0, 7);
        std::vector<Zep8u> bytes = b.bytes(lead, rng);
        for (int i = 0; i < 4; ++i) bytes[static_cast<size_t>(i)] = static_cast<Zep8u>(rng.u32());
        Zep8u* p = bytes.data() + (ends.back() + static_cast<size_t>(lead)) / 8;
        Zep32s off = static_cast<Zep32s>((ends.back() + static_cast<size_t>(lead)) % 8), last = -99;
        for (int k = 3; k >= 0; --k) {
            std::vector<Zep16s> coef(64, 0);
            coef[0] = 99;
            const ZepStatus st = intra ? zepiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(&p, &off, coef.data(), &last, dcDone)
                                       : zepiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(&p, &off, coef.data(), &last);
            const std::string ctx = std::string(intra ? "intra" : "inter") + " block " + std::to_string(k);
            ASSERT_EQ(st, zepStatusOk) << ctx;
            std::vector<Zep16s> want(64, 0);
            if (dcDone) want[0] = 99;
            int pos = start;
            for (const Ev& e : blocks[static_cast<size_t>(k)]) {
                pos += e.run + 1;
                want[static_cast<size_t>(pos)] = static_cast<Zep16s>(e.level);
            }
            ASSERT_TRUE(same_array(want, coef, ctx));
            ASSERT_EQ(last, pos) << ctx;
            const size_t prevEnd = k ? ends[static_cast<size_t>(k - 1)] : b.s.size();  // checked below for k > 0
            if (k) {
                ASSERT_EQ(static_cast<size_t>(p - bytes.data()) * 8 + static_cast<size_t>(off), prevEnd + static_cast<size_t>(lead)) << ctx;
            }
        }
    }
}

TEST(Mpeg4Rvlc, FirstCodeReadBackwardMustBeALastOne) {
    Rng rng(163);
    Bits b;
    put_rvlc(b, false, {1, 0, 1});
    put_rvlc(b, false, {0, 0, 2});  // ends with a code whose last is 0
    std::vector<Zep8u> bytes = b.bytes(32, rng);
    Zep8u* p = bytes.data() + (b.s.size() + 31) / 8;
    Zep32s off = static_cast<Zep32s>((b.s.size() + 31) % 8), last;
    Zep8u* const p0 = p;
    Zep16s coef[64];
    EXPECT_EQ(zepiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(&p, &off, coef, &last), zepStatusVLCErr);
    EXPECT_EQ(p, p0);
}

TEST(Mpeg4Vlc, ReconstructEqualsDecodingThenInverseQuantiser) {
    Rng rng(164);
    std::vector<Zep8u> specMem(256), matrix(64);
    for (auto& m : matrix) m = static_cast<Zep8u>(rng.range(8, 60));
    for (int it = 0; it < 600; ++it) {
        const bool rvlc = it & 1, withMatrix = it & 2;
        ASSERT_EQ(zepiQuantInvInterInit_MPEG4(withMatrix ? matrix.data() : nullptr, specMem.data(), 8), zepStatusOk);
        const std::vector<Ev> ev = random_events(rng, -1, 300);
        Bits b;
        for (const Ev& e : ev) {
            if (rvlc) put_rvlc(b, false, e);
            else put_vlc(b, false, e, rng.range(0, 3));
        }
        const int qp = rng.range(1, 31), scan = rng.range(0, 1);
        std::vector<Zep8u> bytes = b.bytes(0, rng);
        Zep8u* p = bytes.data();
        Zep32s off = 0, last;
        std::vector<Zep16s> want(64);
        ASSERT_EQ(zepiDecodeCoeffsInter_MPEG4_1u16s(&p, &off, want.data(), &last, rvlc, scan), zepStatusOk);
        ASSERT_EQ(zepiQuantInvInter_MPEG4_16s_C1I(want.data(), 63, specMem.data(), qp), zepStatusOk);
        p = bytes.data();
        off = 0;
        std::vector<Zep16s> got(64, 7);
        ASSERT_EQ(zepiReconstructCoeffsInter_MPEG4_1u16s(&p, &off, got.data(), &last, rvlc, scan, specMem.data(), qp), zepStatusOk);
        ASSERT_TRUE(same_array(want, got, "qp " + std::to_string(qp)));
    }
    // The VLC path checks the spec before decoding: nothing is read or written.
    Zep8u bytes[8] = {0x80};
    Zep8u* p = bytes;
    Zep32s off = 0, last = -5;
    Zep16s coef[64] = {3};
    EXPECT_EQ(zepiReconstructCoeffsInter_MPEG4_1u16s(&p, &off, coef, &last, 0, 0, nullptr, 4), zepStatusNullPtr);
    EXPECT_EQ(zepiReconstructCoeffsInter_MPEG4_1u16s(&p, &off, coef, &last, 0, 0, specMem.data(), 0), zepStatusQPErr);
    EXPECT_EQ(coef[0], 3);
    EXPECT_EQ(last, -5);
    EXPECT_EQ(p, bytes);
}

TEST(Mpeg4Vlc, EscapeType3LimitsAndCorruptInput) {
    Rng rng(165);
    for (int level : {2047, -2047, 0, -2048}) {
        Bits b;
        b.put("0000011" "11" "1");
        b.put(0, 6);
        b.put("1");
        b.put(static_cast<uint32_t>(level) & 0xFFF, 12);
        b.put("1");
        std::vector<Zep8u> bytes = b.bytes(0, rng);
        Zep8u* p = bytes.data();
        Zep32s off = 0, last;
        Zep16s coef[64];
        const ZepStatus st = zepiDecodeCoeffsIntra_MPEG4_1u16s(&p, &off, coef, &last, 0, 1, 0);
        if (level == 0 || level == -2048) {
            EXPECT_EQ(st, zepStatusVLCErr) << level;
            EXPECT_EQ(p, bytes.data());
        } else {
            EXPECT_EQ(st, zepStatusOk) << level;
            EXPECT_EQ(coef[1], level);
        }
    }
    for (int it = 0; it < 5000; ++it) {
        std::vector<Zep8u> bytes(400);
        for (auto& v : bytes) v = static_cast<Zep8u>(rng.u32() & (it % 3 ? 0xFF : 0x1F));
        Zep8u* p = bytes.data() + 300;
        Zep32s off = rng.range(0, 7), last = 0;
        const Zep32s off0 = off;
        Zep16s coef[64];
        ZepStatus st;
        switch (it % 4) {
            case 0: st = zepiDecodeCoeffsIntra_MPEG4_1u16s(&p, &off, coef, &last, it & 4, 1, 0); break;
            case 1: st = zepiDecodeCoeffsInter_MPEG4_1u16s(&p, &off, coef, &last, it & 4, 1); break;
            case 2: st = zepiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(&p, &off, coef, &last, 1); break;
            default: st = zepiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(&p, &off, coef, &last); break;
        }
        ASSERT_LE(last, 127);  // a failing run may carry the position past 63
        ASSERT_GE(last, -64);
        if (st != zepStatusOk) {
            ASSERT_EQ(st, zepStatusVLCErr);
            ASSERT_EQ(p, bytes.data() + 300);
            ASSERT_EQ(off, off0);
        }
    }
}

}  // namespace
