// H.263 and H.261 coefficient decoding and the intra DC decoders: every code
// of the standards' tables resolves to its entry; packed-table gaps and the
// values below the tables are refused; random blocks written by a test-side
// encoder (table codes, escapes, Annex T levels) decode back, and the
// Reconstruct forms equal decoding followed by the inverse quantiser; corrupt
// streams fail with the position unchanged; checks.
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
    // Bytes from a leading offset, then noise, so the decoder must stop by itself.
    std::vector<Zep8u> bytes(int lead, Rng& rng) const {
        const std::string all = std::string(static_cast<size_t>(lead), '1') + s;
        std::vector<Zep8u> b((all.size() + 7) / 8 + 4, 0);
        for (size_t i = 0; i < b.size() * 8; ++i) {
            const bool one = i < all.size() ? all[i] == '1' : rng.coin();
            if (one) b[i / 8] |= static_cast<Zep8u>(0x80 >> (i % 8));
        }
        return b;
    }
};

constexpr int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
                             41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
                             30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

template <size_t N>
std::string tcoef(const Tcoef (&t)[N], int last, int run, int level) {
    for (const Tcoef& c : t)
        if (c.last == last && c.run == run && c.level == level) return c.code;
    return "";
}
std::string h261(int run, int level) {
    for (const H261Code& c : kH261)
        if (c.run == run && c.level == level) return c.code;
    return "";
}

// One call's outcome and how many bits it consumed.
struct Decoded {
    ZepStatus st;
    std::vector<Zep16s> coef;
    Zep32s last;
    size_t bits;
};
template <class F>
Decoded run_decoder(const Bits& b, Rng& rng, std::vector<Zep16s> coef, F call) {
    const int lead = rng.range(0, 7);
    std::vector<Zep8u> bytes = b.bytes(lead, rng);
    Zep8u* p = bytes.data();
    Zep32s off = lead, last = -99;
    const ZepStatus st = call(&p, &off, coef.data(), &last);
    return {st, coef, last, static_cast<size_t>(p - bytes.data()) * 8 + static_cast<size_t>(off) - static_cast<size_t>(lead)};
}

// ---- every table code resolves
TEST(H263Vlc, EveryCodeResolvesToItsEntry) {
    Rng rng(151);
    for (int adv = 0; adv < 2; ++adv) {
        const auto& table = adv ? kH263AdvIntra : kH263;
        const std::string stop = tcoef(table, 1, 0, 1);  // a last code to end blocks
        for (const Tcoef& c : table)
            for (int sign = 0; sign < 2; ++sign) {
                Bits b;
                b.put(c.code);
                b.put(static_cast<uint32_t>(sign), 1);
                if (!c.last) b.put(stop + "0");
                const auto d = run_decoder(b, rng, std::vector<Zep16s>(64, 9), [&](Zep8u** p, Zep32s* o, Zep16s* k, Zep32s* l) {
                    return adv ? zepiDecodeCoeffsIntra_H263_1u16s(p, o, k, l, 1, 0, 99)
                               : zepiDecodeCoeffsInter_H263_1u16s(p, o, k, l, 0, 99);
                });
                const std::string ctx = std::string(adv ? "Annex I " : "TCOEF ") + c.code;
                ASSERT_EQ(d.st, zepStatusOk) << ctx;
                ASSERT_EQ(d.coef[static_cast<size_t>(c.run)], sign ? -c.level : c.level) << ctx;
                ASSERT_EQ(d.last, c.last ? c.run : c.run + 1) << ctx;
                ASSERT_EQ(d.bits, b.s.size()) << ctx;
            }
    }
}

TEST(H261Vlc, EveryCodeResolvesToItsEntry) {
    Rng rng(152);
    for (const H261Code& c : kH261) {
        if (c.run < 0) continue;
        for (int sign = 0; sign < 2; ++sign) {
            Bits b;
            b.put(c.code);
            b.put(static_cast<uint32_t>(sign), 1);
            b.put("10");  // end of block
            // Inter, so that the first code is not the INTRADC; an inter block's first
            // code "1s" is the short form, so start with "0000000001" is not possible:
            // put one escape first to move off the first-coefficient rule.
            Bits e;
            e.put("000001");
            e.put(0, 6);
            e.put(5, 8);
            e.put(b.s);
            const auto d = run_decoder(e, rng, std::vector<Zep16s>(64, 9), [](Zep8u** p, Zep32s* o, Zep16s* k, Zep32s* l) {
                return zepiDecodeCoeffsInter_H261_1u16s(p, o, k, l, -1);
            });
            ASSERT_EQ(d.st, zepStatusOk) << c.code;
            ASSERT_EQ(d.coef[0], 5) << c.code;
            ASSERT_EQ(d.coef[static_cast<size_t>(1 + c.run)], sign ? -c.level : c.level) << c.code;
            ASSERT_EQ(d.bits, e.s.size()) << c.code;
        }
    }
}

// Every peek value below the tables (the codewords no table uses: 000000000
// for H.263, 000000000 after the first bit for H.261) fails without moving.
TEST(Vlc, InvalidCodesAreRefused) {
    Rng rng(153);
    for (uint32_t v = 0; v < 16; ++v) {
        Bits b;
        b.put(v, 13);
        for (int adv = 0; adv < 2; ++adv) {
            const auto d = run_decoder(b, rng, std::vector<Zep16s>(64), [&](Zep8u** p, Zep32s* o, Zep16s* k, Zep32s* l) {
                return adv ? zepiDecodeCoeffsIntra_H263_1u16s(p, o, k, l, 1, 0, 0)
                           : zepiDecodeCoeffsInter_H263_1u16s(p, o, k, l, 0, 0);
            });
            EXPECT_EQ(d.st, zepStatusVLCErr) << v;
            EXPECT_EQ(d.bits, 0u) << v;
        }
    }
    for (uint32_t v = 0; v < 32; ++v) {
        Bits b;
        b.put("0");  // not the first-coefficient "1s"
        b.put(v, 14);
        const auto d = run_decoder(b, rng, std::vector<Zep16s>(64), [](Zep8u** p, Zep32s* o, Zep16s* k, Zep32s* l) {
            return zepiDecodeCoeffsInter_H261_1u16s(p, o, k, l, 0);
        });
        // v < 32 after a leading 0: the 15-bit window begins with ten zeros.
        EXPECT_EQ(d.st, zepStatusVLCErr) << v;
        EXPECT_EQ(d.bits, 0u) << v;
    }
}

// ---- random blocks through a test-side encoder
struct Coef {
    int pos, level;
};

void put_h263(Bits& b, const Tcoef* table, size_t n, int last, int run, int level, bool modQuant) {
    for (size_t i = 0; i < n; ++i)
        if (table[i].last == last && table[i].run == run && table[i].level == std::abs(level)) {
            b.put(table[i].code);
            b.put(level < 0 ? 1u : 0u, 1);
            return;
        }
    b.put("0000011");
    b.put(static_cast<uint32_t>(last), 1);
    b.put(static_cast<uint32_t>(run), 6);
    if (level >= -127 && level <= 127) {
        b.put(static_cast<uint32_t>(level) & 0xFF, 8);
    } else {
        EXPECT_TRUE(modQuant);
        b.put(0x80, 8);
        b.put(static_cast<uint32_t>(level) & 31, 5);
        b.put(static_cast<uint32_t>(level >> 5) & 63, 6);
    }
}

TEST(H263Vlc, RandomBlocksDecodeBackAndReconstruct) {
    Rng rng(154);
    for (int it = 0; it < 3000; ++it) {
        const bool intra = it & 1, adv = intra && (it & 2), modQuant = it & 4;
        const int scan = rng.range(0, 2);
        const int start = intra && !adv ? 0 : -1;
        std::vector<Coef> coefs;
        int pos = start;
        while (true) {
            pos += 1 + (rng.range(0, 3) ? rng.range(0, 2) : rng.range(0, 40));
            if (pos > 63) break;
            const int maxLevel = modQuant ? 1023 : 127;
            int level = rng.range(0, 4) ? rng.range(1, 3) : rng.range(1, maxLevel);
            coefs.push_back({pos, rng.coin() ? level : -level});
            if (rng.range(0, 5) == 0) break;
        }
        if (coefs.empty()) continue;
        Bits b;
        const Tcoef* table = adv ? kH263AdvIntra : kH263;
        const size_t n = adv ? std::size(kH263AdvIntra) : std::size(kH263);
        int prev = start;
        for (size_t i = 0; i < coefs.size(); ++i) {
            put_h263(b, table, n, i + 1 == coefs.size(), coefs[i].pos - prev - 1, coefs[i].level, modQuant);
            prev = coefs[i].pos;
        }
        std::vector<Zep16s> in(64, 0);
        in[0] = 77;  // an INTRADC already decoded
        const int effScan = intra ? scan : (scan == 2 ? 3 : scan);
        const auto d = run_decoder(b, rng, in, [&](Zep8u** p, Zep32s* o, Zep16s* k, Zep32s* l) {
            return intra ? zepiDecodeCoeffsIntra_H263_1u16s(p, o, k, l, adv, modQuant, effScan)
                         : zepiDecodeCoeffsInter_H263_1u16s(p, o, k, l, modQuant, effScan);
        });
        const std::string ctx = std::string(intra ? "intra" : "inter") + (adv ? " Annex I" : "") + (modQuant ? " Annex T" : "") +
                                " scan " + std::to_string(effScan) + " bits " + b.s;
        ASSERT_EQ(d.st, zepStatusOk) << ctx;
        ASSERT_EQ(d.bits, b.s.size()) << ctx;
        ASSERT_EQ(d.last, coefs.back().pos) << ctx;
        std::vector<Zep16s> want(64, 0);
        if (intra && !adv) want[0] = 77;
        // The scans are checked by where the values land: zig-zag here, the alternates by their first entries.
        for (const Coef& c : coefs) {
            if (effScan == 0) want[static_cast<size_t>(kZigzag[c.pos])] = static_cast<Zep16s>(c.level);
            else if (effScan >= 3 || (!intra && effScan == 2)) want[static_cast<size_t>(c.pos)] = static_cast<Zep16s>(c.level);
        }
        if (effScan == 0 || effScan >= 3) {
            ASSERT_TRUE(same_array(want, d.coef, ctx));
        }
        int nonzero = 0;
        for (Zep16s v : d.coef) nonzero += v != 0;
        ASSERT_EQ(nonzero, static_cast<int>(coefs.size()) + (intra && !adv ? 1 : 0)) << ctx;
        // Reconstruct = decode with the zig-zag scan + the inverse quantiser.
        if (effScan == 0 || adv) {
            const int qp = rng.range(1, 31);
            std::vector<Zep16s> q = d.coef;
            const ZepStatus qs = intra ? zepiQuantInvIntra_H263_16s_C1I(q.data(), 63, qp, adv, modQuant)
                                       : zepiQuantInvInter_H263_16s_C1I(q.data(), 63, qp, modQuant);
            ASSERT_EQ(qs, zepStatusOk);
            Bits rb;
            if (intra && !adv) rb.put(77 == 128 ? 255 : 77, 8);  // INTRADC read by the Reconstruct form
            rb.put(b.s);
            const auto r = run_decoder(rb, rng, std::vector<Zep16s>(64, 5), [&](Zep8u** p, Zep32s* o, Zep16s* k, Zep32s* l) {
                return intra ? zepiReconstructCoeffsIntra_H263_1u16s(p, o, k, l, 1, qp, adv, effScan, modQuant)
                             : zepiReconstructCoeffsInter_H263_1u16s(p, o, k, l, qp, modQuant);
            });
            ASSERT_EQ(r.st, zepStatusOk) << ctx;
            ASSERT_TRUE(same_array(q, r.coef, ctx + " reconstruct qp " + std::to_string(qp)));
        }
    }
}

TEST(H261Vlc, RandomBlocksDecodeBackAndReconstruct) {
    Rng rng(155);
    for (int it = 0; it < 3000; ++it) {
        const bool intra = it & 1;
        std::vector<Coef> coefs;
        int pos = intra ? 0 : -1;
        while (true) {
            pos += 1 + (rng.range(0, 3) ? rng.range(0, 2) : rng.range(0, 30));
            if (pos > 63 || rng.range(0, 6) == 0) break;
            const int level = rng.range(0, 4) ? rng.range(1, 3) : rng.range(1, 127);
            coefs.push_back({pos, rng.coin() ? level : -level});
        }
        if (!intra && coefs.empty()) continue;  // an inter block has at least one coefficient
        Bits b;
        const int dc = rng.range(1, 254);
        if (intra) b.put(static_cast<uint32_t>(dc == 128 ? 255 : dc), 8);
        int prev = intra ? 0 : -1;
        for (size_t i = 0; i < coefs.size(); ++i) {
            const int run = coefs[i].pos - prev - 1, a = std::abs(coefs[i].level);
            std::string c = (!intra && i == 0 && run == 0 && a == 1) ? "1" : h261(run, a);
            if (c.empty()) {
                b.put("000001");
                b.put(static_cast<uint32_t>(run), 6);
                b.put(static_cast<uint32_t>(coefs[i].level) & 0xFF, 8);
            } else {
                b.put(c);
                b.put(coefs[i].level < 0 ? 1u : 0u, 1);
            }
            prev = coefs[i].pos;
        }
        b.put("10");
        const auto d = run_decoder(b, rng, std::vector<Zep16s>(64, 3), [&](Zep8u** p, Zep32s* o, Zep16s* k, Zep32s* l) {
            return intra ? zepiDecodeCoeffsIntra_H261_1u16s(p, o, k, l, 0) : zepiDecodeCoeffsInter_H261_1u16s(p, o, k, l, 0);
        });
        const std::string ctx = std::string(intra ? "intra" : "inter") + " bits " + b.s;
        ASSERT_EQ(d.st, zepStatusOk) << ctx;
        ASSERT_EQ(d.bits, b.s.size()) << ctx;
        std::vector<Zep16s> want(64, 0);
        if (intra) want[0] = static_cast<Zep16s>(dc);
        for (const Coef& c : coefs) want[static_cast<size_t>(kZigzag[c.pos])] = static_cast<Zep16s>(c.level);
        ASSERT_TRUE(same_array(want, d.coef, ctx));
        const int qp = rng.range(1, 31);
        std::vector<Zep16s> q = d.coef;
        ASSERT_EQ(zepiQuantInvInter_H263_16s_C1I(q.data(), 63, qp, 0), zepStatusOk);  // the AC rule
        if (intra) q[0] = static_cast<Zep16s>(dc * 8);
        const auto r = run_decoder(b, rng, std::vector<Zep16s>(64, 3), [&](Zep8u** p, Zep32s* o, Zep16s* k, Zep32s* l) {
            return intra ? zepiReconstructCoeffsIntra_H261_1u16s(p, o, k, l, qp) : zepiReconstructCoeffsInter_H261_1u16s(p, o, k, l, qp);
        });
        ASSERT_EQ(r.st, zepStatusOk) << ctx;
        ASSERT_TRUE(same_array(q, r.coef, ctx + " reconstruct"));
    }
}

// ---- intra DC decoders
TEST(IntraDc, Mpeg4SizesAndDifferentialsAndH263Codes) {
    Rng rng(156);
    for (int luma = 0; luma < 2; ++luma)
        for (int size = 0; size <= 12; ++size)
            for (int it = 0; it < 20; ++it) {
                Bits b;
                b.put(luma ? kDcLuma[size].code : kDcChroma[size].code);
                int diff = 0;
                if (size) {
                    const int mag = rng.range(1 << (size - 1), (1 << size) - 1);
                    diff = rng.coin() ? mag : -mag;
                    b.put(static_cast<uint32_t>(diff > 0 ? diff : diff + (1 << size) - 1), size);
                    if (size > 8) b.put(it % 5 ? 1u : 0u, 1);  // marker bit, sometimes 0
                }
                const bool markerOk = size <= 8 || it % 5;
                const int lead = rng.range(0, 7);
                std::vector<Zep8u> bytes = b.bytes(lead, rng);
                Zep8u* p = bytes.data();
                Zep32s off = lead;
                Zep16s dc = 0;
                const ZepStatus st = zepiDecodeDCIntra_MPEG4_1u16s(&p, &off, &dc, luma ? 0 : 1);
                if (!markerOk) {
                    ASSERT_EQ(st, zepStatusVLCErr);
                    ASSERT_EQ(p, bytes.data());
                    continue;
                }
                ASSERT_EQ(st, zepStatusOk) << "size " << size;
                ASSERT_EQ(dc, diff) << "size " << size;
                ASSERT_EQ(static_cast<size_t>(p - bytes.data()) * 8 + static_cast<size_t>(off - lead), b.s.size());
            }
    // A size code past 12 (one zero too many).
    {
        Bits b;
        b.put("000000000000011");
        std::vector<Zep8u> bytes = b.bytes(0, rng);
        Zep8u* p = bytes.data();
        Zep32s off = 0;
        Zep16s dc;
        EXPECT_EQ(zepiDecodeDCIntra_MPEG4_1u16s(&p, &off, &dc, 0), zepStatusVLCErr);
    }
    for (int code : {0, 1, 127, 128, 129, 254, 255}) {
        Zep8u bytes[4] = {static_cast<Zep8u>(code), 0, 0, 0};
        Zep8u* p = bytes;
        Zep32s off = 0;
        Zep16u dc = 7;
        const ZepStatus st = zepiDecodeDCIntra_H263_1u16s(&p, &off, &dc);
        if (code == 0 || code == 128) {
            EXPECT_EQ(st, zepStatusVLCErr);
            EXPECT_EQ(p, bytes);
        } else {
            EXPECT_EQ(st, zepStatusOk);
            EXPECT_EQ(dc, code == 255 ? 128 : code);
            EXPECT_EQ(p, bytes + 1);
        }
    }
}

// H.263 intra Reconstruct with cbp 0: the DC only, every other entry as the caller left it.
TEST(H263Vlc, ReconstructIntraWithoutCodedAcTouchesOnlyTheDc) {
    for (int code : {1, 77, 254, 255}) {
        Zep8u bytes[6] = {static_cast<Zep8u>(code), 0xFF, 0xFF, 0xFF, 0, 0};
        Zep8u* p = bytes;
        Zep32s off = 0, last = -7;
        std::vector<Zep16s> coef(64);
        for (int i = 0; i < 64; ++i) coef[static_cast<size_t>(i)] = static_cast<Zep16s>(1000 + i);
        ASSERT_EQ(zepiReconstructCoeffsIntra_H263_1u16s(&p, &off, coef.data(), &last, 0, 7, 0, 0, 0), zepStatusOk);
        EXPECT_EQ(coef[0], code == 255 ? 1024 : code * 8);
        for (int i = 1; i < 64; ++i) ASSERT_EQ(coef[static_cast<size_t>(i)], 1000 + i);
        EXPECT_EQ(last, 0);
        EXPECT_EQ(p, bytes + 1);
    }
}

// Random bytes: success or the decoding error, the position untouched on error.
TEST(Vlc, CorruptStreamsFailInPlace) {
    Rng rng(157);
    for (int it = 0; it < 5000; ++it) {
        std::vector<Zep8u> bytes(200);
        for (auto& v : bytes) v = static_cast<Zep8u>(rng.u32() & (it % 3 ? 0xFF : 0x0F));
        const int which = it % 6;
        Zep8u* p = bytes.data();
        Zep32s off = rng.range(0, 7), last = 0;
        const Zep32s off0 = off;
        std::vector<Zep16s> c(64);
        ZepStatus st;
        switch (which) {
            case 0: st = zepiDecodeCoeffsIntra_H263_1u16s(&p, &off, c.data(), &last, 1, 1, 2); break;
            case 1: st = zepiDecodeCoeffsInter_H263_1u16s(&p, &off, c.data(), &last, 0, 0); break;
            case 2: st = zepiDecodeCoeffsIntra_H261_1u16s(&p, &off, c.data(), &last, 0); break;
            case 3: st = zepiDecodeCoeffsInter_H261_1u16s(&p, &off, c.data(), &last, -1); break;
            case 4: st = zepiReconstructCoeffsIntra_H263_1u16s(&p, &off, c.data(), &last, 1, 9, 0, 0, 1); break;
            default: st = zepiReconstructCoeffsInter_H261_1u16s(&p, &off, c.data(), &last, 12); break;
        }
        if (st == zepStatusOk) {
            ASSERT_LT(p - bytes.data(), 180);
            continue;
        }
        ASSERT_EQ(st, zepStatusVLCErr);
        ASSERT_EQ(p, bytes.data());
        ASSERT_EQ(off, off0);
    }
}

TEST(Vlc, ChecksInOrder) {
    Zep8u bytes[8] = {0xFF, 0xFF, 0xFF, 0xFF};
    Zep8u* p = bytes;
    Zep8u* nul = nullptr;
    Zep32s off = 8, last;
    Zep16s c[64];
    EXPECT_EQ(zepiDecodeCoeffsInter_H263_1u16s(nullptr, &off, c, &last, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeCoeffsInter_H263_1u16s(&p, nullptr, c, &last, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeCoeffsInter_H263_1u16s(&p, &off, nullptr, &last, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeCoeffsInter_H263_1u16s(&p, &off, c, nullptr, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeCoeffsInter_H263_1u16s(&nul, &off, c, &last, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiDecodeCoeffsInter_H263_1u16s(&p, &off, c, &last, 0, 0), zepStatusBitOffsetErr);
    off = -1;
    EXPECT_EQ(zepiDecodeCoeffsIntra_H261_1u16s(&p, &off, c, &last, 0), zepStatusBitOffsetErr);
    off = 8;
    EXPECT_EQ(zepiReconstructCoeffsInter_H263_1u16s(&p, &off, c, &last, 0, 0), zepStatusBitOffsetErr);  // before QP
    off = 0;
    EXPECT_EQ(zepiReconstructCoeffsInter_H263_1u16s(&p, &off, c, &last, 0, 0), zepStatusQPErr);
    EXPECT_EQ(zepiReconstructCoeffsIntra_H261_1u16s(&p, &off, c, &last, 32), zepStatusQPErr);
    Zep16u dc;
    EXPECT_EQ(zepiDecodeDCIntra_H263_1u16s(&p, nullptr, &dc), zepStatusNullPtr);
    EXPECT_EQ(p, bytes);
}

}  // namespace
