// DV macroblocks into a packed 4:2:2 picture (Y0 Cb Y1 Cr): the five
// macroblocks of a segment at once, each at its own place, at full size or
// reduced 2, 4 or 8 times for previews. The reference expands a macroblock to
// full-resolution 4:2:2 planes and writes them out (averaging when reduced).
#include <cstddef>

#include "dv/convert_dsp.h"
#include "frame/check.h"
#include "zepvc.h"

namespace zep {
namespace {

enum class Shape { Mb411, Mb420, Edge411 };

int width_of(Shape s) { return s == Shape::Mb411 ? 32 : 16; }
int height_of(Shape s) { return s == Shape::Mb411 ? 8 : 16; }

Zep8u sat(int v) { return static_cast<Zep8u>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// The macroblock as 4:2:2 planes: y[16][32], c[2][16][16] (Cb, Cr), used to w x h and w/2 x h.
struct Planes {
    Zep8u y[16][32];
    Zep8u c[2][16][16];
};

Planes expand(const Zep16s* b, Shape s) {
    Planes p{};
    auto sample = [&](int blk, int r, int col) { return sat(b[64 * blk + 8 * r + col]); };
    for (int k = 0; k < 4; ++k)
        for (int r = 0; r < 8; ++r)
            for (int col = 0; col < 8; ++col) {
                const int x = s == Shape::Mb411 ? 8 * k + col : 8 * (k & 1) + col;
                const int y = s == Shape::Mb411 ? r : 8 * (k >> 1) + r;
                p.y[y][x] = sample(k, r, col);
            }
    for (int c = 0; c < 2; ++c) {
        const int blk = c == 0 ? 5 : 4;  // Cb is block 5, Cr block 4
        for (int y = 0; y < height_of(s); ++y)
            for (int x = 0; x < width_of(s) / 2; ++x) {
                Zep8u v;
                if (s == Shape::Mb411) v = sample(blk, y, x / 2);                        // 4:1:1, 16 pairs from 8
                else if (s == Shape::Mb420) v = sample(blk, y / 2, x);                   // 4:2:0, lines repeated
                else v = sample(blk, y & 7, (y < 8 ? 0 : 4) + x / 2);                    // edge: halves stacked
                p.c[c][y][x] = v;
            }
    }
    return p;
}

// Writes the macroblock reduced z times (z = 1, 2, 4, 8): each output sample
// the rounded mean of the z x z samples of its plane it covers.
void write(const Planes& p, Shape s, int z, Zep8u* dst, Zep32s step) {
    const int w = width_of(s) / z, h = height_of(s) / z, n = z * z;
    for (int y = 0; y < h; ++y) {
        Zep8u* row = dst + static_cast<ptrdiff_t>(y) * step;
        for (int x = 0; x < w; ++x) {
            int sum = 0;
            for (int i = 0; i < z; ++i)
                for (int j = 0; j < z; ++j) sum += p.y[y * z + i][x * z + j];
            row[2 * x] = static_cast<Zep8u>((sum + n / 2) / n);
        }
        for (int x = 0; x < w / 2; ++x)
            for (int c = 0; c < 2; ++c) {
                int sum = 0;
                for (int i = 0; i < z; ++i)
                    for (int j = 0; j < z; ++j) sum += p.c[c][y * z + i][x * z + j];
                row[4 * x + 1 + 2 * c] = static_cast<Zep8u>((sum + n / 2) / n);
            }
    }
}

namespace ref {
void mb411(const Zep16s* b, Zep8u* dst, Zep32s step) { write(expand(b, Shape::Mb411), Shape::Mb411, 1, dst, step); }
void mb420(const Zep16s* b, Zep8u* dst, Zep32s step) { write(expand(b, Shape::Mb420), Shape::Mb420, 1, dst, step); }
}  // namespace ref

ZepStatus five(const Zep16s* pSrc, Zep8u* const* pDst, Zep32s step, Shape s, int z) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    for (int k = 0; k < 5; ++k)
        if (!pDst[k]) return zepStatusNullPtr;
    if (step < 2 * width_of(s) / z) return zepStatusBadStep;
    for (int k = 0; k < 5; ++k) {
        const Zep16s* b = pSrc + 6 * 64 * k;
        if (z == 1) (s == Shape::Mb411 ? dv_convert_dsp().mb411 : dv_convert_dsp().mb420)(b, pDst[k], step);
        else write(expand(b, s), s, z, pDst[k], step);
    }
    return zepStatusOk;
}

ZepStatus edge(const Zep16s* pSrc, Zep8u* pDst, Zep32s step, int z) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if (step < 2 * 16 / z) return zepStatusBadStep;
    write(expand(pSrc, Shape::Edge411), Shape::Edge411, z, pDst, step);
    return zepStatusOk;
}

}  // namespace

void dv_convert_init(DvConvertDsp& t, Isa level) {
    t.mb411 = ref::mb411;
    t.mb420 = ref::mb420;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) dv_convert_install_ssse3(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const DvConvertDsp g_dv_convert_active = build_active_table(dv_convert_init);

}  // namespace zep

using namespace zep;

extern "C" {

#define ZEP_DV_CONVERT(name, shape, z)                                                          \
    ZEPVC_API ZepStatus name(const Zep16s* pSrc, Zep8u* pDst[5], Zep32s dstStep) {              \
        return five(pSrc, pDst, dstStep, Shape::shape, z);                                      \
    }
#define ZEP_DV_EDGE(name, z)                                                                    \
    ZEPVC_API ZepStatus name(const Zep16s* pSrc, Zep8u* pDst, Zep32s dstStep) {                 \
        return edge(pSrc, pDst, dstStep, z);                                                    \
    }

ZEP_DV_CONVERT(zepiYCrCb411ToYCbCr422_5MBDV_16s8u_P3C2R, Mb411, 1)
ZEP_DV_CONVERT(zepiYCrCb411ToYCbCr422_ZoomOut2_5MBDV_16s8u_P3C2R, Mb411, 2)
ZEP_DV_CONVERT(zepiYCrCb411ToYCbCr422_ZoomOut4_5MBDV_16s8u_P3C2R, Mb411, 4)
ZEP_DV_CONVERT(zepiYCrCb411ToYCbCr422_ZoomOut8_5MBDV_16s8u_P3C2R, Mb411, 8)
ZEP_DV_CONVERT(zepiYCrCb420ToYCbCr422_5MBDV_16s8u_P3C2R, Mb420, 1)
ZEP_DV_CONVERT(zepiYCrCb420ToYCbCr422_ZoomOut2_5MBDV_16s8u_P3C2R, Mb420, 2)
ZEP_DV_CONVERT(zepiYCrCb420ToYCbCr422_ZoomOut4_5MBDV_16s8u_P3C2R, Mb420, 4)
ZEP_DV_CONVERT(zepiYCrCb420ToYCbCr422_ZoomOut8_5MBDV_16s8u_P3C2R, Mb420, 8)
ZEP_DV_EDGE(zepiYCrCb411ToYCbCr422_EdgeDV_16s8u_P3C2R, 1)
ZEP_DV_EDGE(zepiYCrCb411ToYCbCr422_ZoomOut2_EdgeDV_16s8u_P3C2R, 2)
ZEP_DV_EDGE(zepiYCrCb411ToYCbCr422_ZoomOut4_EdgeDV_16s8u_P3C2R, 4)
ZEP_DV_EDGE(zepiYCrCb411ToYCbCr422_ZoomOut8_EdgeDV_16s8u_P3C2R, 8)

}  // extern "C"
