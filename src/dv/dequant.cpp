// DV inverse quantisation with the inverse of the DCT weighting, and the
// 2-4-8 inverse DCT, both defined here in fixed point (the arithmetic is the
// definition). The inverse quantisation runs for every block and has an AVX2
// kernel; the 2-4-8 transform serves the minority of blocks that interlaced
// motion produces and stays scalar.
#include <cmath>
#include <cstddef>
#include <numbers>
#include <cstdint>

#include "dv/dequant_dsp.h"
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
// Areas 0..3 begin at these scan positions of DV's scans: the zig-zag for
// 8x8 blocks, and for 2-4-8 blocks the scan that pairs each field-sum
// coefficient (rows 0..3) with its field-difference twin (rows 4..7).
constexpr int kAreaStart[4] = {0, 6, 21, 43};
constexpr int kScan[2][64] = {
    {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
     41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
     30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63},
    {0,  32, 1,  33, 8,  40, 2,  34, 9,  41, 16, 48, 24, 56, 17, 49, 10, 42, 3,  35, 4,  36,
     11, 43, 18, 50, 25, 57, 26, 58, 19, 51, 12, 44, 5,  37, 6,  38, 13, 45, 20, 52, 27, 59,
     28, 60, 21, 53, 14, 46, 7,  39, 15, 47, 22, 54, 29, 61, 30, 62, 23, 55, 31, 63}};

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

// Per mode, step row (quantisation number + class offset, 0..21) and class 3
// or not: each raster position's inverse weight, and its area's step folded
// into the rounding and the shift ((q iw 2^s + 2^13) >> 14 is exactly
// (q iw + 2^(13-s)) >> (14-s), which stays within 32 bits).
struct Factors {
    DvFactors f[2][22][2];
    Factors() {
        const InverseWeights& iw = inverse_weights();
        for (int mode = 0; mode < 2; ++mode)
            for (int row = 0; row < 22; ++row)
                for (int c3 = 0; c3 < 2; ++c3) {
                    DvFactors& out = f[mode][row][c3];
                    out.iw[0] = out.round[0] = out.shift[0] = 0;
                    for (int i = 1, area = 0; i < 64; ++i) {
                        while (area < 3 && i >= kAreaStart[area + 1]) ++area;
                        const int pos = kScan[mode][i];
                        const int s = kShift[row][area] + c3;
                        out.iw[pos] = iw.q[mode][pos];
                        out.round[pos] = 1 << (kWeightBits - 1 - s);
                        out.shift[pos] = kWeightBits - s;
                    }
                }
    }
};
const Factors& factors() {
    static const Factors t;
    return t;
}

namespace ref {
void dv_dequant(Zep16s* blk, const DvFactors& f) {
    for (int i = 1; i < 64; ++i) {
        const int32_t q = blk[i] < -16384 ? -16384 : (blk[i] > 16384 ? 16384 : blk[i]);
        const int32_t r = (q * f.iw[i] + f.round[i]) >> f.shift[i];
        blk[i] = static_cast<Zep16s>(r < -32768 ? -32768 : (r > 32767 ? 32767 : r));
    }
}
}  // namespace ref

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

void dv_dequant_init(DvDequantDsp& t, Isa level) {
    t.block = ref::dv_dequant;
#if ZEPVC_HAVE_X86
    if (level >= Isa::AVX2) dv_dequant_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const DvDequantDsp g_dv_dequant_active = build_active_table(dv_dequant_init);

}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiQuantWeightBlockInv_DV_16s_C1I(Zep16s* pSrcDst, Zep32u blockParam) {
    ZEP_CHECK_PTRS(pSrcDst);
    const int mode = (blockParam >> 6) & 1, cls = (blockParam >> 4) & 3, qno = (blockParam >> 16) & 15;
    const DvFactors& f = factors().f[mode][qno + kClassOffset[cls]][cls == 3 ? 1 : 0];
    // The DC is sent as a quarter of the coefficient of the samples less 128.
    const Zep16s dc = static_cast<Zep16s>(4 * pSrcDst[0] + 1024);
    dv_dequant_dsp().block(pSrcDst, f);
    pSrcDst[0] = dc;
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
