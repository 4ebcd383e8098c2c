// Intra_16x16, chroma and 8x8-transform macroblock reconstruction against a
// test-side decoding in plain 64-bit arithmetic (Hadamard DC transforms as
// matrix products, the standard's dequantisation and inverse transforms), on
// random predictions, coefficients, coded-block patterns and every qp; the
// predictions come from the stand-alone predictors, tested on their own.
#include <algorithm>
#include <cstdlib>

#include "h264/recon8x8_dsp.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "zepvc.h"

namespace {

using namespace zt;

// Flat LevelScale4x4 (16 x normAdjust) for m = qp % 6, raster order.
int ls4(int m, int i) {
    static const int v[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};
    const int r = i / 4, c = i % 4;
    return 16 * v[m][(r % 2 == 0 && c % 2 == 0) ? 0 : (r % 2 && c % 2) ? 1 : 2];
}
// Flat LevelScale8x8 for m, raster order.
int ls8(int m, int i) {
    static const int v[6][6] = {{20, 18, 32, 19, 25, 24}, {22, 19, 35, 21, 28, 26}, {26, 23, 42, 24, 33, 31},
                                {28, 25, 45, 26, 35, 33}, {32, 28, 51, 30, 40, 38}, {36, 32, 58, 34, 46, 43}};
    const int r = i / 8, c = i % 8;
    int k;
    if (r % 4 == 0 && c % 4 == 0) k = 0;
    else if (r % 2 == 1 && c % 2 == 1) k = 1;
    else if (r % 4 == 2 && c % 4 == 2) k = 2;
    else if ((r % 4 == 0 && c % 2 == 1) || (r % 2 == 1 && c % 4 == 0)) k = 3;
    else if ((r % 4 == 0 && c % 4 == 2) || (r % 4 == 2 && c % 4 == 0)) k = 4;
    else k = 5;
    return 16 * v[m][k];
}

// Marks whether any value left the 16-bit range, where the library's 16-bit
// arithmetic and the plain arithmetic part ways (such cases are skipped).
struct Range {
    bool ok = true;
    int64_t operator()(int64_t v) {
        if (v < -32768 || v > 32767) ok = false;
        return v;
    }
};

// The standard's 4x4 inverse transform of dequantised values d.
void itrans4(const int64_t (&d)[16], int64_t (&r)[16], Range& rg) {
    int64_t f[16], g[16];
    for (int i = 0; i < 4; ++i) {
        const int64_t* x = d + 4 * i;
        const int64_t e0 = x[0] + x[2], e1 = x[0] - x[2], e2 = (x[1] >> 1) - x[3], e3 = x[1] + (x[3] >> 1);
        f[4 * i] = rg(e0 + e3), f[4 * i + 1] = rg(e1 + e2), f[4 * i + 2] = rg(e1 - e2), f[4 * i + 3] = rg(e0 - e3);
    }
    for (int j = 0; j < 4; ++j) {
        const int64_t e0 = f[j] + f[8 + j], e1 = f[j] - f[8 + j], e2 = (f[4 + j] >> 1) - f[12 + j],
                      e3 = f[4 + j] + (f[12 + j] >> 1);
        g[j] = rg(e0 + e3), g[4 + j] = rg(e1 + e2), g[8 + j] = rg(e1 - e2), g[12 + j] = rg(e0 - e3);
    }
    for (int i = 0; i < 16; ++i) r[i] = rg((g[i] + 32) >> 6);
}

// AC coefficients (i >= 1) of a 4x4 block dequantised with qp.
int64_t deq4(int c, int i, int qp, Range& rg) {
    const int64_t v = int64_t{c} * ls4(qp % 6, i);
    return rg(qp >= 24 ? v << (qp / 6 - 4) : (v + (int64_t{1} << (3 - qp / 6))) >> (4 - qp / 6));
}

// Hadamard of an h x w matrix: H_h * c * H_w (rows of H: the +-1 patterns).
std::vector<int64_t> hadamard(const std::vector<int>& c, int h, int w) {
    auto H = [](int n, int i, int j) {
        static const int h2[2][2] = {{1, 1}, {1, -1}};
        static const int h4[4][4] = {{1, 1, 1, 1}, {1, 1, -1, -1}, {1, -1, -1, 1}, {1, -1, 1, -1}};
        return n == 2 ? h2[i][j] : h4[i][j];
    };
    std::vector<int64_t> out(h * w);
    for (int i = 0; i < h; ++i)
        for (int j = 0; j < w; ++j) {
            int64_t s = 0;
            for (int k = 0; k < h; ++k)
                for (int l = 0; l < w; ++l) s += H(h, i, k) * c[k * w + l] * H(w, l, j);
            out[i * w + j] = s;
        }
    return out;
}

void add_block(Picture<Zep8u>& p, int x0, int y0, const int64_t* r, int n) {
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            Zep8u& s = p.at(x0 + x, y0 + y);
            s = static_cast<Zep8u>(std::clamp<int64_t>(s + r[y * n + x], 0, 255));
        }
}

int level(Rng& rng, int qp, bool dc) {
    const int a = qp < 12 ? 40 : qp < 24 ? 12 : qp < 36 ? 4 : 1;
    return rng.range(0, 2) ? 0 : rng.range(-a * (dc ? 2 : 1), a * (dc ? 2 : 1));
}

constexpr int kBx[16] = {0, 4, 0, 4, 8, 12, 8, 12, 0, 4, 0, 4, 8, 12, 8, 12};
constexpr int kBy[16] = {0, 0, 4, 4, 0, 0, 4, 4, 8, 8, 12, 12, 8, 8, 12, 12};

// ---------------------------------------------------------------- Intra_16x16
TEST(Intra16x16Recon, MatchesPlainDecodingAtEveryQp) {
    Rng rng(91);
    int checked = 0;
    for (int qp = 0; qp <= 51; ++qp)
        for (int it = 0; it < 12; ++it) {
            Picture<Zep8u> pic(40, 40, 48 + 16 * rng.range(0, 1), 0, 0);
            pic.fill(it % 3 ? Pattern::Random : Pattern::SmallNoise, rng, 0, 255);
            Zep8u* mb = &pic.at(8, 8);
            const int mode = rng.range(0, 3);
            const Zep32u cbp = (rng.u32() & 0x1FFFF) | static_cast<Zep32u>(rng.coin());
            std::vector<int> dcIn(16), ac(256);
            std::vector<Zep16s> buf;
            if (cbp & 1)
                for (int i = 0; i < 16; ++i) buf.push_back(static_cast<Zep16s>(dcIn[i] = level(rng, qp, true)));
            for (int k = 0; k < 16; ++k)
                if (cbp & (2u << k))
                    for (int i = 0; i < 16; ++i)
                        buf.push_back(static_cast<Zep16s>(ac[16 * k + i] = i ? level(rng, qp, false) : 77));
            // Expected: the 16x16 predictor, then the DC path and each block.
            Picture<Zep8u> want = pic;
            ASSERT_EQ(zepiPredictIntra16x16_H264_8u_C1IR(&want.at(8, 8), static_cast<Zep32u>(want.step()),
                                                         static_cast<Zep32u>(mode), 0), zepStatusOk);
            Range rg;
            const std::vector<int64_t> f = hadamard(dcIn, 4, 4);
            for (int k = 0; k < 16; ++k) {
                const int bi = (kBy[k] / 4) * 4 + kBx[k] / 4;
                const int64_t v = f[bi] * ls4(qp % 6, 0);
                int64_t d[16] = {rg(qp >= 36 ? v << (qp / 6 - 6) : (v + (int64_t{1} << (5 - qp / 6))) >> (6 - qp / 6))};
                for (int i = 1; i < 16; ++i) d[i] = deq4(ac[16 * k + i], i, qp, rg);
                int64_t r[16];
                itrans4(d, r, rg);
                add_block(want, 8 + kBx[k], 8 + kBy[k], r, 4);
            }
            std::vector<Zep16s> ls(16);
            for (int i = 0; i < 16; ++i) ls[i] = static_cast<Zep16s>(ls4(qp % 6, i));
            Zep16s* p = buf.empty() ? ls.data() : buf.data();  // any non-null pointer when nothing is coded
            Zep16s* const start = p;
            ASSERT_EQ(zepiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&p, mb, static_cast<Zep32u>(pic.step()),
                                                                     static_cast<Zep32u>(mode), cbp, qp, 0, ls.data(), 0),
                      zepStatusOk);
            EXPECT_EQ(p - start, static_cast<ptrdiff_t>(buf.size())) << "qp " << qp;
            if (!rg.ok) continue;
            ++checked;
            ASSERT_TRUE(same_array(want.block(), pic.block(), "qp " + std::to_string(qp) + " mode " +
                                                                  std::to_string(mode) + " cbp " + std::to_string(cbp)));
        }
    EXPECT_GT(checked, 500);
}

// ---------------------------------------------------------------- chroma
void chroma_case(Rng& rng, int qpCb, int qpCr, bool is422, int mode /* -1 inter */, int& checked) {
    const int rows = is422 ? 4 : 2, h = 4 * rows, blocks = 2 * rows;
    Picture<Zep8u> cb(24, 32, 32, 0, 0), cr(24, 32, 32, 0, 0);
    cb.fill(Pattern::Random, rng, 0, 255);
    cr.fill(Pattern::Random, rng, 0, 255);
    const Zep32u cbp = rng.u32() & ((1u << (2 + 2 * blocks)) - 1);
    const int qps[2] = {qpCb, qpCr};
    std::vector<int> dcIn[2], ac[2];
    std::vector<Zep16s> buf;
    for (int k = 0; k < 2; ++k) {
        dcIn[k].assign(blocks, 0);
        ac[k].assign(16 * blocks, 0);
        if (cbp & (1u << k))
            for (int i = 0; i < blocks; ++i) buf.push_back(static_cast<Zep16s>(dcIn[k][i] = level(rng, qps[k], true)));
    }
    for (int k = 0; k < 2; ++k)
        for (int b = 0; b < blocks; ++b)
            if (cbp & (1u << (2 + k * blocks + b)))
                for (int i = 0; i < 16; ++i)
                    buf.push_back(static_cast<Zep16s>(ac[k][16 * b + i] = i ? level(rng, qps[k], false) : -55));
    Picture<Zep8u>* planes[2] = {&cb, &cr};
    Picture<Zep8u> want[2] = {cb, cr};
    Range rg;
    for (int k = 0; k < 2; ++k) {
        if (mode >= 0) {
            auto pred = is422 ? zepiPredictIntraChroma8x16_H264_8u_C1IR : zepiPredictIntraChroma8x8_H264_8u_C1IR;
            ASSERT_EQ(pred(&want[k].at(8, 8), 32, static_cast<Zep32u>(mode), 0), zepStatusOk);
        }
        const int qp = qps[k], qd = is422 ? qp + 3 : qp;
        const std::vector<int64_t> f = hadamard(dcIn[k], rows, 2);
        for (int b = 0; b < blocks; ++b) {
            int64_t d[16];
            const int64_t v = f[b] * ls4(qd % 6, 0);
            if (!is422) d[0] = rg((v << (qp / 6)) >> 5);
            else d[0] = rg(qd >= 36 ? v << (qd / 6 - 6) : (v + (int64_t{1} << (5 - qd / 6))) >> (6 - qd / 6));
            for (int i = 1; i < 16; ++i) d[i] = deq4(ac[k][16 * b + i], i, qp, rg);
            int64_t r[16];
            itrans4(d, r, rg);
            add_block(want[k], 8 + 4 * (b & 1), 8 + 4 * (b >> 1), r, 4);
        }
    }
    std::vector<Zep16s> ls[2];
    for (int k = 0; k < 2; ++k)
        for (int m = 0; m < 6; ++m)
            for (int i = 0; i < 16; ++i) ls[k].push_back(static_cast<Zep16s>(ls4(m, i)));
    Zep16s* p = buf.empty() ? ls[0].data() : buf.data();
    Zep16s* const start = p;
    ZepStatus st;
    if (mode < 0)
        st = (is422 ? zepiReconstructChroma422InterMB_H264_16s8u_P2R : zepiReconstructChromaInterMB_H264_16s8u_P2R)(
            &p, &cb.at(8, 8), &cr.at(8, 8), 32, cbp, qpCb, qpCr, ls[0].data(), ls[1].data(), 0);
    else
        st = (is422 ? zepiReconstructChroma422IntraMB_H264_16s8u_P2R : zepiReconstructChromaIntraMB_H264_16s8u_P2R)(
            &p, &cb.at(8, 8), &cr.at(8, 8), 32, static_cast<Zep32u>(mode), cbp, qpCb, qpCr, 0, ls[0].data(),
            ls[1].data(), 0);
    ASSERT_EQ(st, zepStatusOk);
    EXPECT_EQ(p - start, static_cast<ptrdiff_t>(buf.size()));
    if (!rg.ok) return;
    ++checked;
    const std::string ctx = std::string(is422 ? "4:2:2" : "4:2:0") + " qp " + std::to_string(qpCb) + "/" +
                            std::to_string(qpCr) + " mode " + std::to_string(mode) + " cbp " + std::to_string(cbp);
    for (int k = 0; k < 2; ++k) ASSERT_TRUE(same_array(want[k].block(), planes[k]->block(), ctx)) << "plane " << k;
    (void)h;
}

TEST(ChromaRecon, MatchesPlainDecodingAtEveryQp) {
    Rng rng(92);
    int checked = 0;
    for (int qp = 0; qp <= 51; ++qp)
        for (bool is422 : {false, true})
            for (int mode = -1; mode < 4; ++mode)
                ASSERT_NO_FATAL_FAILURE(chroma_case(rng, qp, std::clamp(qp + rng.range(-6, 6), 0, 51), is422, mode, checked));
    EXPECT_GT(checked, 300);
}

// ---------------------------------------------------------------- 8x8 transform
void itrans8(int64_t* d, int stride) {
    const int64_t d0 = d[0], d1 = d[stride], d2 = d[2 * stride], d3 = d[3 * stride], d4 = d[4 * stride],
                  d5 = d[5 * stride], d6 = d[6 * stride], d7 = d[7 * stride];
    const int64_t e0 = d0 + d4, e1 = -d3 + d5 - d7 - (d7 >> 1), e2 = d0 - d4, e3 = d1 + d7 - d3 - (d3 >> 1);
    const int64_t e4 = (d2 >> 1) - d6, e5 = -d1 + d7 + d5 + (d5 >> 1), e6 = d2 + (d6 >> 1), e7 = d3 + d5 + d1 + (d1 >> 1);
    const int64_t f0 = e0 + e6, f1 = e1 + (e7 >> 2), f2 = e2 + e4, f3 = e3 + (e5 >> 2);
    const int64_t f4 = e2 - e4, f5 = (e3 >> 2) - e5, f6 = e0 - e6, f7 = e7 - (e1 >> 2);
    const int64_t g[8] = {f0 + f7, f2 + f5, f4 + f3, f6 + f1, f6 - f1, f4 - f3, f2 - f5, f0 - f7};
    for (int i = 0; i < 8; ++i) d[i * stride] = g[i];
}

TEST(Luma8x8Recon, MatchesPlainDecodingAtEveryQp) {
    Rng rng(93);
    for (int qp = 0; qp <= 51; ++qp)
        for (int it = 0; it < 8; ++it) {
            const bool intra = it % 2;
            Picture<Zep8u> pic(40, 40, 48, 0, 0);
            pic.fill(Pattern::Random, rng, 0, 255);
            const Zep32u cbp = rng.u32() & 0x1F;
            Zep32u modes[4];
            for (Zep32u& m : modes) m = static_cast<Zep32u>(rng.range(0, 8));
            std::vector<Zep16s> buf;
            std::vector<int> coef(256);
            for (int k = 0; k < 4; ++k)
                if (cbp & (2u << k))
                    for (int i = 0; i < 64; ++i) buf.push_back(static_cast<Zep16s>(coef[64 * k + i] = level(rng, qp, i == 0)));
            Picture<Zep8u> want = pic;
            for (int k = 0; k < 4; ++k) {
                const int bx = 8 + 8 * (k & 1), by = 8 + 8 * (k >> 1);
                if (intra) {
                    // Block 3 never has its above-right neighbour; the others do inside a full picture.
                    ASSERT_EQ(zepiPredictIntra8x8_H264_8u_C1IR(&want.at(bx, by), 48, modes[k], k == 3 ? 32 : 0),
                              zepStatusOk);
                }
                if (!(cbp & (2u << k))) continue;
                int64_t d[64];
                for (int i = 0; i < 64; ++i) {
                    const int64_t v = int64_t{coef[64 * k + i]} * ls8(qp % 6, i);
                    d[i] = qp >= 36 ? v << (qp / 6 - 6) : (v + (int64_t{1} << (5 - qp / 6))) >> (6 - qp / 6);
                }
                for (int i = 0; i < 8; ++i) itrans8(d + 8 * i, 1);
                for (int j = 0; j < 8; ++j) itrans8(d + j, 8);
                for (int64_t& v : d) v = (v + 32) >> 6;
                add_block(want, bx, by, d, 8);
            }
            std::vector<Zep16s> ls(64);
            for (int i = 0; i < 64; ++i) ls[i] = static_cast<Zep16s>(ls8(qp % 6, i));
            Zep16s* p = buf.empty() ? ls.data() : buf.data();
            const ZepStatus st = intra ? zepiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&p, &pic.at(8, 8), 48, modes, cbp,
                                                                                     qp, 0, ls.data(), 0)
                                       : zepiReconstructLumaInter8x8MB_H264_16s8u_C1R(&p, &pic.at(8, 8), 48, cbp, qp,
                                                                                     ls.data(), 0);
            ASSERT_EQ(st, zepStatusOk);
            ASSERT_TRUE(same_array(want.block(), pic.block(), "qp " + std::to_string(qp) + (intra ? " intra" : " inter")));
        }
}



// The 8x8 kernel levels against the reference, including coefficients and
// scales of any 16-bit value, whose sums wrap at 32 bits on every level.
TEST(Luma8x8Kernels, EveryLevelMatchesReference) {
    const zep::Recon8x8Dsp ref = zep::build_table(zep::recon8x8_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::Recon8x8Dsp k = zep::build_table(zep::recon8x8_init, level);
        Rng rng(98);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 30; ++it) {
                const int qp = rng.range(0, 51);
                const int range = it % 3 == 0 ? 32767 : (it % 3 == 1 ? 2000 : 30);
                std::vector<Zep16s> c(64), sc(64);
                fill(c.data(), 64, pat, rng, -range - 1, range);
                for (int i = 0; i < 64; ++i) sc[i] = static_cast<Zep16s>(it % 3 == 0 ? rng.range(-32768, 32767) : ls8(qp % 6, i));
                Picture<Zep8u> pa = Picture<Zep8u>::random(rng, 8, 8, 0);
                pa.fill(Pattern::Random, rng, 0, 255);
                Picture<Zep8u> pb = pa;
                std::vector<Zep16s> ca = c, cb = c;
                ref.block(ca.data(), pa.data(), pa.step(), sc.data(), qp);
                k.block(cb.data(), pb.data(), pb.step(), sc.data(), qp);
                const std::string ctx = "qp " + std::to_string(qp) + " range " + std::to_string(range);
                ASSERT_TRUE(same_array(pa.block(), pb.block(), context(level, pat, ctx + " samples")));
                ASSERT_TRUE(same_array(ca, cb, context(level, pat, ctx + " residual")));
            }
    }
}

// ---------------------------------------------------------------- stand-alone DC transforms
TEST(DcTransforms, InverseMatchesMatrixHadamardAtEveryQp) {
    Rng rng(95);
    for (int qp = 0; qp <= 54; ++qp)
        for (int it = 0; it < 20; ++it) {
            struct Shape {
                int rows, cols, maxQp;
                ZepStatus (*fn)(Zep16s*, Zep32s, const Zep16s*);
                bool by32;  // 4:2:0 chroma scaling
            };
            const Shape shapes[] = {{4, 4, 51, zepiTransformDequantLumaDC_H264_16s_C1I, false},
                                    {2, 2, 51, zepiTransformDequantChromaDC_H264_16s_C1I, true},
                                    {4, 2, 54, zepiTransformDequantChroma422DC_H264_16s_C1I, false}};
            for (const Shape& sh : shapes) {
                const int n = sh.rows * sh.cols;
                std::vector<int> c(n);
                std::vector<Zep16s> io(n);
                for (int i = 0; i < n; ++i) io[i] = static_cast<Zep16s>(c[i] = rng.range(-60, 60));
                const Zep16s scale = static_cast<Zep16s>(ls4(qp % 6, 0));
                if (qp > sh.maxQp) {
                    EXPECT_EQ(sh.fn(io.data(), qp, &scale), zepStatusOutOfRange);
                    continue;
                }
                ASSERT_EQ(sh.fn(io.data(), qp, &scale), zepStatusOk);
                const std::vector<int64_t> f = hadamard(c, sh.rows, sh.cols);
                for (int i = 0; i < n; ++i) {
                    const int64_t v = f[i] * scale;
                    const int64_t want = sh.by32 ? (v << (qp / 6)) >> 5
                                         : qp >= 36 ? v << (qp / 6 - 6)
                                                    : (v + (int64_t{1} << (5 - qp / 6))) >> (6 - qp / 6);
                    ASSERT_EQ(io[i], static_cast<Zep16s>(want)) << sh.rows << "x" << sh.cols << " qp " << qp << " [" << i << "]";
                }
            }
        }
}

// Encoder and decoder halves together: blocks of flat residual through the
// core transform, the forward DC transform with quantisation and the inverse
// DC transform come back within the quantiser's step at low qp.
TEST(DcTransforms, ForwardThenInverseGivesTheBlocksBack) {
    Rng rng(96);
    struct Shape {
        int rows, cols, qpOffset;
        ZepStatus (*fwd)(Zep16s*, Zep32s*, Zep32u, Zep32s);
        ZepStatus (*inv)(Zep16s*, Zep32s, const Zep16s*);
    };
    const Shape shapes[] = {{4, 4, 0, zepiTransformQuantLumaDC_H264_16s_C1I, zepiTransformDequantLumaDC_H264_16s_C1I},
                            {2, 2, 0, zepiTransformQuantChromaDC_H264_16s_C1I, zepiTransformDequantChromaDC_H264_16s_C1I},
                            {4, 2, 3, zepiTransformQuantChroma422DC_H264_16s_C1I,
                             zepiTransformDequantChroma422DC_H264_16s_C1I}};
    for (const Shape& sh : shapes)
        for (int qp = 0; qp <= 6; ++qp)
            for (int it = 0; it < 50; ++it) {
                const int n = sh.rows * sh.cols, q = qp + sh.qpOffset;
                std::vector<int> v(n);
                std::vector<Zep16s> dc(n);
                for (int i = 0; i < n; ++i) {
                    v[i] = rng.range(-200, 200);
                    Zep16s blk[16], coef[16];
                    std::fill_n(blk, 16, static_cast<Zep16s>(v[i]));
                    ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(blk, coef), zepStatusOk);
                    dc[i] = coef[0];
                }
                Zep32s nz = -1;
                ASSERT_EQ(sh.fwd(dc.data(), &nz, static_cast<Zep32u>(q), 1), zepStatusOk);
                EXPECT_EQ(nz, static_cast<Zep32s>(std::count_if(dc.begin(), dc.end(), [](Zep16s x) { return x != 0; })));
                const Zep16s scale = static_cast<Zep16s>(ls4(q % 6, 0));
                ASSERT_EQ(sh.inv(dc.data(), q, &scale), zepStatusOk);
                for (int i = 0; i < n; ++i)
                    ASSERT_LE(std::abs(((dc[i] + 32) >> 6) - v[i]), 1 + q / 6)
                        << sh.rows << "x" << sh.cols << " qp " << q << " block " << i << " value " << v[i];
            }
}

// With every input a multiple of 64 the shifts inside the 8x8 forward
// transform are exact, and it equals its matrix form C x C^T / 64.
TEST(DcTransforms, Forward8x8EqualsItsMatrixOnExactInputs) {
    static const int C[8][8] = {{8, 8, 8, 8, 8, 8, 8, 8},         {12, 10, 6, 3, -3, -6, -10, -12},
                                {8, 4, -4, -8, -8, -4, 4, 8},     {10, -3, -12, -6, 6, 12, 3, -10},
                                {8, -8, -8, 8, 8, -8, -8, 8},     {6, -12, 3, 10, -10, -3, 12, -6},
                                {4, -8, 8, -4, -4, 8, -8, 4},     {3, -6, 10, -12, 12, -10, 6, -3}};
    Rng rng(97);
    for (int it = 0; it < 200; ++it) {
        Zep16s x[64], y[64];
        for (Zep16s& v : x) v = static_cast<Zep16s>(64 * rng.range(-4, 4));
        ASSERT_EQ(zepiTransformResidual8x8Fwd_H264_16s_C1(x, y), zepStatusOk);
        for (int u = 0; u < 8; ++u)
            for (int w = 0; w < 8; ++w) {
                int64_t s = 0;
                for (int i = 0; i < 8; ++i)
                    for (int j = 0; j < 8; ++j) s += int64_t{C[u][i]} * x[i * 8 + j] * C[w][j];
                ASSERT_EQ(y[u * 8 + w], s / 64) << "coefficient " << u << "," << w;
            }
    }
    Zep16s dummy[64] = {};
    Zep32s nz;
    EXPECT_EQ(zepiTransformResidual8x8Fwd_H264_16s_C1(nullptr, dummy), zepStatusNullPtr);
    EXPECT_EQ(zepiTransformQuantLumaDC_H264_16s_C1I(dummy, nullptr, 0, 1), zepStatusNullPtr);
    EXPECT_EQ(zepiTransformQuantLumaDC_H264_16s_C1I(dummy, &nz, 52, 1), zepStatusOutOfRange);
    EXPECT_EQ(zepiTransformQuantChroma422DC_H264_16s_C1I(dummy, &nz, 55, 1), zepStatusOutOfRange);
    EXPECT_EQ(zepiTransformDequantLumaDC_H264_16s_C1I(dummy, 0, nullptr), zepStatusNullPtr);
}

// ---------------------------------------------------------------- checks
TEST(ReconExtEntry, ChecksInOrderAndWriteNothing) {
    Picture<Zep8u> pic(40, 40, 48, 0, 0);
    Rng rng(94);
    pic.fill(Pattern::Random, rng, 0, 255);
    const Picture<Zep8u> before = pic;
    std::vector<Zep16s> coef(1024, 3), ls(96, 16);
    Zep16s* c = coef.data();
    Zep16s* nul = nullptr;
    Zep8u* y = &pic.at(8, 8);
    Zep32u modes[4] = {2, 2, 2, 2}, badModes[4] = {2, 9, 2, 2};
    auto i16 = [&](Zep16s** pp, Zep8u* p, Zep32u step, Zep32u mode, Zep32s qp, Zep8u ef, const Zep16s* s) {
        return zepiReconstructLumaIntra16x16MB_H264_16s8u_C1R(pp, p, step, mode, 0xFFFF, qp, ef, s, 0);
    };
    EXPECT_TRUE(null_sweep(i16, &c, y, 4u, 9u, 99, Zep8u{0xFF}, static_cast<const Zep16s*>(ls.data())));
    EXPECT_EQ(i16(&nul, y, 4, 9, 99, 0xFF, ls.data()), zepStatusNullPtr);
    EXPECT_EQ(i16(&c, y, 15, 9, 99, 0xFF, ls.data()), zepStatusBadStep);
    EXPECT_EQ(i16(&c, y, 48, 4, 99, 0xFF, ls.data()), zepStatusBadArg);
    EXPECT_EQ(i16(&c, y, 48, 3, 52, 0xFF, ls.data()), zepStatusOutOfRange);
    EXPECT_EQ(i16(&c, y, 48, 3, -1, 0xFF, ls.data()), zepStatusOutOfRange);
    EXPECT_EQ(i16(&c, y, 48, 3, 30, 16, ls.data()), zepStatusNeighborUnavailable);  // plane needs the corner
    EXPECT_EQ(i16(&c, y, 48, 0, 30, 4, ls.data()), zepStatusNeighborUnavailable);
    auto chroma = [&](Zep16s** pp, Zep8u* cb, Zep8u* cr, Zep32u step, Zep32u mode, Zep32s qp, Zep8u ef,
                      const Zep16s* s1, const Zep16s* s2) {
        return zepiReconstructChromaIntraMB_H264_16s8u_P2R(pp, cb, cr, step, mode, 0x3FF, qp, qp, ef, s1, s2, 0);
    };
    const Zep16s* cls = ls.data();
    EXPECT_TRUE(null_sweep(chroma, &c, y, y + 8, 4u, 9u, 99, Zep8u{0xFF}, cls, cls));
    EXPECT_EQ(chroma(&c, y, y + 8, 7, 9, 99, 0xFF, cls, cls), zepStatusBadStep);
    EXPECT_EQ(chroma(&c, y, y + 8, 48, 4, 99, 0xFF, cls, cls), zepStatusBadArg);
    EXPECT_EQ(chroma(&c, y, y + 8, 48, 2, 52, 0xFF, cls, cls), zepStatusOutOfRange);
    EXPECT_EQ(chroma(&c, y, y + 8, 48, 2, 20, 4, cls, cls), zepStatusNeighborUnavailable);
    EXPECT_EQ(zepiReconstructChroma422InterMB_H264_16s8u_P2R(&c, y, y + 8, 48, 1, 20, 60, cls, cls, 0),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&c, y, 48, badModes, 0x1F, 60, 0xFF, cls, 0), zepStatusBadArg);
    EXPECT_EQ(zepiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&c, y, 48, modes, 0x1F, 60, 0xFF, cls, 0), zepStatusOutOfRange);
    // Block 1 in vertical mode needs the macroblock above: found before block 0 is written.
    Zep32u vmodes[4] = {2, 0, 2, 2};
    EXPECT_EQ(zepiReconstructLumaIntra8x8MB_H264_16s8u_C1R(&c, y, 48, vmodes, 0x1F, 20, 4, cls, 0),
              zepStatusNeighborUnavailable);
    EXPECT_EQ(zepiReconstructLumaInter8x8MB_H264_16s8u_C1R(&c, y, 15, 0x1F, 20, cls, 0), zepStatusBadStep);
    EXPECT_EQ(c, coef.data());
    EXPECT_TRUE(same_array(before.block(), pic.block(), "after refused calls"));
}

}  // namespace
