// Entry points of the H.264 Intra_16x16, chroma and 8x8-transform macroblock
// reconstruction. The prediction comes from the intra kernel table (or is
// already in the plane), the DC paths and the 8x8 transform are plain 32-bit
// integer arithmetic, and every 4x4 block goes through the 4x4 inverse
// transform kernel.
#include <cstddef>
#include <cstdint>

#include "common/saturate.h"
#include "frame/check.h"
#include "h264/dc_ref.h"
#include "h264/intrapred_dsp.h"
#include "h264/intrapred_ref.h"
#include "h264/recon8x8_dsp.h"
#include "h264/recon_dsp.h"
#include "h264/recon_ref.h"
#include "zepvc.h"

namespace zep {
namespace {

Zep8u* at(Zep8u* p, Zep32s step, int x, int y) { return p + static_cast<ptrdiff_t>(step) * y + x; }

// Adds a w x h residual (row-major, `stride` apart) to the plane with the
// 16-bit saturating sum and the sample clamp of every reconstruction here.
template <class T>
void add_residual(Zep8u* p, Zep32s step, const T* r, int stride, int w, int h) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            Zep8u* s = at(p, step, x, y);
            *s = clip_u8(sat_s16(*s + static_cast<int>(r[y * stride + x])));
        }
}

// One 4x4 block whose DC is already scaled: the AC coefficients (when coded)
// are dequantised as in every 4x4 block, then transform and add. The block's
// residual replaces its coefficients when it has a buffer.
void block_with_dc(Zep16s* c, int dc, Zep8u* dst, Zep32s step, const Zep16s* scale, QpShift q) {
    Zep16s d[16] = {};
    if (c != nullptr) ref::dequant4x4(c, scale, q, d);
    d[0] = wrap_s16(dc);
    Zep16s r[16];
    recon_dsp().itrans16(d, r);
    add_residual(dst, step, r, 4, 4, 4);
    if (c != nullptr)
        for (int i = 0; i < 16; ++i) c[i] = r[i];
}

// Lossless blocks: coefficients are the residual; vertical and horizontal
// intra prediction accumulate it down the columns or along the rows.
void bypass_region(Zep8u* dst, Zep32s step, int* res, int w, int h, int dpcm) {
    if (dpcm == 1)  // vertical
        for (int y = 1; y < h; ++y)
            for (int x = 0; x < w; ++x) res[y * w + x] += res[(y - 1) * w + x];
    else if (dpcm == 2)  // horizontal
        for (int y = 0; y < h; ++y)
            for (int x = 1; x < w; ++x) res[y * w + x] += res[y * w + x - 1];
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            Zep8u* s = at(dst, step, x, y);
            *s = clip_u8(*s + res[y * w + x]);
        }
}

// ---- Intra_16x16

// ---- chroma

constexpr int kChromaDpcm[4] = {0, 2, 1, 0};  // chroma modes: 1 horizontal, 2 vertical

struct ChromaPlane {
    Zep8u* p;
    int qp;
    const Zep16s* scales;  // 6 x 16
    Zep16s* dc;            // coded DC block or null
};

// Both planes of a chroma macroblock from the coefficient stream.
ZepStatus chroma_mb(Zep16s** pp, ChromaPlane (&pl)[2], Zep32s step, Zep32u cbp, int rows, bool bypass, int dpcm) {
    const int blocks = 2 * rows;  // 4x4 blocks per plane
    Zep16s* c = *pp;
    for (int k = 0; k < 2; ++k) {
        pl[k].dc = nullptr;
        if (cbp & (1u << k)) {
            pl[k].dc = c;
            c += 2 * rows;
        }
    }
    for (int k = 0; k < 2; ++k) {
        Zep16s* ac[8] = {};
        for (int b = 0; b < blocks; ++b)
            if (cbp & (1u << (2 + k * blocks + b))) {
                ac[b] = c;
                c += 16;
            }
        if (bypass) {
            int res[16 * 8] = {};
            for (int b = 0; b < blocks; ++b) {
                const int bx = 4 * (b & 1), by = 4 * (b >> 1);
                for (int i = 0; i < 16; ++i) {
                    const int v = i == 0 ? (pl[k].dc ? pl[k].dc[b] : 0) : (ac[b] ? ac[b][i] : 0);
                    res[(by + i / 4) * 8 + bx + i % 4] = v;
                }
            }
            bypass_region(pl[k].p, step, res, 8, 4 * rows, dpcm);
            continue;
        }
        int dc[8] = {};
        if (pl[k].dc) {
            const int qd = rows == 2 ? pl[k].qp : pl[k].qp + 3;
            chroma_dc_dequant(pl[k].dc, dc, rows, qd, pl[k].scales[16 * (qd % 6)]);
            for (int i = 0; i < 2 * rows; ++i) pl[k].dc[i] = wrap_s16(dc[i]);
        }
        const QpShift q = qp_shift(pl[k].qp);
        const Zep16s* scale = pl[k].scales + 16 * (pl[k].qp % 6);
        for (int b = 0; b < blocks; ++b)
            block_with_dc(ac[b], dc[b], at(pl[k].p, step, 4 * (b & 1), 4 * (b >> 1)), step, scale, q);
    }
    *pp = c;
    return zepStatusOk;
}

// ---- 8x8 transform

// One coded 8x8 block; lossless blocks add their coefficients as they are.
void block8x8(Zep16s* c, Zep8u* dst, Zep32s step, const Zep16s* scale, int qp, bool bypass) {
    if (!bypass) {
        recon8x8_dsp().block(c, dst, step, scale, qp);
        return;
    }
    int d[64];
    for (int i = 0; i < 64; ++i) d[i] = c[i];
    add_residual(dst, step, d, 8, 8, 8);
}

// Neighbours of 8x8 block k inside a macroblock with these edge flags.
Nbr block8_nbr(int k, Nbr mb) {
    switch (k) {
        case 0: return {mb.left, mb.top, mb.topLeft, mb.top};
        case 1: return {true, mb.top, mb.top, mb.topRight};
        case 2: return {mb.left, true, mb.left, true};
        default: return {true, true, true, false};
    }
}

bool qp_ok(Zep32s qp) { return qp >= 0 && qp <= 51; }
bool step_ok(Zep32u step, Zep32u need) { return step >= need && step <= 0x7FFFFFFFu; }

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiReconstructLumaIntra16x16MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                   Zep32u srcDstStep, Zep32u intraPredMode,
                                                                   Zep32u cbp, Zep32s qp, Zep8u edgeFlags,
                                                                   const Zep16s* pLevelScale, Zep8u bypass) {
    ZEP_CHECK_PTRS(ppCoeffBuf, pSrcDstY);
    ZEP_CHECK_PTRS(*ppCoeffBuf, pLevelScale);
    if (!step_ok(srcDstStep, 16)) return zepStatusBadStep;
    if (intraPredMode > 3) return zepStatusBadArg;
    if (!qp_ok(qp)) return zepStatusOutOfRange;
    const Nbr n = nbr_from_flags(edgeFlags);
    if (!luma16_mode_ok(intraPredMode, n)) return zepStatusNeighborUnavailable;
    const Zep32s step = static_cast<Zep32s>(srcDstStep);
    intrapred_dsp().luma16[intraPredMode](pSrcDstY, step, dc_avail(n));

    Zep16s* c = *ppCoeffBuf;
    Zep16s* dcBlock = nullptr;
    if (cbp & 1) {
        dcBlock = c;
        c += 16;
    }
    Zep16s* ac[16] = {};
    for (int k = 0; k < 16; ++k)
        if (cbp & (2u << k)) {
            ac[k] = c;
            c += 16;
        }
    *ppCoeffBuf = c;
    if (bypass && qp == 0) {
        int res[256];
        for (int k = 0; k < 16; ++k)
            for (int i = 0; i < 16; ++i) {
                const int di = (kBlockY[k] / 4) * 4 + kBlockX[k] / 4;
                const int v = i == 0 ? (dcBlock ? dcBlock[di] : 0) : (ac[k] ? ac[k][i] : 0);
                res[(kBlockY[k] + i / 4) * 16 + kBlockX[k] + i % 4] = v;
            }
        bypass_region(pSrcDstY, step, res, 16, 16, intraPredMode == 0 ? 1 : (intraPredMode == 1 ? 2 : 0));
        return zepStatusOk;
    }
    int dc[16] = {};
    if (dcBlock) {
        luma_dc_dequant(dcBlock, dc, qp, pLevelScale[0]);
        for (int i = 0; i < 16; ++i) dcBlock[i] = wrap_s16(dc[i]);
    }
    const QpShift q = qp_shift(qp);
    for (int k = 0; k < 16; ++k)
        block_with_dc(ac[k], dc[(kBlockY[k] / 4) * 4 + kBlockX[k] / 4], at(pSrcDstY, step, kBlockX[k], kBlockY[k]), step,
                      pLevelScale, q);
    return zepStatusOk;
}

}  // extern "C"

namespace {

ZepStatus chroma_entry(Zep16s** pp, Zep8u* cb, Zep8u* cr, Zep32u step, int mode /* -1: inter */, Zep32u cbp,
                       Zep32s qpCb, Zep32s qpCr, Zep8u edgeFlags, const Zep16s* lsCb, const Zep16s* lsCr,
                       Zep8u bypass, int rows) {
    ZEP_CHECK_PTRS(pp, cb, cr);
    ZEP_CHECK_PTRS(*pp, lsCb, lsCr);
    if (!step_ok(step, 8)) return zepStatusBadStep;
    if (mode > 3) return zepStatusBadArg;
    if (!qp_ok(qpCb) || !qp_ok(qpCr)) return zepStatusOutOfRange;
    const Zep32s s = static_cast<Zep32s>(step);
    if (mode >= 0) {
        const Nbr n = nbr_from_flags(edgeFlags);
        if (!chroma_mode_ok(static_cast<unsigned>(mode), n)) return zepStatusNeighborUnavailable;
        const IntraPredFn f = intrapred_dsp().chroma[rows == 4][mode];
        f(cb, s, dc_avail(n));
        f(cr, s, dc_avail(n));
    }
    ChromaPlane pl[2] = {{cb, qpCb, lsCb, nullptr}, {cr, qpCr, lsCr, nullptr}};
    return chroma_mb(pp, pl, s, cbp, rows, bypass != 0, mode >= 0 ? kChromaDpcm[mode] : 0);
}

ZepStatus luma8x8_entry(Zep16s** pp, Zep8u* y, Zep32u step, const Zep32u* modes, Zep32u cbp, Zep32s qp,
                        Zep8u edgeFlags, const Zep16s* ls, Zep8u bypass, bool intra) {
    ZEP_CHECK_PTRS(pp, y);
    if (intra) ZEP_CHECK_PTRS(modes);
    ZEP_CHECK_PTRS(*pp, ls);
    if (!step_ok(step, 16)) return zepStatusBadStep;
    if (intra)
        for (int k = 0; k < 4; ++k)
            if (modes[k] > 8) return zepStatusBadArg;
    if (!qp_ok(qp)) return zepStatusOutOfRange;
    const Nbr mb = nbr_from_flags(edgeFlags);
    if (intra)
        for (int k = 0; k < 4; ++k)
            if (!nxn_mode_ok(modes[k], block8_nbr(k, mb))) return zepStatusNeighborUnavailable;
    const Zep32s s = static_cast<Zep32s>(step);
    const bool lossless = bypass && qp == 0;
    Zep16s* c = *pp;
    for (int k = 0; k < 4; ++k) {
        Zep8u* blk = at(y, s, 8 * (k & 1), 8 * (k >> 1));
        if (intra) ref::pred8x8(blk, s, modes[k], block8_nbr(k, mb));
        if (!(cbp & (2u << k))) continue;
        if (lossless && intra && modes[k] <= 1) {
            int res[64];
            for (int i = 0; i < 64; ++i) res[i] = c[i];
            bypass_region(blk, s, res, 8, 8, modes[k] == 0 ? 1 : 2);
        } else {
            block8x8(c, blk, s, ls, qp, lossless);
        }
        c += 64;
    }
    *pp = c;
    return zepStatusOk;
}

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiReconstructChromaInterMB_H264_16s8u_P2R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstCb,
                                                                Zep8u* pSrcDstCr, Zep32u srcDstStep, Zep32u cbp,
                                                                Zep32s qpCb, Zep32s qpCr,
                                                                const Zep16s* pLevelScaleCb,
                                                                const Zep16s* pLevelScaleCr, Zep8u bypass) {
    return chroma_entry(ppCoeffBuf, pSrcDstCb, pSrcDstCr, srcDstStep, -1, cbp, qpCb, qpCr, 0, pLevelScaleCb,
                        pLevelScaleCr, bypass, 2);
}
ZEPVC_API ZepStatus zepiReconstructChromaIntraMB_H264_16s8u_P2R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstCb,
                                                                Zep8u* pSrcDstCr, Zep32u srcDstStep,
                                                                Zep32u intraChromaPredMode, Zep32u cbp,
                                                                Zep32s qpCb, Zep32s qpCr, Zep8u edgeFlags,
                                                                const Zep16s* pLevelScaleCb,
                                                                const Zep16s* pLevelScaleCr, Zep8u bypass) {
    return chroma_entry(ppCoeffBuf, pSrcDstCb, pSrcDstCr, srcDstStep,
                        intraChromaPredMode > 3 ? 4 : static_cast<int>(intraChromaPredMode), cbp, qpCb, qpCr,
                        edgeFlags, pLevelScaleCb, pLevelScaleCr, bypass, 2);
}
ZEPVC_API ZepStatus zepiReconstructChroma422InterMB_H264_16s8u_P2R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstCb,
                                                                   Zep8u* pSrcDstCr, Zep32u srcDstStep,
                                                                   Zep32u cbp, Zep32s qpCb, Zep32s qpCr,
                                                                   const Zep16s* pLevelScaleCb,
                                                                   const Zep16s* pLevelScaleCr, Zep8u bypass) {
    return chroma_entry(ppCoeffBuf, pSrcDstCb, pSrcDstCr, srcDstStep, -1, cbp, qpCb, qpCr, 0, pLevelScaleCb,
                        pLevelScaleCr, bypass, 4);
}
ZEPVC_API ZepStatus zepiReconstructChroma422IntraMB_H264_16s8u_P2R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstCb,
                                                                   Zep8u* pSrcDstCr, Zep32u srcDstStep,
                                                                   Zep32u intraChromaPredMode, Zep32u cbp,
                                                                   Zep32s qpCb, Zep32s qpCr, Zep8u edgeFlags,
                                                                   const Zep16s* pLevelScaleCb,
                                                                   const Zep16s* pLevelScaleCr, Zep8u bypass) {
    return chroma_entry(ppCoeffBuf, pSrcDstCb, pSrcDstCr, srcDstStep,
                        intraChromaPredMode > 3 ? 4 : static_cast<int>(intraChromaPredMode), cbp, qpCb, qpCr,
                        edgeFlags, pLevelScaleCb, pLevelScaleCr, bypass, 4);
}
ZEPVC_API ZepStatus zepiReconstructLumaInter8x8MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                 Zep32u srcDstStep, Zep32u cbp, Zep32s qp,
                                                                 const Zep16s* pLevelScale8x8, Zep8u bypass) {
    return luma8x8_entry(ppCoeffBuf, pSrcDstY, srcDstStep, nullptr, cbp, qp, 0, pLevelScale8x8, bypass, false);
}
ZEPVC_API ZepStatus zepiReconstructLumaIntra8x8MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                 Zep32u srcDstStep, const Zep32u* pIntraModes,
                                                                 Zep32u cbp, Zep32s qp, Zep8u edgeFlags,
                                                                 const Zep16s* pLevelScale8x8, Zep8u bypass) {
    return luma8x8_entry(ppCoeffBuf, pSrcDstY, srcDstStep, pIntraModes, cbp, qp, edgeFlags, pLevelScale8x8, bypass,
                         true);
}

}  // extern "C"
