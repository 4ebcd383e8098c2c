// VC-1 transforms: the reference against a direct matrix computation, every
// SIMD level against the reference, the shortened paths against the full
// transform, and the entry points' checks.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "vc1/vc1_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::Vc1Dsp;

// The VC-1 bases, written here independently of the library's tables.
// T8 row k, column j; T4 likewise.
const int kT8[8][8] = {{12, 12, 12, 12, 12, 12, 12, 12},     {16, 15, 9, 4, -4, -9, -15, -16},
                       {16, 6, -6, -16, -16, -6, 6, 16},     {15, -4, -16, -9, 9, 16, 4, -15},
                       {12, -12, -12, 12, 12, -12, -12, 12}, {9, -16, 4, 15, -15, -4, 16, -9},
                       {6, -16, 16, -6, -6, 16, -16, 6},     {4, -9, 15, -16, 16, -15, 9, -4}};
const int kT4[4][4] = {{17, 17, 17, 17}, {22, 10, -10, -22}, {17, -17, -17, 17}, {10, -22, 22, -10}};
// Forward scalings: each basis entry times its row's factor, as integers.
const int kF8[8][8] = {{21845, 21845, 21845, 21845, 21845, 21845, 21845, 21845},
                       {29026, 27212, 16327, 7257, -7257, -16327, -27212, -29026},
                       {28728, 10773, -10773, -28728, -28728, -10773, 10773, 28728},
                       {27212, -7257, -29026, -16327, 16327, 29026, 7257, -27212},
                       {21845, -21845, -21845, 21845, 21845, -21845, -21845, 21845},
                       {16327, -29026, 7257, 27212, -27212, -7257, 29026, -16327},
                       {10773, -28728, 28728, -10773, -10773, 28728, -28728, 10773},
                       {7257, -16327, 27212, -29026, 29026, -27212, 16327, -7257}};
const int kF4[4][4] = {{15420, 15420, 15420, 15420}, {19751, 8978, -8978, -19751}, {15420, -15420, -15420, 15420},
                       {8978, -19751, 19751, -8978}};

int64_t sat16(int64_t v) { return std::clamp<int64_t>(v, -32768, 32767); }
using Block = std::vector<int64_t>;  // w * h, row order

// One 1-D pass in 64 bits over the rows (or columns) of a w x h block:
// out_i = sat(fin(n, i, sum_k m(n, i, k) * in_k)), n the length of the line.
template <class M, class Fin>
Block pass(const Block& in, int w, int h, bool rows, M m, Fin fin) {
    Block out(in.size());
    const int n = rows ? w : h;
    for (int line = 0; line < (rows ? h : w); ++line)
        for (int i = 0; i < n; ++i) {
            int64_t s = 0;
            for (int k = 0; k < n; ++k) s += m(n, i, k) * in[rows ? line * w + k : k * w + line];
            out[rows ? line * w + i : i * w + line] = sat16(fin(n, i, s));
        }
    return out;
}
// Inverse: E = sat((D * T_W + 4) >> 3), R = sat((T_H^t * E + rnd) >> 7), rnd 65 in the lower half of 8 rows.
Block oracle_inv(const Block& d, int w, int h) {
    auto t = [](int n, int i, int k) { return int64_t{n == 8 ? kT8[k][i] : kT4[k][i]}; };
    const Block e = pass(d, w, h, true, t, [](int, int, int64_t s) { return (s + 4) >> 3; });
    return pass(e, w, h, false, t, [](int n, int i, int64_t s) { return (s + (n == 8 && i >= 4 ? 65 : 64)) >> 7; });
}
// Forward (no wrap: valid for residuals in range): rows >> 12 or 11, columns >> 20 or 19, rounded.
Block oracle_fwd(const Block& x, int w, int h) {
    auto f = [](int n, int i, int k) { return int64_t{n == 8 ? kF8[i][k] : kF4[i][k]}; };
    auto fin = [](int base) {
        return [base](int n, int, int64_t s) { return (s + (int64_t{1} << (base + (n == 8) - 1))) >> (base + (n == 8)); };
    };
    return pass(pass(x, w, h, true, f, fin(11)), w, h, false, f, fin(19));
}

struct Size {
    int w, h, index;  // index: vc1_size_index
};
const Size kSizes[] = {{4, 4, 0}, {4, 8, 1}, {8, 4, 2}, {8, 8, 3}};

// Slots 0-3: inverse variants (null where a size has none); slot 4: forward.
zep::Vc1XformFn slot_fn(const Vc1Dsp& t, const Size& sz, int slot) {
    const zep::Vc1XformFn* inv[] = {t.inv4x4, t.inv4x8, t.inv8x4, t.inv8x8};
    return slot < 4 ? inv[sz.index][slot] : t.fwd[sz.index];
}

Block to_block(const Picture<Zep16s>& p) {
    const auto v = p.block();
    return Block(v.begin(), v.end());
}

// Every slot of every size: the reference equals the matrix computation of
// the block with everything outside the variant's rectangle zeroed
// (coefficients there are random and must be ignored), and every SIMD level
// equals the reference on random geometry and full-range values (saturation
// between the passes, and for the forward transforms the 32-bit wrap, must
// agree too), writes nothing beyond the block and gives the same in place.
// The forward oracle holds for residuals within +-255 (the real input) and
// up to the bounds the public header states as exact, where nothing wraps.
TEST(Vc1TransformKernels, ReferenceMatchesMatricesAndEveryLevelMatchesReference) {
    const Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    const std::vector<Isa> isas = simd_levels();
    std::vector<Vc1Dsp> levels;
    for (Isa level : isas) levels.push_back(zep::build_table(zep::vc1_init, level));
    Rng rng(13);
    for (const Size& sz : kSizes)
        for (int slot = 0; slot < 5; ++slot) {
            const zep::Vc1XformFn fr = slot_fn(ref, sz, slot);
            if (!fr) continue;
            const int side = slot >= 3 ? 8 : 1 << slot;  // DC, 2x2, 4x4, full
            const int bound = sz.w == 8 && sz.h == 8 ? 287 : (sz.w == 8 ? 12285 : (sz.h == 8 ? 407 : 32767));
            for (Pattern pat : kAllPatterns)
                for (int it = 0; it < 30; ++it) {
                    const int lim = it % 3 == 0 ? 32767 : (it % 3 == 1 ? (slot == 4 ? bound : 4095) : 255);
                    auto src = Picture<Zep16s>::random(rng, sz.w, sz.h, 1);
                    auto a = Picture<Zep16s>::random(rng, sz.w, sz.h, 1);
                    src.fill(pat, rng, -lim - (slot < 4 || lim == 32767), lim);
                    a.fill(Pattern::Random, rng, -5, 5);
                    auto before = a;
                    fr(src.data(), src.step(), a.data(), a.step());
                    const std::string ctx = std::to_string(sz.w) + "x" + std::to_string(sz.h) + " slot " +
                                            std::to_string(slot) + " src " + src.describe() + "\n" + src.dump();
                    if (slot < 4 || lim <= bound) {
                        Block d = to_block(src);
                        for (int y = 0; y < sz.h; ++y)
                            for (int x = 0; x < sz.w; ++x)
                                if (x >= side || y >= side) d[y * sz.w + x] = 0;
                        const Block expect = slot == 4 ? oracle_fwd(d, sz.w, sz.h) : oracle_inv(d, sz.w, sz.h);
                        ASSERT_TRUE(same_array(expect, to_block(a), context(Isa::Ref, pat, ctx)));
                    }
                    for (size_t l = 0; l < levels.size(); ++l) {
                        const zep::Vc1XformFn fk = slot_fn(levels[l], sz, slot);
                        ASSERT_NE(fk, nullptr);
                        auto b = before, io = src;
                        fk(src.data(), src.step(), b.data(), b.step());
                        const std::string lctx = context(isas[l], pat, ctx);
                        ASSERT_TRUE(same_array(a.block(), b.block(), lctx));
                        for (int y = 0; y <= sz.h; ++y) ASSERT_EQ(a.at(sz.w, y), b.at(sz.w, y)) << lctx;
                        for (int x = 0; x <= sz.w; ++x) ASSERT_EQ(a.at(x, sz.h), b.at(x, sz.h)) << lctx;
                        fk(io.data(), io.step(), io.data(), io.step());
                        ASSERT_TRUE(same_array(a.block(), io.block(), lctx + " (in place)"));
                    }
                }
        }
}

struct Entry {
    int w, h;
    decltype(&zepiTransform8x8Inv_VC1_16s_C1IR) invIR;
    decltype(&zepiTransform8x8Inv_VC1_16s_C1R) invR;
    decltype(&zepiTransform8x8Fwd_VC1_16s_C1IR) fwdIR;
    decltype(&zepiTransform8x8Fwd_VC1_16s_C1R) fwdR;
};
#define VC1_ENTRY(W, H)                                                                                     \
    {W, H, zepiTransform##W##x##H##Inv_VC1_16s_C1IR, zepiTransform##W##x##H##Inv_VC1_16s_C1R,              \
     zepiTransform##W##x##H##Fwd_VC1_16s_C1IR, zepiTransform##W##x##H##Fwd_VC1_16s_C1R}
const Entry kEntries[] = {VC1_ENTRY(8, 8), VC1_ENTRY(8, 4), VC1_ENTRY(4, 8), VC1_ENTRY(4, 4)};

// Side of the square an entry point reads for a claimed rectangle, as the
// header documents it (clipped to the block): DC only below 2; 2x2 for 8x8
// and 4x4; the top or left 4x4 for 8x8, 4x8 and (16-byte aligned only) 8x4.
int read_side(int w, int h, int cw, int ch, bool aligned) {
    const int c = std::max(cw, ch);
    if (c < 2) return 1;
    if (c <= 2 && w == h) return 2;
    if (c <= 4 && (h == 8 || aligned)) return 4;
    return 8;
}

// For every claimed rectangle, both forms and aligned or odd pointers and
// steps: with coefficients only inside the claim (extreme DCs included, where
// the row pass saturates) the shortened path equals the full transform; with
// coefficients everywhere, those outside the rectangle read are ignored.
TEST(Vc1TransformEntry, ShortenedPathsEqualFullTransform) {
    struct Geo {
        int srcOff, srcStep, dstOff, dstStep;  // offsets in samples, steps in bytes
    } const geos[] = {{0, 16, 0, 16}, {1, 16, 0, 16}, {0, 18, 0, 16}, {0, 16, 1, 16}, {0, 16, 0, 18}};
    Rng rng(14);
    for (const Entry& e : kEntries)
        for (const Geo& g : geos)
            for (int cw = 0; cw <= e.w; ++cw)
                for (int ch = 0; ch <= e.h; ++ch)
                    for (int it = 0; it < 8; ++it) {
                        alignas(16) Zep16s src[80] = {}, dst[80], io[80] = {};
                        const bool truthful = it < 6;
                        const int lim = it == 0 ? 32767 : (it == 1 ? 2000 : 300);
                        auto s_at = [&](Zep16s* b, int x, int y) -> Zep16s& { return b[g.srcOff + y * g.srcStep / 2 + x]; };
                        for (int y = 0; y < e.h; ++y)
                            for (int x = 0; x < e.w; ++x)
                                if (!truthful || (x < std::max(cw, 1) && y < std::max(ch, 1)))
                                    s_at(src, x, y) = s_at(io, x, y) = static_cast<Zep16s>(
                                        it == 0 ? (rng.coin() ? 32767 : -32768) : rng.range(-lim, lim));
                        auto expect = [&](bool aligned) {
                            const int side = read_side(e.w, e.h, cw, ch, aligned);
                            Block d(e.w * e.h);
                            for (int y = 0; y < std::min(side, e.h); ++y)
                                for (int x = 0; x < std::min(side, e.w); ++x) d[y * e.w + x] = s_at(src, x, y);
                            return oracle_inv(d, e.w, e.h);
                        };
                        const Block expR = expect(g.srcOff == 0 && g.dstOff == 0 && g.srcStep == 16 && g.dstStep == 16);
                        const Block expIR = expect(g.srcOff == 0 && g.srcStep == 16);
                        ASSERT_EQ(e.invR(src + g.srcOff, g.srcStep, dst + g.dstOff, g.dstStep, cw, ch), zepStatusOk);
                        ASSERT_EQ(e.invIR(io + g.srcOff, g.srcStep, cw, ch), zepStatusOk);
                        const std::string ctx = std::to_string(e.w) + "x" + std::to_string(e.h) + " rect " +
                                                std::to_string(cw) + "x" + std::to_string(ch) + " offsets " +
                                                std::to_string(g.srcOff) + "," + std::to_string(g.dstOff) + " steps " +
                                                std::to_string(g.srcStep) + "," + std::to_string(g.dstStep) +
                                                (truthful ? "" : " (untruthful)") + " at ";
                        for (int y = 0; y < e.h; ++y)
                            for (int x = 0; x < e.w; ++x) {
                                ASSERT_EQ(dst[g.dstOff + y * g.dstStep / 2 + x], expR[y * e.w + x]) << ctx << x << "," << y;
                                ASSERT_EQ(s_at(io, x, y), expIR[y * e.w + x]) << ctx << x << "," << y << " in place";
                            }
                    }
}

TEST(Vc1TransformEntry, NullPointersWriteNothing) {
    Guarded<Zep16s> g(64);
    Guarded<Zep32s> gs(1);
    const Zep16s src[64] = {};
    const Zep8u px[64] = {};
    for (const Entry& e : kEntries) {
        EXPECT_TRUE(null_sweep(e.invIR, g.data(), 16, 8, 8));
        EXPECT_TRUE(null_sweep(e.invR, src, 16, g.data(), 16, 8, 8));
        EXPECT_TRUE(null_sweep(e.fwdIR, g.data(), 16));
        EXPECT_TRUE(null_sweep(e.fwdR, src, 16, g.data(), 16));
    }
    EXPECT_TRUE(null_sweep(zepiHadamard8x8Sum_VC1_8u16s, px, 8, g.data(), gs.data()));
    EXPECT_TRUE(null_sweep(zepiHadamard8x8Sum_VC1_16s, src, 16, g.data(), gs.data()));
    EXPECT_TRUE(g.untouched());
    EXPECT_TRUE(gs.untouched());
}

// Every level against the reference, 16-bit sources over the full range
// (where the coefficients saturate and the sum must stay exact). Through the
// entry points the transform is its own inverse up to 64: transforming the
// coefficients again gives 64 times the block (saturated); the sums are of
// the exact absolute values, and the DC is the sum of the block.
TEST(Vc1Hadamard, EveryLevelMatchesReferenceAndSelfInverse) {
    const Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    const std::vector<Isa> isas = simd_levels();
    Rng rng(16);
    for (Pattern pat : kAllPatterns)
        for (int it = 0; it < 20; ++it) {
            Zep16s a[64], b[64], back[64];
            Zep32s sa = -1, sb = -2;
            auto p8 = Picture<Zep8u>::random(rng, 8, 8, 0);
            auto p16 = Picture<Zep16s>::random(rng, 8, 8, 0);
            p8.fill(pat, rng, 0, 255);
            const int lim = it & 1 ? 32767 : 511;
            p16.fill(pat, rng, -lim - 1, lim);
            for (Isa level : isas) {
                const Vc1Dsp k = zep::build_table(zep::vc1_init, level);
                const std::string ctx = context(level, pat, std::to_string(it));
                ref.hadamard_8u(p8.data(), p8.step(), a, &sa);
                k.hadamard_8u(p8.data(), p8.step(), b, &sb);
                ASSERT_TRUE(same_array(a, b, 64, ctx + " 8u"));
                ASSERT_EQ(sa, sb) << ctx;
                ref.hadamard_16s(p16.data(), p16.step(), a, &sa);
                k.hadamard_16s(p16.data(), p16.step(), b, &sb);
                ASSERT_TRUE(same_array(a, b, 64, ctx + " 16s"));
                ASSERT_EQ(sa, sb) << ctx;
            }
            ASSERT_EQ(zepiHadamard8x8Sum_VC1_8u16s(p8.data(), p8.step(), a, &sa), zepStatusOk);
            ASSERT_EQ(zepiHadamard8x8Sum_VC1_16s(a, 16, back, &sb), zepStatusOk);
            int64_t abs = 0, dc = 0;
            for (int i = 0; i < 64; ++i) {
                abs += std::abs(a[i]);
                dc += p8.at(i % 8, i / 8);
                ASSERT_EQ(back[i], std::min(64 * p8.at(i % 8, i / 8), 32767)) << pattern_name(pat) << " " << i;
            }
            EXPECT_EQ(sa, abs);
            EXPECT_EQ(a[0], dc);
            EXPECT_EQ(sb, 64 * dc);
        }
}

}  // namespace
