// DV inverse quantisation with the inverse of the DCT weighting, and the
// 2-4-8 inverse DCT. Both are defined here in fixed point (the arithmetic is
// the definition); neither is worth a SIMD kernel: the segment decoder's
// bit-serial work costs several times more per block, and 2-4-8 blocks are
// the minority that interlaced motion produces.
#include <cmath>
#include <cstddef>
#include <numbers>
#include <cstdint>

#include "frame/check.h"
#include "zepvc.h"

namespace zep {
namespace {

// Quantisation step exponents per (quantisation number + class offset) and area.
constexpr int kShift[22][4] = {{3, 3, 4, 4}, {3, 3, 4, 4}, {2, 3, 3, 4}, {2, 3, 3, 4}, {2, 2, 3, 3}, {2, 2, 3, 3},
                               {1, 2, 2, 3}, {1, 2, 2, 3}, {1, 1, 2, 2}, {1, 1, 2, 2}, {0, 1, 1, 2}, {0, 1, 1, 2},
                               {0, 0, 1, 1}, {0, 0, 1, 1}, {0, 0, 0, 1}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0},
                               {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}};
constexpr int kClassOffset[4] = {6, 3, 0, 1};
// Areas 0..3 begin at these scan positions.
constexpr int kAreaStart[4] = {0, 6, 21, 43};

constexpr int kWeightBits = 14;

// The weighting's factors w(0..7).
double w(int k) {
    auto cs = [](int m) { return std::cos(m * std::numbers::pi / 16); };
    switch (k) {
        case 0: return 1.0;
        case 1: return cs(4) / (4 * cs(7) * cs(2));
        case 2: return cs(4) / (2 * cs(6));
        case 3: return 1 / (2 * cs(5));
        case 4: return 7.0 / 8;
        case 5: return cs(4) / cs(3);
        case 6: return cs(4) / cs(2);
        default: return cs(4) / cs(1);
    }
}

// Inverse weights in Q14, row-major: [0] the 8x8 mode (w(v) w(h) / 2), [1] the
// 2-4-8 mode (rows 0..3 the field-sum, 4..7 the field-difference coefficients
// of vertical frequency k = row & 3, weighted w(2k) w(h) / 2).
struct InverseWeights {
    int32_t q[2][64];
    InverseWeights() {
        for (int r = 0; r < 8; ++r)
            for (int c = 0; c < 8; ++c) {
                q[0][8 * r + c] = static_cast<int32_t>(std::lround((1 << kWeightBits) * 2 / (w(r) * w(c))));
                q[1][8 * r + c] = static_cast<int32_t>(std::lround((1 << kWeightBits) * 2 / (w(2 * (r & 3)) * w(c))));
            }
    }
};
const InverseWeights& inverse_weights() {
    static const InverseWeights t;
    return t;
}

// 2-4-8 bases in Q15: horizontal c(h)/2 cos((2x+1) h pi / 16), vertical (4 points) c(k)/2 cos((2z+1) k pi / 8).
struct Bases248 {
    int32_t h[8][8], v[4][4];
    Bases248() {
        for (int x = 0; x < 8; ++x)
            for (int k = 0; k < 8; ++k)
                h[x][k] = static_cast<int32_t>(std::lround(32768 * (k ? 0.5 : 0.5 / std::sqrt(2.0)) *
                                                           std::cos((2 * x + 1) * k * std::numbers::pi / 16)));
        for (int z = 0; z < 4; ++z)
            for (int k = 0; k < 4; ++k)
                v[z][k] = static_cast<int32_t>(std::lround(32768 * (k ? 0.5 : 0.5 / std::sqrt(2.0)) *
                                                           std::cos((2 * z + 1) * k * std::numbers::pi / 8)));
    }
};
const Bases248& bases248() {
    static const Bases248 t;
    return t;
}

// The 2-4-8 inverse: each row through the 8-point basis (kept with 6
// fractional bits), then per column the field sum and difference through the
// 4-point basis, recombined into the two fields' lines.
template <class Store>
void idct248(const Zep16s* in, Store store) {
    const Bases248& b = bases248();
    int32_t t[8][8];
    for (int r = 0; r < 8; ++r)
        for (int x = 0; x < 8; ++x) {
            int64_t s = 0;
            for (int k = 0; k < 8; ++k) s += static_cast<int64_t>(in[8 * r + k]) * b.h[x][k];
            t[r][x] = static_cast<int32_t>((s + (1 << 8)) >> 9);
        }
    for (int x = 0; x < 8; ++x)
        for (int z = 0; z < 4; ++z) {
            int64_t s = 0, d = 0;
            for (int k = 0; k < 4; ++k) {
                s += static_cast<int64_t>(t[k][x]) * b.v[z][k];
                d += static_cast<int64_t>(t[4 + k][x]) * b.v[z][k];
            }
            store(2 * z, x, static_cast<int32_t>((s + d + (1 << 20)) >> 21));
            store(2 * z + 1, x, static_cast<int32_t>((s - d + (1 << 20)) >> 21));
        }
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiQuantWeightBlockInv_DV_16s_C1I(Zep16s* pSrcDst, Zep32u blockParam, const Zep32s* pScanTables) {
    ZEP_CHECK_PTRS(pSrcDst, pScanTables);
    const int mode = (blockParam >> 6) & 1, cls = (blockParam >> 4) & 3, qno = (blockParam >> 16) & 15;
    const int32_t* iw = inverse_weights().q[mode];
    const Zep32s* scan = pScanTables + 64 * mode;
    const int* shift = kShift[qno + kClassOffset[cls]];
    const int extra = cls == 3 ? 1 : 0;
    Zep16s out[64];
    // The DC is sent as a quarter of the coefficient of the samples less 128.
    out[0] = static_cast<Zep16s>(4 * pSrcDst[0] + 1024);
    for (int i = 1; i < 64; ++i) out[i] = 0;
    for (int area = 0, i = 1; i < 64; ++i) {
        while (area < 3 && i >= kAreaStart[area + 1]) ++area;
        const int pos = scan[i] & 63;
        if (pos == 0) continue;
        const int64_t v = static_cast<int64_t>(pSrcDst[pos]) * iw[pos] * (int64_t{1} << (shift[area] + extra));
        const int64_t r = (v + (1 << (kWeightBits - 1))) >> kWeightBits;
        out[pos] = static_cast<Zep16s>(r < -32768 ? -32768 : (r > 32767 ? 32767 : r));
    }
    for (int i = 0; i < 64; ++i) pSrcDst[i] = out[i];
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiDCT2x4x8Inv_16s_C1I(Zep16s* pSrcDst) {
    ZEP_CHECK_PTRS(pSrcDst);
    Zep16s out[64];
    idct248(pSrcDst, [&](int y, int x, int32_t v) {
        out[8 * y + x] = static_cast<Zep16s>(v < -32768 ? -32768 : (v > 32767 ? 32767 : v));
    });
    for (int i = 0; i < 64; ++i) pSrcDst[i] = out[i];
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiDCT2x4x8Inv_16s8u_C1R(const Zep16s* pSrc, Zep8u* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    Zep8u out[64];
    idct248(pSrc, [&](int y, int x, int32_t v) { out[8 * y + x] = static_cast<Zep8u>(v < 0 ? 0 : (v > 255 ? 255 : v)); });
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) pDst[static_cast<ptrdiff_t>(y) * dstStep + x] = out[8 * y + x];
    return zepStatusOk;
}

}  // extern "C"
