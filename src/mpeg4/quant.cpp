// Entry points of the MPEG-4 and H.263 quantisers and inverse quantisers:
// spec records, checks, the forward quantisers (scalar: an encoder calls them
// once per block after a transform that costs far more), and the inverse
// quantisers through the kernel table.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "frame/check.h"
#include "mpeg4/quant_dsp.h"
#include "mpeg4/quant_ref.h"
#include "zepvc.h"

namespace zep {
namespace {

template <class T>
T* align16(void* p) {
    return reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(p) + 15) & ~uintptr_t{15});
}
template <class T>
const T* align16(const void* p) {
    return reinterpret_cast<const T*>((reinterpret_cast<uintptr_t>(p) + 15) & ~uintptr_t{15});
}

// Reciprocal of 2 QP for the integer paths: floor(65536 / (2 QP)) + 1.
int q_recip(int qp) { return 65536 / (2 * qp) + 1; }

int max_qp(int bits) { return bits < 4 ? 0 : (1 << (bits - 3)) - 1; }

int dc_scaler(int qp, bool luma) {
    if (qp <= 4) return 8;
    if (luma) return qp <= 8 ? 2 * qp : (qp <= 24 ? qp + 8 : 2 * qp - 16);
    return qp <= 24 ? (qp + 13) >> 1 : qp - 6;
}

int sat16(int64_t v) { return static_cast<int>(v < -32768 ? -32768 : (v > 32767 ? 32767 : v)); }
int signed_level(int mag, int c) { return c < 0 ? -mag : mag; }

// ---- MPEG-4 forward

// The intra DC: symmetric +-2047 whatever QP.
int quant_dc(int dc, int qp, bool luma) {
    if (qp <= 4) {
        if (dc >= 4) return std::min((dc + 4) >> 3, 2047);
        if (dc < -3) return std::max((dc + 3) >> 3, -2047);
        return 0;
    }
    const int d = dc_scaler(qp, luma);
    if (dc >= (d + 1) >> 1) return std::min((dc + (d >> 1)) / d, 2047);
    if (dc <= -((d + 1) >> 1)) return std::max((dc - (d >> 1)) / d, -2047);
    return 0;
}

// One AC coefficient (or any coefficient of an inter block).
int quant_mpeg4(int c, int i, const QuantSpecMpeg4& s, int qp, bool intra) {
    const int mag = c < 0 ? -c : c;
    if (s.bitsPerPixel >= 9) {
        const float f = static_cast<float>(8.00001 / qp);
        const float inv = s.matrixPresent ? s.recipF[i] : 1.0f / 16.0f;
        const float v = static_cast<float>(c) * f * inv;
        const int t = sat16(static_cast<int64_t>(std::fmax(std::fmin(v, 1e9f), -1e9f)));
        return std::clamp(t, -2047, 2047);
    }
    int a;
    if (s.matrixPresent) {
        uint32_t u = static_cast<uint16_t>(16 * mag);
        u = static_cast<uint16_t>(u + s.first[i]);
        u = (u * s.recip[i]) >> 16;
        if (intra) u += static_cast<uint32_t>((3 * qp + 2) >> 2);
        a = static_cast<int>((u * static_cast<uint32_t>(q_recip(qp))) >> 16);
    } else {
        const int m = intra ? mag : std::max(mag - qp / 2, 0);
        a = static_cast<int>((static_cast<int64_t>(m) * q_recip(qp)) >> 16);
    }
    return signed_level(std::min(a, 2047), c);
}

ZepStatus quant_mpeg4_block(Zep16s* coef, const void* spec, int qp, Zep32s* nz, bool intra, bool luma) {
    ZEP_CHECK_PTRS(coef, spec, nz);
    const QuantSpecMpeg4& s = *align16<QuantSpecMpeg4>(spec);
    if (s.mark != (intra ? kMarkQuantIntra : kMarkQuantInter)) return zepStatusContextMismatch;
    if (qp < 1 || qp > max_qp(s.bitsPerPixel)) return zepStatusQPErr;
    const int dc = coef[0];
    int count = 0;
    for (int i = intra ? 1 : 0; i < 64; ++i) {
        coef[i] = static_cast<Zep16s>(quant_mpeg4(coef[i], i, s, qp, intra));
        count += coef[i] != 0;
    }
    if (intra) {
        coef[0] = static_cast<Zep16s>(quant_dc(dc, qp, luma));
        count += coef[0] != 0;
    }
    *nz = count;
    return zepStatusOk;
}

// ---- MPEG-4 inverse

ZepStatus quantinv_mpeg4_block(Zep16s* coef, int last, const void* spec, int qp, bool intra, bool luma) {
    ZEP_CHECK_PTRS(coef, spec);
    const QuantInvSpecMpeg4& s = *align16<QuantInvSpecMpeg4>(spec);
    if (s.mark != (intra ? kMarkQuantInvIntra : kMarkQuantInvInter)) return zepStatusContextMismatch;
    if (qp < 1 || qp > max_qp(s.bitsPerPixel)) return zepStatusQPErr;
    const int hi = (1 << (s.bitsPerPixel + 3)) - 1, lo = -(1 << (s.bitsPerPixel + 3));
    last = std::min(last, 63);
    const QuantInvDsp& k = quantinv_dsp();
    int32_t sum = 0;
    if (intra) {
        const int dc = ref::clampi(int64_t{coef[0]} * dc_scaler(qp, luma), lo, hi);
        coef[0] = static_cast<Zep16s>(dc);
        sum = dc;
    }
    const int first = intra ? 1 : 0;
    if (!s.matrixPresent) {
        // The H.263 method, clamped to the bit depth's range; no mismatch control. At 8 bits the range
        // is H.263's own, so its kernel serves.
        if (s.bitsPerPixel == 8) {
            if (last >= first) k.h263(coef, first, last, qp);
            return zepStatusOk;
        }
        for (int i = first; i <= last; ++i) {
            const int l = coef[i];
            if (l == 0) continue;
            const int odd = (qp & 1) ? qp : qp - 1;
            const int64_t m = int64_t{2} * qp * std::abs(l) + odd;
            coef[i] = static_cast<Zep16s>(ref::clampi(l < 0 ? -m : m, lo, hi));
        }
        return zepStatusOk;
    }
    if (s.bitsPerPixel <= 8)
        sum += (intra ? k.matrixIntra : k.matrixInter)(coef, s.w, first, last, qp, lo, hi);
    else
        sum += (intra ? ref::inv_matrix<true> : ref::inv_matrix<false>)(coef, s.w, first, last, qp, lo, hi);
    if (intra && last < 1) {
        if ((coef[0] & 1) == 0) coef[63] = 1;
    } else if ((sum & 1) == 0) {
        coef[63] = static_cast<Zep16s>((coef[63] & 1) ? coef[63] - 1 : coef[63] + 1);
    }
    return zepStatusOk;
}

// ---- H.263 forward

int quant_h263(int c, int qp, bool intra, bool adv, bool modQuant) {
    const int mag = std::min(c < 0 ? -c : c, 32767);
    const int cap = modQuant ? 2047 : 127;
    int a;
    if (intra) {
        a = adv ? (mag + qp) / (2 * qp) : mag / (2 * qp);
    } else if (qp == 1 && !modQuant) {
        return std::clamp(c >> 1, -127, 127);
    } else if (qp < 8 && !modQuant) {
        const int16_t m = static_cast<int16_t>(std::max(mag - (qp >> 1), 0));
        a = (m * q_recip(qp)) >> 16;  // signed 16x16 high product
    } else {
        a = std::max(mag - (qp >> 1), 0) / (2 * qp);
    }
    return signed_level(std::min(a, cap), c);
}

ZepStatus quant_h263_block(Zep16s* coef, int qp, Zep32s* nz, bool intra, bool adv, bool modQuant) {
    ZEP_CHECK_PTRS(coef, nz);
    if (qp < 1 || qp > 31) return zepStatusQPErr;
    const int dc = coef[0];
    int count = 0;
    for (int i = intra && !adv ? 1 : 0; i < 64; ++i) {
        coef[i] = static_cast<Zep16s>(quant_h263(coef[i], qp, intra, adv, modQuant));
        count += coef[i] != 0;
    }
    if (intra && !adv) {
        int v = (dc + 4) >> 3;
        if (v == 0) v = 1;
        else if (v == 255) v = 254;
        coef[0] = static_cast<Zep16s>(v);
        count += coef[0] != 0;
    }
    *nz = count;
    return zepStatusOk;
}

ZepStatus quantinv_h263_block(Zep16s* coef, int last, int qp, bool intra, bool adv) {
    ZEP_CHECK_PTRS(coef);
    if (qp < 1 || qp > 31) return zepStatusQPErr;
    if (last < 0) return zepStatusOutOfRange;
    last = std::min(last, 63);
    if (intra && adv) {
        // Advanced INTRA: 2 QP |L| for every coefficient, the DC included.
        for (int i = 0; i <= last; ++i) {
            const int l = coef[i];
            coef[i] = static_cast<Zep16s>(ref::clampi(int64_t{2} * qp * l, -2048, 2047));
        }
        return zepStatusOk;
    }
    if (intra) coef[0] = static_cast<Zep16s>(sat16(int64_t{coef[0]} * 8));
    quantinv_dsp().h263(coef, intra ? 1 : 0, last, qp);
    return zepStatusOk;
}

// ---- spec initialisation

ZepStatus quant_init(const Zep8u* m, void* spec, int bits, Zep32u mark) {
    ZEP_CHECK_PTRS(spec);
    QuantSpecMpeg4& s = *align16<QuantSpecMpeg4>(spec);
    s.mark = mark;
    s.bitsPerPixel = bits;
    if (m == nullptr) {
        s.matrixPresent = 0;
        return zepStatusOk;
    }
    for (int i = 0; i < 64; ++i) {
        const int w = m[i];
        if (w == 0) return zepStatusQPErr;
        if (bits <= 8) {
            s.first[i] = static_cast<Zep16u>(w >> 1);
            s.recip[i] = static_cast<Zep16u>(w == 1 ? 65535 : 65536 / w + 1);
        } else {
            s.first[i] = static_cast<Zep16u>(w);
            s.recipF[i] = 1.0f / static_cast<float>(w);
        }
    }
    s.matrixPresent = 1;
    return zepStatusOk;
}

ZepStatus quantinv_init(const Zep8u* m, void* spec, int bits, Zep32u mark) {
    ZEP_CHECK_PTRS(spec);
    if (bits < 4 || bits > 12) return zepStatusOutOfRange;
    QuantInvSpecMpeg4& s = *align16<QuantInvSpecMpeg4>(spec);
    s.mark = mark;
    s.bitsPerPixel = bits;
    if (m == nullptr) {
        s.matrixPresent = 0;
        return zepStatusOk;
    }
    for (int i = 0; i < 64; ++i) {
        if (m[i] == 0) return zepStatusQPErr;
        s.w[i] = m[i];
    }
    s.matrixPresent = 1;
    return zepStatusOk;
}

ZepStatus size(Zep32s* p, Zep32s v) {
    ZEP_CHECK_PTRS(p);
    *p = v;
    return zepStatusOk;
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiQuantIntraGetSize_MPEG4(Zep32s* pSpecSize) { return size(pSpecSize, sizeof(QuantSpecMpeg4) + 16); }
ZEPVC_API ZepStatus zepiQuantInterGetSize_MPEG4(Zep32s* pSpecSize) { return size(pSpecSize, sizeof(QuantSpecMpeg4) + 16); }
ZEPVC_API ZepStatus zepiQuantInvIntraGetSize_MPEG4(Zep32s* pSpecSize) {
    return size(pSpecSize, sizeof(QuantInvSpecMpeg4) + 16);
}
ZEPVC_API ZepStatus zepiQuantInvInterGetSize_MPEG4(Zep32s* pSpecSize) {
    return size(pSpecSize, sizeof(QuantInvSpecMpeg4) + 16);
}
ZEPVC_API ZepStatus zepiQuantIntraInit_MPEG4(const Zep8u* pQuantMatrix, void* pSpec, Zep32s bitsPerPixel) {
    return quant_init(pQuantMatrix, pSpec, bitsPerPixel, kMarkQuantIntra);
}
ZEPVC_API ZepStatus zepiQuantInterInit_MPEG4(const Zep8u* pQuantMatrix, void* pSpec, Zep32s bitsPerPixel) {
    return quant_init(pQuantMatrix, pSpec, bitsPerPixel, kMarkQuantInter);
}
ZEPVC_API ZepStatus zepiQuantInvIntraInit_MPEG4(const Zep8u* pQuantMatrix, void* pSpec, Zep32s bitsPerPixel) {
    return quantinv_init(pQuantMatrix, pSpec, bitsPerPixel, kMarkQuantInvIntra);
}
ZEPVC_API ZepStatus zepiQuantInvInterInit_MPEG4(const Zep8u* pQuantMatrix, void* pSpec, Zep32s bitsPerPixel) {
    return quantinv_init(pQuantMatrix, pSpec, bitsPerPixel, kMarkQuantInvInter);
}
ZEPVC_API ZepStatus zepiQuantIntra_MPEG4_16s_C1I(Zep16s* pCoef, const void* pSpec, Zep32s QP, Zep32s* pCountNonZero,
                                                 Zep32s blockType) {
    return quant_mpeg4_block(pCoef, pSpec, QP, pCountNonZero, true, blockType == 0);
}
ZEPVC_API ZepStatus zepiQuantInter_MPEG4_16s_C1I(Zep16s* pCoef, const void* pSpec, Zep32s QP, Zep32s* pCountNonZero) {
    return quant_mpeg4_block(pCoef, pSpec, QP, pCountNonZero, false, true);
}
ZEPVC_API ZepStatus zepiQuantInvIntra_MPEG4_16s_C1I(Zep16s* pCoef, Zep32s indxLastNonZero, const void* pSpec,
                                                    Zep32s QP, Zep32s blockType) {
    return quantinv_mpeg4_block(pCoef, indxLastNonZero, pSpec, QP, true, blockType == 0);
}
ZEPVC_API ZepStatus zepiQuantInvInter_MPEG4_16s_C1I(Zep16s* pCoef, Zep32s indxLastNonZero, const void* pSpec,
                                                    Zep32s QP) {
    return quantinv_mpeg4_block(pCoef, indxLastNonZero, pSpec, QP, false, true);
}
ZEPVC_API ZepStatus zepiQuantIntra_H263_16s_C1I(Zep16s* pCoef, Zep32s QP, Zep32s* pCountNonZero, Zep32s advIntraFlag,
                                                Zep32s modQuantFlag) {
    return quant_h263_block(pCoef, QP, pCountNonZero, true, advIntraFlag != 0, modQuantFlag != 0);
}
ZEPVC_API ZepStatus zepiQuantInter_H263_16s_C1I(Zep16s* pCoef, Zep32s QP, Zep32s* pCountNonZero, Zep32s modQuantFlag) {
    return quant_h263_block(pCoef, QP, pCountNonZero, false, false, modQuantFlag != 0);
}
ZEPVC_API ZepStatus zepiQuantInvIntra_H263_16s_C1I(Zep16s* pCoef, Zep32s indxLastNonZero, Zep32s QP,
                                                   Zep32s advIntraFlag, Zep32s) {
    return quantinv_h263_block(pCoef, indxLastNonZero, QP, true, advIntraFlag != 0);
}
ZEPVC_API ZepStatus zepiQuantInvInter_H263_16s_C1I(Zep16s* pCoef, Zep32s indxLastNonZero, Zep32s QP, Zep32s) {
    return quantinv_h263_block(pCoef, indxLastNonZero, QP, false, false);
}

}  // extern "C"
