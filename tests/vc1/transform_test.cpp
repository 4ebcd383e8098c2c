// VC-1 transforms: the reference against a direct matrix computation, every
// SIMD level against the reference, the shortened paths against the full
// transform, and the entry points' checks.
#include <cstdlib>
#include <functional>
#include <vector>

#include "harness/harness.h"
#include "clone.h"
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

int64_t sat16(int64_t v) { return v < -32768 ? -32768 : (v > 32767 ? 32767 : v); }
int tcoef(int n, int k, int j) { return n == 8 ? kT8[k][j] : kT4[k][j]; }
int fcoef(int n, int k, int j) { return n == 8 ? kF8[k][j] : kF4[k][j]; }

using Block = std::vector<int64_t>;  // w * h, row order

// Inverse as matrices in 64 bits: E = sat((D * T_W + 4) >> 3), R = sat((T_H^t * E + rnd) >> 7).
Block oracle_inv(const Block& d, int w, int h) {
    Block e(w * h), r(w * h);
    for (int y = 0; y < h; ++y)
        for (int j = 0; j < w; ++j) {
            int64_t s = 0;
            for (int k = 0; k < w; ++k) s += d[y * w + k] * tcoef(w, k, j);
            e[y * w + j] = sat16((s + 4) >> 3);
        }
    for (int i = 0; i < h; ++i)
        for (int x = 0; x < w; ++x) {
            int64_t s = 0;
            for (int k = 0; k < h; ++k) s += tcoef(h, k, i) * e[k * w + x];
            r[i * w + x] = sat16((s + (h == 8 && i >= 4 ? 65 : 64)) >> 7);
        }
    return r;
}

// Forward as matrices in 64 bits (no wrap: valid for residuals in range).
Block oracle_fwd(const Block& x, int w, int h) {
    Block e(w * h), r(w * h);
    const int rs = w == 8 ? 12 : 11, cs = h == 8 ? 20 : 19;
    for (int y = 0; y < h; ++y)
        for (int k = 0; k < w; ++k) {
            int64_t s = 0;
            for (int j = 0; j < w; ++j) s += fcoef(w, k, j) * x[y * w + j];
            e[y * w + k] = sat16((s + (int64_t{1} << (rs - 1))) >> rs);
        }
    for (int k = 0; k < h; ++k)
        for (int c = 0; c < w; ++c) {
            int64_t s = 0;
            for (int j = 0; j < h; ++j) s += fcoef(h, k, j) * e[j * w + c];
            r[k * w + c] = sat16((s + (int64_t{1} << (cs - 1))) >> cs);
        }
    return r;
}

struct Size {
    int w, h;
    int index;  // vc1_size_index
};
const Size kSizes[] = {{4, 4, 0}, {4, 8, 1}, {8, 4, 2}, {8, 8, 3}};

zep::Vc1XformFn inv_slot(const Vc1Dsp& t, int w, int h, int variant) {
    if (w == 8 && h == 8) return t.inv8x8[variant];
    if (w == 8) return t.inv8x4[variant];
    if (h == 8) return t.inv4x8[variant];
    return t.inv4x4[variant];
}
// Rectangle each variant reads.
void variant_rect(int w, int h, int variant, int& rw, int& rh) {
    switch (variant) {
        case zep::kVc1InvDC: rw = rh = 1; break;
        case zep::kVc1Inv2x2: rw = rh = 2; break;
        case zep::kVc1Inv4x4: rw = rh = 4; break;
        default: rw = w; rh = h;
    }
}

Block to_block(const Picture<Zep16s>& p) {
    Block b;
    for (Zep16s v : p.block()) b.push_back(v);
    return b;
}

std::string dump(const Block& b, int w) {
    std::string s;
    for (size_t i = 0; i < b.size(); ++i) s += std::to_string(b[i]) + ((i % w == size_t(w - 1)) ? "\n" : " ");
    return s;
}

// The reference at every variant equals the matrix computation of the block
// with everything outside the variant's rectangle zeroed (coefficients there
// are random and must be ignored).
TEST(Vc1TransformRef, InverseMatchesMatrixComputation) {
    const Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    Rng rng(11);
    for (const Size& sz : kSizes)
        for (int variant = 0; variant < 4; ++variant) {
            zep::Vc1XformFn f = inv_slot(ref, sz.w, sz.h, variant);
            if (!f) continue;
            int rw, rh;
            variant_rect(sz.w, sz.h, variant, rw, rh);
            for (Pattern pat : kAllPatterns)
                for (int it = 0; it < 30; ++it) {
                    Picture<Zep16s> src(sz.w, sz.h, 16 + 2 * rng.range(0, 8), 0, 0);
                    Picture<Zep16s> dst(sz.w, sz.h, 16, 0, 0);
                    const int lim = it % 3 == 0 ? 32767 : (it % 3 == 1 ? 2047 : 300);
                    src.fill(pat, rng, -lim - (pat == Pattern::Extremes), lim);
                    Block d = to_block(src);
                    for (int y = 0; y < sz.h; ++y)
                        for (int x = 0; x < sz.w; ++x)
                            if (x >= rw || y >= rh) d[y * sz.w + x] = 0;
                    f(src.data(), src.step(), dst.data(), dst.step());
                    const Block expect = oracle_inv(d, sz.w, sz.h), got = to_block(dst);
                    ASSERT_TRUE(same_array(expect, got,
                                           context(Isa::Ref, pat,
                                                   std::to_string(sz.w) + "x" + std::to_string(sz.h) + " variant " +
                                                       std::to_string(variant) + "\n" + dump(d, sz.w))));
                }
        }
}

// Residuals within +-255 (the forward transform's real input) and the bounds
// the public header states as exact: no 32-bit wrap there, so the 64-bit matrix product is
// the oracle.
TEST(Vc1TransformRef, ForwardMatchesMatrixComputation) {
    const Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    Rng rng(12);
    for (const Size& sz : kSizes) {
        const int bound = sz.w == 8 && sz.h == 8 ? 287 : (sz.w == 8 ? 12285 : (sz.h == 8 ? 407 : 32767));
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 40; ++it) {
                const int lim = it & 1 ? 255 : bound;
                Picture<Zep16s> src(sz.w, sz.h, 16 + 2 * rng.range(0, 8), 0, 0);
                Picture<Zep16s> dst(sz.w, sz.h, 16, 0, 0);
                src.fill(pat, rng, -lim, lim);
                ref.fwd[sz.index](src.data(), src.step(), dst.data(), dst.step());
                ASSERT_TRUE(same_array(oracle_fwd(to_block(src), sz.w, sz.h), to_block(dst),
                                       context(Isa::Ref, pat, std::to_string(sz.w) + "x" + std::to_string(sz.h))));
            }
    }
}

// Every kernel of every level against the reference, on random geometry and
// full-range values (saturation between the passes, and for the forward
// transforms the 32-bit wrap, must agree too).
TEST(Vc1TransformKernels, EveryLevelMatchesReference) {
    const Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const Vc1Dsp k = zep::build_table(zep::vc1_init, level);
        Rng rng(13);
        for (const Size& sz : kSizes)
            for (int slot = 0; slot < 5; ++slot) {
                zep::Vc1XformFn fr = slot < 4 ? inv_slot(ref, sz.w, sz.h, slot) : ref.fwd[sz.index];
                zep::Vc1XformFn fk = slot < 4 ? inv_slot(k, sz.w, sz.h, slot) : k.fwd[sz.index];
                if (!fr) continue;
                ASSERT_NE(fk, nullptr);
                for (Pattern pat : kAllPatterns)
                    for (int it = 0; it < 25; ++it) {
                        auto src = Picture<Zep16s>::random(rng, sz.w, sz.h, 1);
                        auto a = Picture<Zep16s>::random(rng, sz.w, sz.h, 1);
                        Picture<Zep16s> b(sz.w, sz.h, a.step(), 0, 1);
                        const int lim = it % 3 == 0 ? 32767 : (it % 3 == 1 ? 4095 : 255);
                        src.fill(pat, rng, -lim - 1, lim);
                        a.fill(Pattern::Random, rng, -5, 5);
                        for (int y = 0; y < sz.h + 1; ++y)
                            for (int x = 0; x < sz.w + 1; ++x) b.at(x, y) = a.at(x, y);
                        fr(src.data(), src.step(), a.data(), a.step());
                        fk(src.data(), src.step(), b.data(), b.step());
                        const std::string ctx = context(level, pat,
                                                        std::to_string(sz.w) + "x" + std::to_string(sz.h) + " slot " +
                                                            std::to_string(slot) + " src " + src.describe() + "\n" +
                                                            src.dump());
                        ASSERT_TRUE(same_array(a.block(), b.block(), ctx));
                        // Nothing beyond the block is written.
                        for (int y = 0; y <= sz.h; ++y) ASSERT_EQ(a.at(sz.w, y), b.at(sz.w, y)) << ctx;
                        for (int x = 0; x <= sz.w; ++x) ASSERT_EQ(a.at(x, sz.h), b.at(x, sz.h)) << ctx;
                        // In place gives the same result.
                        auto io = vc1t::clone(src);
                        fk(io.data(), io.step(), io.data(), io.step());
                        ASSERT_TRUE(same_array(a.block(), io.block(), ctx + " (in place)"));
                    }
            }
    }
}

using InvIR = ZepStatus (*)(Zep16s*, Zep32s, Zep32s, Zep32s);
using InvR = ZepStatus (*)(const Zep16s*, Zep32s, Zep16s*, Zep32s, Zep32s, Zep32s);
using FwdIR = ZepStatus (*)(Zep16s*, Zep32s);
using FwdR = ZepStatus (*)(const Zep16s*, Zep32s, Zep16s*, Zep32s);
struct Entry {
    int w, h;
    InvIR invIR;
    InvR invR;
    FwdIR fwdIR;
    FwdR fwdR;
};
const Entry kEntries[] = {
    {8, 8, zepiTransform8x8Inv_VC1_16s_C1IR, zepiTransform8x8Inv_VC1_16s_C1R, zepiTransform8x8Fwd_VC1_16s_C1IR,
     zepiTransform8x8Fwd_VC1_16s_C1R},
    {8, 4, zepiTransform8x4Inv_VC1_16s_C1IR, zepiTransform8x4Inv_VC1_16s_C1R, zepiTransform8x4Fwd_VC1_16s_C1IR,
     zepiTransform8x4Fwd_VC1_16s_C1R},
    {4, 8, zepiTransform4x8Inv_VC1_16s_C1IR, zepiTransform4x8Inv_VC1_16s_C1R, zepiTransform4x8Fwd_VC1_16s_C1IR,
     zepiTransform4x8Fwd_VC1_16s_C1R},
    {4, 4, zepiTransform4x4Inv_VC1_16s_C1IR, zepiTransform4x4Inv_VC1_16s_C1R, zepiTransform4x4Fwd_VC1_16s_C1IR,
     zepiTransform4x4Fwd_VC1_16s_C1R},
};

// A truthful rectangle: for every (coefWidth, coefHeight) the shortened path
// the entry point picks equals the full transform, in both forms, including
// extreme DCs where the row pass saturates.
TEST(Vc1TransformEntry, ShortenedPathsEqualFullTransform) {
    Rng rng(14);
    for (const Entry& e : kEntries)
        for (int cw = 0; cw <= e.w; ++cw)
            for (int ch = 0; ch <= e.h; ++ch)
                for (int it = 0; it < 6; ++it) {
                    alignas(16) Zep16s src[64] = {}, a[64], b[64];
                    const int lim = it == 0 ? 32767 : (it == 1 ? 2000 : 300);
                    for (int y = 0; y < std::max(ch, 1); ++y)
                        for (int x = 0; x < std::max(cw, 1); ++x)
                            src[y * 8 + x] = static_cast<Zep16s>(it == 0 ? (rng.coin() ? 32767 : -32768)
                                                                         : rng.range(-lim, lim));
                    Block d(e.w * e.h);
                    for (int y = 0; y < e.h; ++y)
                        for (int x = 0; x < e.w; ++x) d[y * e.w + x] = src[y * 8 + x];
                    const Block expect = oracle_inv(d, e.w, e.h);
                    std::copy(src, src + 64, b);
                    ASSERT_EQ(e.invR(src, 16, a, 16, cw, ch), zepStatusOk);
                    ASSERT_EQ(e.invIR(b, 16, cw, ch), zepStatusOk);
                    for (int y = 0; y < e.h; ++y)
                        for (int x = 0; x < e.w; ++x) {
                            ASSERT_EQ(a[y * 8 + x], expect[y * e.w + x])
                                << e.w << "x" << e.h << " rect " << cw << "x" << ch << " at " << x << "," << y;
                            ASSERT_EQ(b[y * 8 + x], expect[y * e.w + x])
                                << e.w << "x" << e.h << " in place, rect " << cw << "x" << ch;
                        }
                }
}

// An untruthful rectangle shows which coefficients each path reads: a
// non-zero coefficient outside it is ignored, except that 8x4 reads the whole
// block when a pointer or step is not 16-byte aligned.
TEST(Vc1TransformEntry, CoefficientsOutsideTheRectangleAreIgnored) {
    alignas(16) Zep16s buf[2 * 64 + 16] = {};
    alignas(16) Zep16s out[2 * 64 + 16];
    Zep16s* src = buf;
    src[0] = 100;
    src[1] = 50;  // d1: outside a 1x1 rectangle
    ASSERT_EQ(zepiTransform8x8Inv_VC1_16s_C1R(src, 16, out, 16, 1, 1), zepStatusOk);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) ASSERT_EQ(out[y * 8 + x], 14);  // ((1204 >> 3) * 12 + 64) >> 7

    // 8x4 with a coefficient at column 6 and a claimed 4x4 rectangle.
    std::fill(buf, buf + 2 * 64 + 16, Zep16s{0});
    src[0] = 64;
    src[6] = 64;
    Block dc(32, 0), full(32, 0);
    dc[0] = 64;
    full[0] = 64;
    full[6] = 64;
    const Block left = oracle_inv(dc, 8, 4), whole = oracle_inv(full, 8, 4);
    ASSERT_NE(left, whole);
    auto check = [&](const Zep16s* s, Zep32s ss, Zep16s* d, Zep32s ds, const Block& expect, const char* what) {
        ASSERT_EQ(zepiTransform8x4Inv_VC1_16s_C1R(s, ss, d, ds, 4, 4), zepStatusOk);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 8; ++x) ASSERT_EQ(d[y * ds / 2 + x], expect[y * 8 + x]) << what << " " << x << "," << y;
    };
    check(src, 16, out, 16, left, "aligned");
    check(src, 16, out + 1, 16, whole, "odd destination");
    check(src, 16, out, 18, whole, "odd destination step");
    std::copy(buf, buf + 64, buf + 1);
    std::fill(buf, buf + 1, Zep16s{0});
    check(buf + 1, 16, out, 16, whole, "odd source");
}

// Hand-worked roundings: the DC example, and the +65 of the lower half of an
// 8-tall column. In a 4x8 block with coefficients only in column 0, row k of
// the row pass is (17 d_k + 4) >> 3 in every column, and output row i sums
// 12 E0 + T8[1][i] E1.
TEST(Vc1TransformEntry, HandWorkedRoundings) {
    Zep16s blk[64] = {};
    blk[0] = 1;
    ASSERT_EQ(zepiTransform8x8Inv_VC1_16s_C1IR(blk, 16, 1, 1), zepStatusOk);
    for (Zep16s v : blk) ASSERT_EQ(v, 0);

    const struct {
        Zep16s d0, d1;
        int row, expect;
    } cases[] = {
        {7, 6, 5, 1},   // E = 15, 13: row 5 sums 180 - 117 = 63, (63 + 65) >> 7 = 1
        {-3, 4, 1, 0},  // E = -6, 9: row 1 sums -72 + 135 = 63, (63 + 64) >> 7 = 0
    };
    for (const auto& c : cases) {
        Zep16s b[32] = {};
        b[0] = c.d0;
        b[4] = c.d1;
        ASSERT_EQ(zepiTransform4x8Inv_VC1_16s_C1IR(b, 8, 1, 2), zepStatusOk);
        for (int x = 0; x < 4; ++x) EXPECT_EQ(b[c.row * 4 + x], c.expect) << "row " << c.row;
    }
}

TEST(Vc1TransformEntry, NullPointersWriteNothing) {
    Guarded<Zep16s> g(64);
    Zep16s src[64] = {};
    for (const Entry& e : kEntries) {
        EXPECT_EQ(e.invIR(nullptr, 16, 8, 8), zepStatusNullPtr);
        EXPECT_EQ(e.invR(nullptr, 16, g.data(), 16, 8, 8), zepStatusNullPtr);
        EXPECT_EQ(e.invR(src, 16, nullptr, 16, 8, 8), zepStatusNullPtr);
        EXPECT_EQ(e.fwdIR(nullptr, 16), zepStatusNullPtr);
        EXPECT_EQ(e.fwdR(nullptr, 16, g.data(), 16), zepStatusNullPtr);
        EXPECT_EQ(e.fwdR(src, 16, nullptr, 16), zepStatusNullPtr);
    }
    Zep32s sum = 0;
    EXPECT_EQ(zepiHadamard8x8Sum_VC1_8u16s(nullptr, 8, g.data(), &sum), zepStatusNullPtr);
    EXPECT_EQ(zepiHadamard8x8Sum_VC1_16s(src, 16, nullptr, &sum), zepStatusNullPtr);
    EXPECT_EQ(zepiHadamard8x8Sum_VC1_16s(src, 16, g.data(), nullptr), zepStatusNullPtr);
    EXPECT_TRUE(g.untouched());
    EXPECT_EQ(sum, 0);
}

// The Hadamard transform is its own inverse up to 64: transforming the
// coefficients again gives 64 times the block; the sum is of absolute values.
TEST(Vc1Hadamard, SelfInverseAndSum) {
    Rng rng(15);
    for (int it = 0; it < 50; ++it) {
        Zep8u px[8 * 9];
        Zep16s c[64], back[64];
        for (Zep8u& v : px) v = static_cast<Zep8u>(it == 0 ? 255 : rng.range(0, 255));
        Zep32s sum = -1, sum2 = -1;
        ASSERT_EQ(zepiHadamard8x8Sum_VC1_8u16s(px, 9, c, &sum), zepStatusOk);
        int64_t expect = 0;
        for (Zep16s v : c) expect += std::abs(v);
        EXPECT_EQ(sum, expect);
        EXPECT_EQ(c[0], [&] {
            int s = 0;
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) s += px[y * 9 + x];
            return s;
        }());
        ASSERT_EQ(zepiHadamard8x8Sum_VC1_16s(c, 16, back, &sum2), zepStatusOk);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                // 64 * 255 overflows 16 bits: compare where it fits.
                const int want = 64 * px[y * 9 + x];
                if (want <= 32767) ASSERT_EQ(back[y * 8 + x], want) << it;
                else ASSERT_EQ(back[y * 8 + x], 32767) << it;
            }
        int64_t exact = 0;
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) exact += 64 * px[y * 9 + x];
        EXPECT_EQ(sum2, exact);
    }
}

}  // namespace

namespace {

using namespace zt;

// Every level against the reference, 16-bit sources over the full range
// (where the coefficients saturate and the sum must stay exact).
TEST(Vc1Hadamard, EveryLevelMatchesReference) {
    const zep::Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::Vc1Dsp k = zep::build_table(zep::vc1_init, level);
        Rng rng(16);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 20; ++it) {
                const std::string ctx = context(level, pat, std::to_string(it));
                Zep16s a[64], b[64];
                Zep32s sa = -1, sb = -2;
                auto p8 = Picture<Zep8u>::random(rng, 8, 8, 0);
                p8.fill(pat, rng, 0, 255);
                ref.hadamard_8u(p8.data(), p8.step(), a, &sa);
                k.hadamard_8u(p8.data(), p8.step(), b, &sb);
                ASSERT_TRUE(same_array(a, b, 64, ctx + " 8u"));
                ASSERT_EQ(sa, sb) << ctx;
                auto p16 = Picture<Zep16s>::random(rng, 8, 8, 0);
                const int lim = it & 1 ? 32767 : 511;
                p16.fill(pat, rng, -lim - 1, lim);
                ref.hadamard_16s(p16.data(), p16.step(), a, &sa);
                k.hadamard_16s(p16.data(), p16.step(), b, &sb);
                ASSERT_TRUE(same_array(a, b, 64, ctx + " 16s"));
                ASSERT_EQ(sa, sb) << ctx;
            }
    }
}

}  // namespace
