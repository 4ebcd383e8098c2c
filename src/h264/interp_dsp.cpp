#include "h264/interp_dsp.h"

#include <utility>

#include "h264/chroma_interp_ref.h"
#include "h264/interp_ref.h"

namespace zep {

namespace {

template <int W, int... P>
constexpr void fill_ref8(Interp8Fn (&t)[16], std::integer_sequence<int, P...>) {
    ((t[P] = ref::interp_luma_8u<W, (P & 3), (P >> 2)>), ...);
}
template <int W, int... P>
constexpr void fill_ref16(Interp16Fn (&t)[16], std::integer_sequence<int, P...>) {
    ((t[P] = ref::interp_luma_16u<W, (P & 3), (P >> 2)>), ...);
}

}  // namespace

void interp_init(InterpDsp& t, Isa level) {
    constexpr auto kPos = std::make_integer_sequence<int, 16>{};
    fill_ref8<4>(t.luma8[0], kPos);
    fill_ref8<8>(t.luma8[1], kPos);
    fill_ref8<16>(t.luma8[2], kPos);
    fill_ref16<4>(t.luma16_wide[0], kPos);
    fill_ref16<8>(t.luma16_wide[1], kPos);
    fill_ref16<16>(t.luma16_wide[2], kPos);
    t.chroma8[0] = ref::interp_chroma<Zep8u, 2>;
    t.chroma8[1] = ref::interp_chroma<Zep8u, 4>;
    t.chroma8[2] = ref::interp_chroma<Zep8u, 8>;
    t.chroma16[0] = ref::interp_chroma<Zep16u, 2>;
    t.chroma16[1] = ref::interp_chroma<Zep16u, 4>;
    t.chroma16[2] = ref::interp_chroma<Zep16u, 8>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) interp_install_ssse3(t), chroma_interp_install_ssse3(t);
    if (level >= Isa::AVX2) interp_install_avx2(t), chroma_interp_install_avx2(t);
#else
    (void)level;
#endif
    // Widths 24 and 28 share the 16-wide kernels; the 16-bit table starts
    // from the full-range one and keeps whatever a level did not replace.
    for (int p = 0; p < 16; ++p) {
        t.luma8[3][p] = t.luma8[2][p];
        for (int c = 0; c < 3; ++c)
            if (!t.luma16[c][p]) t.luma16[c][p] = t.luma16_wide[c][p];
    }
}

ZEP_TABLE_INIT_PRIORITY const InterpDsp g_interp_active = build_active_table(interp_init);

}  // namespace zep
