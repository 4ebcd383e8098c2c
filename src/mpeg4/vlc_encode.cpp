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
    EncodeTables() : h263(), h261(), h261Eob(0) {
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

ZEPVC_API ZepStatus zepiEncodeCoeffsIntra_H261_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pQCoef); st != zepStatusOk) return st;
    return h261(pQCoef, ppBitStream, pBitOffset, true);
}

ZEPVC_API ZepStatus zepiEncodeCoeffsInter_H261_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset) {
    if (const ZepStatus st = check(ppBitStream, pBitOffset, pQCoef); st != zepStatusOk) return st;
    return h261(pQCoef, ppBitStream, pBitOffset, false);
}

}  // extern "C"
