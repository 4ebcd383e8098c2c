// H.263 and H.261 coefficient encoding: the code of each (last, run, level)
// comes from the decoders' own packed tables (every peek value that resolves
// to an entry names its code), so the two sides cannot disagree; escapes as
// the decoders read them. A byte-stream writer keeps the bits before its
// start position.
#include <cstdint>
#include <cstring>

#include "common/saturate.h"
#include "frame/check.h"
#include "frame/cpu.h"
#include "mpeg4/scans.h"
#include "mpeg4/vlc_tables.h"
#include "zepvc.h"

namespace zep {
namespace {

// (code with a 0 sign bit << 8) | length with the sign, by [table][last][run][level]; 0: no code.
struct EncodeTables {
    Zep32u h263[2][2][64][128];  // [Annex I][last][run][level]
    Zep32u h261[64][128];        // [run][level]; end of block apart
    Zep32u h261Eob;
    Zep32u mpeg4[2][2][64][32];   // [intra][last][run][level]: (code << 8) | length without the sign
    Zep32u rvlc[2][2][64][32];    // [intra][last][run][level]: the same for the reversible codes
    EncodeTables() : h263(), h261(), h261Eob(0), mpeg4(), rvlc() {
        using namespace mpeg4;
        for (int adv = 0; adv < 2; ++adv)
            for (uint32_t v = 16; v < 8192; ++v) {
                const Zep32u* s0 = adv ? kH263AdvIntraSub0 : kH263Sub0;
                const Zep32u* s1 = adv ? kH263AdvIntraSub1 : kH263Sub1;
                const Zep32u* s2 = adv ? kH263AdvIntraSub2 : kH263Sub2;
                if ((v >> 6) == 3) continue;  // the escape
                const Zep32u e = v >= 1024 ? s0[(v >> 6) - 16] : (v >= 256 ? s1[(v >> 3) - 32] : s2[(v >> 1) - 8]);
                if (e == 0) continue;
                const int len = static_cast<int>(e >> 24);
                const Zep32u code = (v >> (13 - len)) & ~1u;
                const int last = static_cast<int>(e & 0xFF), run = static_cast<int>((e >> 8) & 0xFF) - 1;
                const int level = static_cast<int>((e >> 16) & 0xFF);
                h263[adv][last][run][level] = (code << 8) | static_cast<Zep32u>(len);
            }
        for (uint32_t v = 32; v < 16384; ++v) {
            if ((v >> 8) == 1) continue;  // the escape
            const Zep32u e = v >= 2560 ? kH261Sub0[v >> 9] : (v >= 512 ? kH261Sub1[v >> 6] : kH261Sub2[v >> 1]);
            if (e == 0) continue;
            const int len = static_cast<int>(e >> 16), run = static_cast<int>(e & 0xFF) - 1;
            const int level = static_cast<int>((e >> 8) & 0xFF);
            if (level == 0) {
                h261Eob = ((v >> (14 - len)) << 8) | static_cast<Zep32u>(len);
                continue;
            }
            h261[run][level] = (((v >> (14 - len)) & ~1u) << 8) | static_cast<Zep32u>(len);
        }
        for (int intra = 0; intra < 2; ++intra) {
            const Zep32u* s0 = intra ? kMpeg4IntraSub0 : kMpeg4InterSub0;
            const Zep32u* s1 = intra ? kMpeg4IntraSub1 : kMpeg4InterSub1;
            const Zep32u* s2 = intra ? kMpeg4IntraSub2 : kMpeg4InterSub2;
            for (uint32_t v = 8; v < 4096; ++v) {
                const Zep32u e = v >= 512 ? s0[(v >> 5) - 16] : (v >= 128 ? s1[(v >> 2) - 32] : s2[v]);
                const int level = static_cast<int>((e >> 16) & 0xFF);
                if (e == 0 || level == 255 || level >= 32) continue;
                const int len = static_cast<int>(e >> 24);
                mpeg4[intra][e & 0xFF][(e >> 8) & 0xFF][level] = ((v >> (12 - len)) << 8) | static_cast<Zep32u>(len);
            }
            const Zep32u* first = intra ? kRvlcFwdIntraFirst : kRvlcFwdInterFirst;
            const Zep32u* second = intra ? kRvlcFwdIntraSecond : kRvlcFwdInterSecond;
            const auto keep = [&](Zep32u e, Zep32u code) {
                const int level = static_cast<int>((e >> 16) & 0xFF);
                if (e == 0 || level >= 32) return;
                rvlc[intra][e & 0xFF][(e >> 8) & 0xFF][level] = (code << 8) | (e >> 24);
            };
            for (uint32_t i = 0; i < 256; ++i) {
                const Zep32u e = first[i];
                if (!(e & 0x80000000u)) {
                    if (e) keep(e, i >> (8 - (e >> 24)));
                    continue;
                }
                for (uint32_t j = 0; j < 128; ++j) {
                    const Zep32u l = second[(e & 0xFFFF) * 128 + j];
                    if (l) keep(l, (i << ((l >> 24) - 8)) | (j >> (15 - (l >> 24))));
                }
            }
        }
    }
};

ZEP_TABLE_INIT_PRIORITY const EncodeTables g_encode;

class ByteWriter {
public:
    ByteWriter(Zep8u* p, int used) : p_(p), used_(used) {}
    void put(uint32_t v, int n) {
        for (int i = n - 1; i >= 0; --i) {
            const Zep8u mask = static_cast<Zep8u>(0x80 >> used_);
            *p_ = static_cast<Zep8u>((((v >> i) & 1) ? (*p_ | mask) : (*p_ & ~mask)));
            if (++used_ == 8) {
                used_ = 0;
                ++p_;
            }
        }
    }
    void code(Zep32u e, bool negative) { put((e >> 8) | (negative ? 1u : 0u), static_cast<int>(e & 0xFF)); }
    void commit(Zep8u** pp, Zep32s* pUsed) const {
        *pp = p_;
        *pUsed = used_;
    }

private:
    Zep8u* p_;
    int used_;
};

const Zep8u* scan_of(int scan, bool intra) {
    if (scan == 0) return mpeg4::kZigzag;
    if (scan == 1) return mpeg4::kAltVertical;
    if (scan == 2 && intra) return mpeg4::kAltHorizontal;
    return nullptr;
}

int at(const Zep16s* c, const Zep8u* scan, int i) { return c[scan ? scan[i] : i]; }

// H.263: (last, run, level) codes from scan position `from`, escapes for the rest.
ZepStatus h263(const Zep16s* c, Zep8u** pp, Zep32s* pOffset, int from, bool adv, bool modQuant, const Zep8u* scan) {
    const int limit = modQuant ? 1023 : 127;
    int lastPos = -1;
    for (int i = from; i < 64; ++i) {
        const int v = at(c, scan, i);
        if (v < -limit || v > limit) return zepStatusOutOfRange;
        if (v) lastPos = i;
    }
    if (lastPos < 0) return zepStatusOk;  // nothing coded
    ByteWriter w(*pp, *pOffset);
    int run = 0;
    for (int i = from; i <= lastPos; ++i) {
        const int v = at(c, scan, i);
        if (v == 0) {
            ++run;
            continue;
        }
        const int last = i == lastPos, a = v < 0 ? -v : v;
        const Zep32u e = a < 128 ? g_encode.h263[adv][last][run][a] : 0;
        if (e) {
            w.code(e, v < 0);
        } else {
            w.put(3, 7);  // 0000011
            w.put(static_cast<uint32_t>(last), 1);
            w.put(static_cast<uint32_t>(run), 6);
            if (a < 128) {
                w.put(static_cast<uint32_t>(v) & 0xFF, 8);
            } else {
                // Annex T: -128, then the 5 low bits and the 6 signed high bits.
                w.put(0x80, 8);
                w.put(static_cast<uint32_t>(v) & 31, 5);
                w.put(static_cast<uint32_t>(v >> 5) & 63, 6);
            }
        }
        run = 0;
    }
    w.commit(pp, pOffset);
    return zepStatusOk;
}

ZepStatus h261(const Zep16s* c, Zep8u** pp, Zep32s* pOffset, bool intra) {
    for (int i = intra ? 1 : 0; i < 64; ++i)
        if (c[mpeg4::kZigzag[i]] < -127 || c[mpeg4::kZigzag[i]] > 127) return zepStatusOutOfRange;
    if (intra && (c[0] < 1 || c[0] > 254)) return zepStatusOutOfRange;
    if (!intra) {
        // An inter block without levels is not coded: its end of block alone would read as "1s".
        bool any = false;
        for (int i = 0; i < 64; ++i) any = any || c[i] != 0;
        if (!any) return zepStatusOk;
    }
    ByteWriter w(*pp, *pOffset);
    if (intra) w.put(c[0] == 128 ? 255u : static_cast<uint32_t>(c[0]), 8);
    int run = 0;
    bool first = true;
    for (int i = intra ? 1 : 0; i < 64; ++i) {
        const int v = c[mpeg4::kZigzag[i]];
        if (v == 0) {
            ++run;
            continue;
        }
        const int a = v < 0 ? -v : v;
        if (!intra && first && run == 0 && a == 1) {
            w.put(v < 0 ? 3u : 2u, 2);  // "1s"
        } else if (const Zep32u e = g_encode.h261[run][a]) {
            w.code(e, v < 0);
        } else {
            w.put(1, 6);  // 000001
            w.put(static_cast<uint32_t>(run), 6);
            w.put(static_cast<uint32_t>(v) & 0xFF, 8);
        }
        first = false;
        run = 0;
    }
    w.code(g_encode.h261Eob, false);
    w.commit(pp, pOffset);
    return zepStatusOk;
}

// An MPEG-4 entry (length without the sign) as one with room for its sign bit.
Zep32u with_sign_bit(Zep32u e) { return ((e >> 8) << 9) | ((e & 0xFF) + 1); }

// MPEG-4: table code, else escape 1 (level less LMAX), else escape 2 (run
// less RMAX + 1), else escape 3; or, with reversible codes, the table code or
// the 30-bit escape.
void mpeg4_event(ByteWriter& w, bool intra, bool rvlc, int last, int run, int v) {
    const int a = v < 0 ? -v : v;
    const auto table = [&](int l, int r, int lev) -> Zep32u {
        if (r > 63 || lev < 1 || lev >= 32) return 0;
        return rvlc ? g_encode.rvlc[intra][l][r][lev] : g_encode.mpeg4[intra][l][r][lev];
    };
    if (const Zep32u e = table(last, run, a)) {
        w.code(with_sign_bit(e), v < 0);
        return;
    }
    if (rvlc) {
        w.put(1, 5);  // 00001
        w.put(static_cast<uint32_t>(last), 1);
        w.put(static_cast<uint32_t>(run), 6);
        w.put(1, 1);
        w.put(static_cast<uint32_t>(a), 11);
        w.put(1, 1);
        w.put(v < 0 ? 1u : 0u, 5);
        return;
    }
    const Zep32u* lmax = intra ? mpeg4::kLmaxIntra : mpeg4::kLmaxInter;
    const Zep32u* rmax = intra ? mpeg4::kRmaxIntra : mpeg4::kRmaxInter;
    const int lm = static_cast<int>(lmax[last * 64 + run]);
    if (lm > 0 && a > lm) {
        if (const Zep32u e = table(last, run, a - lm)) {
            w.put(3, 7);
            w.put(0, 1);
            w.code(with_sign_bit(e), v < 0);
            return;
        }
    }
    const int rm = a < 64 ? static_cast<int>(rmax[last * 64 + a]) : 0;  // RMAX + 1
    if (rm > 0 && run >= rm) {
        if (const Zep32u e = table(last, run - rm, a)) {
            w.put(3, 7);
            w.put(2, 2);
            w.code(with_sign_bit(e), v < 0);
            return;
        }
    }
    w.put(3, 7);
    w.put(3, 2);
    w.put(static_cast<uint32_t>(last), 1);
    w.put(static_cast<uint32_t>(run), 6);
    w.put(1, 1);
    w.put(static_cast<uint32_t>(v) & 0xFFF, 12);
    w.put(1, 1);
}

ZepStatus mpeg4_block(const Zep16s* c, Zep8u** pp, Zep32s* pOffset, int from, bool intra, bool rvlc, const Zep8u* scan) {
    int lastPos = -1;
    for (int i = from; i < 64; ++i) {
        const int v = at(c, scan, i);
        if (v < -2047 || v > 2047) return zepStatusOutOfRange;
        if (v) lastPos = i;
    }
    if (lastPos < 0) return zepStatusOk;
    ByteWriter w(*pp, *pOffset);
    int run = 0;
    for (int i = from; i <= lastPos; ++i) {
        const int v = at(c, scan, i);
        if (v == 0) {
            ++run;
            continue;
        }
        mpeg4_event(w, intra, rvlc, i == lastPos, run, v);
        run = 0;
    }
    w.commit(pp, pOffset);
    return zepStatusOk;
}

ZepStatus check(Zep8u** pp, Zep32s* pOffset, const Zep16s* c) {
    ZEP_CHECK_PTRS(c, pp, pOffset);
    ZEP_CHECK_PTRS(*pp);
    if (*pOffset < 0 || *pOffset > 7) return zepStatusBitOffsetErr;
    return zepStatusOk;
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiEncodeCoeffsIntra_H263_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                     Zep32s advIntraFlag, Zep32s modQuantFlag, Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pQCoef); st != zepStatusOk) return st;
    return h263(pQCoef, ppBitStream, pBitOffset, advIntraFlag ? 0 : 1, advIntraFlag != 0, modQuantFlag != 0,
                scan_of(scan, true));
}

ZEPVC_API ZepStatus zepiEncodeCoeffsInter_H263_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                     Zep32s modQuantFlag, Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pQCoef); st != zepStatusOk) return st;
    return h263(pQCoef, ppBitStream, pBitOffset, 0, false, modQuantFlag != 0, scan_of(scan, false));
}

ZEPVC_API ZepStatus zepiEncodeDCIntra_H263_16s1u(Zep16s dc, Zep8u** ppBitStream, Zep32s* pBitOffset) {
    ZEP_CHECK_PTRS(ppBitStream, pBitOffset);
    ZEP_CHECK_PTRS(*ppBitStream);
    if (*pBitOffset < 0 || *pBitOffset > 7) return zepStatusBitOffsetErr;
    if (dc < 1 || dc > 254) return zepStatusOutOfRange;
    ByteWriter w(*ppBitStream, *pBitOffset);
    w.put(dc == 128 ? 255u : static_cast<uint32_t>(dc), 8);
    w.commit(ppBitStream, pBitOffset);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiEncodeDCIntra_MPEG4_16s1u(Zep16s dcDiff, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                  Zep32s blockType) {
    ZEP_CHECK_PTRS(ppBitStream, pBitOffset);
    ZEP_CHECK_PTRS(*ppBitStream);
    if (*pBitOffset < 0 || *pBitOffset > 7) return zepStatusBitOffsetErr;
    const int a = dcDiff < 0 ? -dcDiff : dcDiff;
    int size = 0;
    while ((a >> size) != 0) ++size;
    if (size > 12) return zepStatusOutOfRange;
    ByteWriter w(*ppBitStream, *pBitOffset);
    if (blockType == 0) {
        // 011 0, 11 1, 10 2, 010 3, 001 4, then size - 2 zeros and a 1.
        static constexpr Zep32u kShort[5] = {(3u << 8) | 3, (3u << 8) | 2, (2u << 8) | 2, (2u << 8) | 3, (1u << 8) | 3};
        if (size < 5) w.put(kShort[size] >> 8, static_cast<int>(kShort[size] & 0xFF));
        else w.put(1, size - 1);
    } else {
        // 11 0, 10 1, 01 2, then size - 1 zeros and a 1.
        if (size < 3) w.put(static_cast<uint32_t>(3 - size), 2);
        else w.put(1, size);
    }
    if (size) w.put(static_cast<uint32_t>(dcDiff > 0 ? dcDiff : dcDiff + (1 << size) - 1), size);
    if (size > 8) w.put(1, 1);  // marker bit
    w.commit(ppBitStream, pBitOffset);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiEncodeCoeffsIntra_MPEG4_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                      Zep32s rvlcFlag, Zep32s dcCodedApart, Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pQCoef); st != zepStatusOk) return st;
    return mpeg4_block(pQCoef, ppBitStream, pBitOffset, dcCodedApart ? 1 : 0, true, rvlcFlag != 0, scan_of(scan, true));
}

ZEPVC_API ZepStatus zepiEncodeCoeffsInter_MPEG4_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                      Zep32s rvlcFlag, Zep32s scan) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pQCoef); st != zepStatusOk) return st;
    return mpeg4_block(pQCoef, ppBitStream, pBitOffset, 0, false, rvlcFlag != 0, scan_of(scan, false));
}

ZEPVC_API ZepStatus zepiEncodeCoeffsIntra_H261_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pQCoef); st != zepStatusOk) return st;
    return h261(pQCoef, ppBitStream, pBitOffset, true);
}

ZEPVC_API ZepStatus zepiEncodeCoeffsInter_H261_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pQCoef); st != zepStatusOk) return st;
    return h261(pQCoef, ppBitStream, pBitOffset, false);
}

}  // extern "C"
