#include "block/mc_dsp.h"

#include "block/mc_ref.h"

namespace zep {

namespace {

// Index carried by the integral_constant that fill_table passes to a maker.
template <class C>
constexpr int idx = C::value;

template <int W, int H>
void fill_copy_hp(CopyFn (&copyT)[8], CopyFn (&avgT)[8]) {
    fill_table(copyT, [](auto i) -> CopyFn {
        return ref::copy_hp<W, H, kAccMode[idx<decltype(i)> / 2], entry_rnd(idx<decltype(i)>)>;
    });
    fill_table(avgT, [](auto i) -> CopyFn {
        return ref::interp_avg<W, H, kAccMode[idx<decltype(i)> / 2], entry_rnd(idx<decltype(i)>)>;
    });
}

template <int W, int H>
void fill_small(McSmallFn (&t)[4], McBSmallFn (&b)[16]) {
    fill_table(t, [](auto i) -> McSmallFn { return ref::mc_small<W, H, idx<decltype(i)>>; });
    fill_table(b, [](auto i) -> McBSmallFn { return ref::mc_bi_small<W, H, idx<decltype(i)> / 4, idx<decltype(i)> % 4>; });
}

template <int W, int H>
void fill_diff(DiffFn (&t)[4], DiffBFn (&b)[16]) {
    fill_table(t, [](auto i) -> DiffFn { return ref::get_diff<W, H, idx<decltype(i)>>; });
    fill_table(b, [](auto i) -> DiffBFn { return ref::get_diff_bi<W, H, idx<decltype(i)> / 4, idx<decltype(i)> % 4>; });
}

template <int H>
void fill_diff_chroma(DiffChromaFn (&t)[4], DiffChromaBFn (&b)[16]) {
    fill_table(t, [](auto i) -> DiffChromaFn { return ref::get_diff_chroma<H, idx<decltype(i)>>; });
    fill_table(b, [](auto i) -> DiffChromaBFn {
        return ref::get_diff_chroma_bi<H, idx<decltype(i)> / 4, idx<decltype(i)> % 4>;
    });
}

// Single-prediction tables: index m * 2 + rnd; bidirectional (mF * 4 + mB) * 2 + rnd.
template <int W, int D>
void fill_mc(McFn (&t)[8], McBFn (&b)[32]) {
    fill_table(t, [](auto i) -> McFn { return ref::mc_h<W, idx<decltype(i)> / 2, entry_rnd(idx<decltype(i)>), D>; });
    fill_table(b, [](auto i) -> McBFn {
        return ref::mc_bi_h<W, idx<decltype(i)> / 8, (idx<decltype(i)> / 2) % 4, entry_rnd(idx<decltype(i)>), D>;
    });
}

}  // namespace

void mc_init(McDsp& t, Isa level) {
    fill_mc<16, 1>(t.mc16, t.mcB16);
    fill_mc<8, 1>(t.mc8, t.mcB8);
    fill_mc<16, 2>(t.mcUV, t.mcBUV);
    fill_small<4, 8>(t.mc4x8, t.mcB4x8);
    fill_small<4, 4>(t.mc4x4, t.mcB4x4);
    fill_small<4, 2>(t.mc4x2, t.mcB4x2);
    fill_small<2, 4>(t.mc2x4, t.mcB2x4);
    fill_small<2, 2>(t.mc2x2, t.mcB2x2);
    fill_table(t.mcChroma, [](auto i) -> McChromaFn {
        return ref::mc_chroma<idx<decltype(i)> / 2, entry_rnd(idx<decltype(i)>)>;
    });
    fill_table(t.mcChromaB, [](auto i) -> McChromaBFn {
        constexpr int I = idx<decltype(i)>;
        return ref::mc_chroma_bi<I / 8, (I / 2) % 4, entry_rnd(I)>;
    });
    fill_copy_hp<16, 16>(t.copyHp16x16, t.interpAvg16x16);
    fill_copy_hp<16, 8>(t.copyHp16x8, t.interpAvg16x8);
    fill_copy_hp<8, 8>(t.copyHp8x8, t.interpAvg8x8);
    fill_copy_hp<8, 4>(t.copyHp8x4, t.interpAvg8x4);
    t.copy16x16 = ref::copy<16, 16>;
    t.copy8x8 = ref::copy<8, 8>;
    t.average16x16 = ref::average<16, 16>;
    t.average8x8 = ref::average<8, 8>;
    t.averageI16x16 = ref::average_inplace<16, 16>;
    t.averageI8x8 = ref::average_inplace<8, 8>;
    t.add8x8 = ref::add8x8;
    t.addc8x8 = ref::addc8x8;
    fill_diff<16, 16>(t.diff16x16, t.diffB16x16);
    fill_diff<16, 8>(t.diff16x8, t.diffB16x8);
    fill_diff<8, 16>(t.diff8x16, t.diffB8x16);
    fill_diff<8, 8>(t.diff8x8, t.diffB8x8);
    fill_diff<8, 4>(t.diff8x4, t.diffB8x4);
    t.diff4x4 = ref::get_diff4x4;
    fill_diff_chroma<8>(t.diffChroma8x8, t.diffChromaB8x8);
    fill_diff_chroma<4>(t.diffChroma8x4, t.diffChromaB8x4);
    t.sub16x16 = ref::sub<16, 16, Zep8u>;
    t.sub8x8 = ref::sub<8, 8, Zep8u>;
    t.sub4x4 = ref::sub<4, 4, Zep8u>;
    t.sub8x8_16u = ref::sub<8, 8, Zep16u>;
    t.sub4x4_16u = ref::sub<4, 4, Zep16u>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) mc_install_ssse3(t);
    if (level >= Isa::AVX2) mc_install_avx2(t);
#else
    (void)level;
#endif
    // Add8x8HP is the 8-wide compensation at an acc-coded position: its table
    // is derived after the overrides so it always uses the best 8-wide kernel.
    for (int acc = 0; acc < 4; ++acc)
        for (int rnd = 0; rnd < 2; ++rnd) t.add8x8Hp[acc * 2 + rnd] = t.mc8[kAccMode[acc] * 2 + rnd];
}

ZEP_TABLE_INIT_PRIORITY const McDsp g_mc_active = build_active_table(mc_init);

}  // namespace zep
