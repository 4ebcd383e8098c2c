// Entry points of the H.264 luma 4x4 reconstruction and the stand-alone 4x4
// inverse transforms, and the Intra_4x4 predictors.
#include <cstddef>
#include <cstdint>

#include "frame/check.h"
#include "h264/recon_dsp.h"
#include "h264/recon_ref.h"
#include "zepvc.h"

namespace zep {
namespace {

// Neighbour-availability bits of one block.
constexpr unsigned kAbove = 1, kLeft = 2, kCorner = 32, kAboveRight = 64, kAll = 99;
constexpr unsigned kNone = 0;

// Which neighbours block k can see, given the macroblock edge flags (1 left,
// 4 above, 16 above-left, 32 above-right macroblock unavailable).
unsigned block_avail(int k, unsigned ef) {
    const bool noLeft = ef & 1, noTop = ef & 4, noTopLeft = ef & 16, noTopRight = ef & 32;
    switch (k) {
        case 0:
            return (noTop ? kNone : kAbove | kAboveRight) | (noLeft ? kNone : kLeft) | (noTopLeft ? kNone : kCorner);
        case 1:
        case 4:
            return noTop ? kLeft : kAll;
        case 5:
            return kLeft | (noTop ? kNone : kAbove | kCorner) | (noTopRight ? kNone : kAboveRight);
        case 2:
        case 8:
        case 10:
            return noLeft ? kAbove | kAboveRight : kAll;
        case 3:
        case 7:
        case 11:
        case 13:
        case 15:
            return kAbove | kLeft | kCorner;
        default:
            return kAll;
    }
}

// Edge samples of a block; missing ones read as 128 (the row above-right as
// the last sample above when only it is missing, as in the standard).
struct Edges {
    int t[8], l[4], q;
    int top(int i) const { return i < 0 ? q : t[i]; }
    int left(int j) const { return j < 0 ? q : l[j]; }
};

Edges gather(const Zep8u* p, Zep32s step, unsigned avail) {
    Edges e;
    const Zep8u* above = p - static_cast<ptrdiff_t>(step);
    for (int i = 0; i < 4; ++i) e.t[i] = (avail & kAbove) ? above[i] : 128;
    for (int i = 4; i < 8; ++i) e.t[i] = !(avail & kAbove) ? 128 : (avail & kAboveRight) ? above[i] : e.t[3];
    for (int j = 0; j < 4; ++j) e.l[j] = (avail & kLeft) ? p[static_cast<ptrdiff_t>(step) * j - 1] : 128;
    e.q = (avail & kCorner) ? above[-1] : 128;
    return e;
}

// Predicts one block into the plane; returns true when a needed neighbour was
// missing and 128 stood in for it. Modes 3..7 with missing neighbours (which
// a conforming stream never asks for) use 128 for each missing group.
bool predict4x4(Zep8u* p, Zep32s step, unsigned mode, unsigned avail) {
    const Edges e = gather(p, step, avail);
    int pred[4][4];
    bool missing = false;
    const bool A = avail & kAbove, L = avail & kLeft, Q = avail & kCorner;
    auto r2 = [](int a, int b) { return (a + b + 1) >> 1; };
    auto r3 = [](int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; };
    switch (mode % 12) {
        case 0:
        case 9:
            missing = !A;
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) pred[y][x] = e.t[x];
            break;
        case 1:
        case 10:
            missing = !L;
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) pred[y][x] = e.l[y];
            break;
        case 2:
        case 11: {
            int dc = 128;
            const int st = e.t[0] + e.t[1] + e.t[2] + e.t[3], sl = e.l[0] + e.l[1] + e.l[2] + e.l[3];
            if (A && L) dc = (st + sl + 4) >> 3;
            else if (A) dc = (st + 2) >> 2;
            else if (L) dc = (sl + 2) >> 2;
            else missing = true;
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) pred[y][x] = dc;
            break;
        }
        case 3:  // diagonal down-left
            missing = !A;
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x)
                    pred[y][x] = (x == 3 && y == 3) ? (e.t[6] + 3 * e.t[7] + 2) >> 2
                                                    : r3(e.t[x + y], e.t[x + y + 1], e.t[x + y + 2]);
            break;
        case 4:  // diagonal down-right
            missing = !(A && L && Q);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) {
                    if (x > y) pred[y][x] = r3(e.top(x - y - 2), e.top(x - y - 1), e.top(x - y));
                    else if (x < y) pred[y][x] = r3(e.left(y - x - 2), e.left(y - x - 1), e.left(y - x));
                    else pred[y][x] = r3(e.top(0), e.q, e.left(0));
                }
            break;
        case 5:  // vertical-right
            missing = !(A && L && Q);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) {
                    const int z = 2 * x - y, i = x - (y >> 1);
                    if (z >= 0 && !(z & 1)) pred[y][x] = r2(e.top(i - 1), e.top(i));
                    else if (z > 0) pred[y][x] = r3(e.top(i - 2), e.top(i - 1), e.top(i));
                    else if (z == -1) pred[y][x] = r3(e.left(0), e.q, e.top(0));
                    else pred[y][x] = r3(e.left(y - 1), e.left(y - 2), e.left(y - 3));
                }
            break;
        case 6:  // horizontal-down
            missing = !(A && L && Q);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) {
                    const int z = 2 * y - x, j = y - (x >> 1);
                    if (z >= 0 && !(z & 1)) pred[y][x] = r2(e.left(j - 1), e.left(j));
                    else if (z > 0) pred[y][x] = r3(e.left(j - 2), e.left(j - 1), e.left(j));
                    else if (z == -1) pred[y][x] = r3(e.left(0), e.q, e.top(0));
                    else pred[y][x] = r3(e.top(x - 1), e.top(x - 2), e.top(x - 3));
                }
            break;
        case 7:  // vertical-left
            missing = !A;
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) {
                    const int i = x + (y >> 1);
                    pred[y][x] = (y & 1) ? r3(e.t[i], e.t[i + 1], e.t[i + 2]) : r2(e.t[i], e.t[i + 1]);
                }
            break;
        default:  // 8, horizontal-up
            missing = !L;
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) {
                    const int z = x + 2 * y, j = y + (x >> 1);
                    if (z > 5) pred[y][x] = e.l[3];
                    else if (z == 5) pred[y][x] = (e.l[2] + 3 * e.l[3] + 2) >> 2;
                    else if (z & 1) pred[y][x] = r3(e.l[j], e.l[j + 1], e.l[j + 2]);
                    else pred[y][x] = r2(e.l[j], e.l[j + 1]);
                }
            break;
    }
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) p[static_cast<ptrdiff_t>(step) * y + x] = static_cast<Zep8u>(pred[y][x]);
    return missing;
}

void bypass_mb(Zep16s** ppCoeff, Zep8u* dst, Zep32s step, Zep32u cbp) {
    Zep16s* c = *ppCoeff;
    for (int k = 0; k < 16; ++k) {
        if (!(cbp & (2u << k))) continue;
        ref::bypass_block(c, ref::row(dst, step, kBlockY[k]) + kBlockX[k], step);
        c += 16;
    }
    *ppCoeff = c;
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                 Zep32u srcDstStep, Zep32u cbp, Zep32s qp,
                                                                 const Zep16s* pLevelScale, Zep8u bypass) {
    ZEP_CHECK_PTRS(ppCoeffBuf, pSrcDstY);
    ZEP_CHECK_PTRS(*ppCoeffBuf, pLevelScale);
    if (qp < 0 || qp > 51) return zepStatusOutOfRange;
    if (!(cbp & 0x1FFFEu)) return zepStatusOk;
    const Zep32s step = static_cast<Zep32s>(srcDstStep);
    if (bypass && qp == 0) bypass_mb(ppCoeffBuf, pSrcDstY, step, cbp);
    else recon_dsp().inter_mb(ppCoeffBuf, pSrcDstY, step, cbp, pLevelScale, qp_shift(qp));
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiReconstructLumaIntra4x4MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                 Zep32u srcDstStep, const Zep32u* pIntraModes,
                                                                 Zep32s cbp, Zep32u qp, Zep8u edgeFlags,
                                                                 const Zep16s* pLevelScale, Zep8u bypass) {
    ZEP_CHECK_PTRS(ppCoeffBuf, pSrcDstY, pIntraModes);
    ZEP_CHECK_PTRS(*ppCoeffBuf, pLevelScale);
    if (qp > 51) return zepStatusOutOfRange;
    const Zep32s step = static_cast<Zep32s>(srcDstStep);
    const bool raw = bypass && qp == 0;
    const QpShift q = qp_shift(static_cast<int>(qp));
    const ReconBlockFn block = recon_dsp().block;
    Zep16s* c = *ppCoeffBuf;
    bool missing = false;
    for (int k = 0; k < 16; ++k) {
        Zep8u* p = ref::row(pSrcDstY, step, kBlockY[k]) + kBlockX[k];
        missing |= predict4x4(p, step, pIntraModes[k], block_avail(k, edgeFlags));
        if (!(static_cast<Zep32u>(cbp) & (2u << k))) continue;
        if (raw) ref::bypass_block(c, p, step);
        else block(c, p, step, pLevelScale, q);
        c += 16;
    }
    *ppCoeffBuf = c;
    return missing ? zepStatusMissingNeighbours : zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransformResidual4x4Inv_H264_16s_C1(const Zep16s* pSrc, Zep16s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    recon_dsp().itrans16(pSrc, pDst);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransformResidual4x4Inv_H264_32s_C1(const Zep32s* pSrc, Zep32s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    recon_dsp().itrans32(pSrc, pDst);
    return zepStatusOk;
}

}  // extern "C"
