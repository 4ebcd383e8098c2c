// Slice data: macroblock syntax, motion-vector prediction (including direct
// and skipped macroblocks), inter prediction and reconstruction.
#include <algorithm>
#include <cstdlib>

#include "h264/impl.h"

namespace zdec::h264 {
namespace {

constexpr Zep32s kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};

// coded_block_pattern from its code number: intra (Intra_4x4) and inter columns.
constexpr uint8_t kCbpIntra[48] = {47, 31, 15, 0,  23, 27, 29, 30, 7,  11, 13, 14, 39, 43, 45, 46,
                                   16, 3,  5,  10, 12, 19, 21, 26, 28, 35, 37, 42, 44, 1,  2,  4,
                                   8,  17, 18, 20, 24, 6,  9,  22, 25, 32, 33, 34, 36, 40, 38, 41};
constexpr uint8_t kCbpInter[48] = {0,  16, 1,  2,  4,  8,  32, 3,  5,  10, 12, 15, 47, 7,  11, 13,
                                   14, 6,  9,  31, 35, 37, 42, 44, 33, 34, 36, 40, 39, 43, 45, 46,
                                   17, 18, 20, 24, 19, 21, 26, 28, 23, 27, 29, 30, 22, 25, 38, 41};

// QP'c from qPI.
constexpr uint8_t kChromaQp[52] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17,
                                   18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 29, 30, 31, 32, 32, 33,
                                   34, 34, 35, 35, 36, 36, 37, 37, 37, 38, 38, 38, 39, 39, 39, 39};

// Prediction use of a partition: bit 0 list 0, bit 1 list 1.
enum : int { kL0 = 1, kL1 = 2, kBi = 3 };

// B macroblock types 1..21: partition shape (0 16x16, 1 16x8, 2 8x16) and the lists of each part.
struct BType {
    int shape, pred[2];
};
constexpr BType kBTypes[22] = {
    {0, {0, 0}},     {0, {kL0, 0}},   {0, {kL1, 0}},   {0, {kBi, 0}},   {1, {kL0, kL0}}, {2, {kL0, kL0}},
    {1, {kL1, kL1}}, {2, {kL1, kL1}}, {1, {kL0, kL1}}, {2, {kL0, kL1}}, {1, {kL1, kL0}}, {2, {kL1, kL0}},
    {1, {kL0, kBi}}, {2, {kL0, kBi}}, {1, {kL1, kBi}}, {2, {kL1, kBi}}, {1, {kBi, kL0}}, {2, {kBi, kL0}},
    {1, {kBi, kL1}}, {2, {kBi, kL1}}, {1, {kBi, kBi}}, {2, {kBi, kBi}}};

// Sub-macroblock types: shape (0 8x8, 1 8x4, 2 4x8, 3 4x4) and lists; B type 0 is direct.
struct SubType {
    int shape, pred;
};
constexpr SubType kPSub[4] = {{0, kL0}, {1, kL0}, {2, kL0}, {3, kL0}};
constexpr SubType kBSub[13] = {{0, 0},   {0, kL0}, {0, kL1}, {0, kBi}, {1, kL0}, {2, kL0}, {1, kL1},
                               {2, kL1}, {1, kBi}, {2, kBi}, {3, kL0}, {3, kL1}, {3, kBi}};
constexpr int kSubCount[4] = {1, 2, 2, 4};
constexpr int kSubW[4] = {2, 2, 1, 1}, kSubH[4] = {2, 1, 2, 1};

int median(int a, int b, int c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }
int min_positive(int a, int b) { return (a >= 0 && b >= 0) ? std::min(a, b) : std::max(a, b); }

// Position of 4x4 block (x, y) of a macroblock in decoding order.
int blk_order(int x, int y) { return kRasterBlk[y * 4 + x]; }

struct Part {
    int x, y, w, h;  // in 4x4 blocks within the macroblock
};

}  // namespace

// ---------------------------------------------------------------- motion data

namespace {
struct MbCtx {
    Decoder::Impl& d;
    // Motion of 4x4 block (x, y) relative to the current macroblock; x in -1..4, y in -1..3.
    Motion at(int list, int x, int y) const {
        Motion m;
        const int mx = d.mb_x + (x < 0 ? -1 : (x > 3 ? 1 : 0)), my = d.mb_y + (y < 0 ? -1 : 0);
        if (mx != d.mb_x || my != d.mb_y) {
            if (!d.neighbour(mx, my)) return m;
        }
        const size_t b = d.blk4(d.mb_x * 4 + x, d.mb_y * 4 + y);
        m.avail = true;
        m.ref = d.cur->ref_idx[list][b];
        m.mvx = d.cur->mv[list][2 * b];
        m.mvy = d.cur->mv[list][2 * b + 1];
        return m;
    }
    // Neighbour C of a partition (or D when C is missing), following decoding order inside the macroblock.
    Motion at_c(int list, const Part& p) const {
        const int cx = p.x + p.w, cy = p.y - 1;
        bool inside_ok = true;
        if (cy >= 0) inside_ok = cx < 4 && blk_order(cx, cy) < blk_order(p.x, p.y);
        Motion c;
        if (inside_ok) c = at(list, cx, cy);
        if (!c.avail) c = at(list, p.x - 1, p.y - 1);
        return c;
    }
    // Median prediction with the 16x8 / 8x16 directional rules (shape 1 / 2, part index).
    void predict(int list, int ref, const Part& p, int shape, int part, int& mvx, int& mvy) const {
        const Motion a = at(list, p.x - 1, p.y);
        Motion b = at(list, p.x, p.y - 1);
        Motion c = at_c(list, p);
        if (shape == 1) {
            if (part == 0 && b.ref == ref) return void((mvx = b.mvx, mvy = b.mvy));
            if (part == 1 && a.ref == ref) return void((mvx = a.mvx, mvy = a.mvy));
        } else if (shape == 2) {
            if (part == 0 && a.ref == ref) return void((mvx = a.mvx, mvy = a.mvy));
            if (part == 1 && c.ref == ref) return void((mvx = c.mvx, mvy = c.mvy));
        }
        Motion aa = a;
        if (!b.avail && !c.avail && a.avail) b = c = aa;
        const int matches = (aa.ref == ref) + (b.ref == ref) + (c.ref == ref);
        if (matches == 1) {
            const Motion& m = aa.ref == ref ? aa : (b.ref == ref ? b : c);
            mvx = m.mvx;
            mvy = m.mvy;
            return;
        }
        mvx = median(aa.mvx, b.mvx, c.mvx);
        mvy = median(aa.mvy, b.mvy, c.mvy);
    }
    void store(int list, const Part& p, int ref, int mvx, int mvy) const {
        if (ref >= 0 && (ref >= d.ref_count[list] || !d.ref_list[list][ref]))
            fail("reference index names no picture");
        const int32_t id = ref >= 0 ? d.ref_list[list][ref]->id : -1;
        for (int y = p.y; y < p.y + p.h; ++y)
            for (int x = p.x; x < p.x + p.w; ++x) {
                const size_t b = d.blk4(d.mb_x * 4 + x, d.mb_y * 4 + y);
                d.cur->ref_idx[list][b] = static_cast<int8_t>(ref);
                d.cur->ref_id[list][b] = id;
                d.cur->mv[list][2 * b] = static_cast<int16_t>(ref >= 0 ? mvx : 0);
                d.cur->mv[list][2 * b + 1] = static_cast<int16_t>(ref >= 0 ? mvy : 0);
            }
    }
};

int16_t clamp_mv(int v) { return static_cast<int16_t>(clip3(-32768, 32767, v)); }
}  // namespace

// ---------------------------------------------------------------- inter prediction

namespace {

// Predicts one partition from the motion stored for its blocks (all blocks of
// the partition share it).
void predict_part(Decoder::Impl& d, const Part& p) {
    Picture& cur = *d.cur;
    const size_t b0 = d.blk4(d.mb_x * 4 + p.x, d.mb_y * 4 + p.y);
    int ref[2], mvx[2], mvy[2], n = 0;
    for (int l = 0; l < 2; ++l) {
        ref[l] = cur.ref_idx[l][b0];
        mvx[l] = cur.mv[l][2 * b0];
        mvy[l] = cur.mv[l][2 * b0 + 1];
        n += ref[l] >= 0;
    }
    const int w = 4 * p.w, h = 4 * p.h, px = d.mb_x * 16 + 4 * p.x, py = d.mb_y * 16 + 4 * p.y;
    uint8_t* dy = cur.y + static_cast<ptrdiff_t>(py) * cur.stride + px;
    uint8_t* dc[2] = {cur.cb + static_cast<ptrdiff_t>(py / 2) * cur.stride_c + px / 2,
                      cur.cr + static_cast<ptrdiff_t>(py / 2) * cur.stride_c + px / 2};
    int done = 0;
    for (int l = 0; l < 2; ++l) {
        if (ref[l] < 0) continue;
        const Picture* r = d.ref_list[l][ref[l]];
        // Second prediction of a bi-predicted block goes to scratch, combined below.
        uint8_t* ty = done ? d.pred_tmp : dy;
        const int ts = done ? 16 : cur.stride;
        uint8_t* tc[2] = {done ? d.pred_tmp_c[0] : dc[0], done ? d.pred_tmp_c[1] : dc[1]};
        const int tcs = done ? 8 : cur.stride_c;
        // Blocks far outside the picture see only replicated edge samples:
        // clamping their position keeps every read inside the padding.
        const int ix = clip3(-(w + 3), cur.width + 1, px + (mvx[l] >> 2));
        const int iy = clip3(-(h + 3), cur.height + 1, py + (mvy[l] >> 2));
        const ZepSize sz{w, h};
        zepiInterpolateLuma_H264_8u_C1R(r->y + static_cast<ptrdiff_t>(iy) * r->stride + ix, r->stride, ty, ts,
                                        mvx[l] & 3, mvy[l] & 3, sz);
        const int cw = w / 2, ch = h / 2;
        const int cx = clip3(-(cw + 1), cur.width / 2, px / 2 + (mvx[l] >> 3));
        const int cy = clip3(-(ch + 1), cur.height / 2, py / 2 + (mvy[l] >> 3));
        const ZepSize csz{cw, ch};
        const ptrdiff_t co = static_cast<ptrdiff_t>(cy) * r->stride_c + cx;
        zepiInterpolateChroma_H264_8u_C1R(r->cb + co, r->stride_c, tc[0], tcs, mvx[l] & 7, mvy[l] & 7, csz);
        zepiInterpolateChroma_H264_8u_C1R(r->cr + co, r->stride_c, tc[1], tcs, mvx[l] & 7, mvy[l] & 7, csz);
        ++done;
    }
    const Pps& pps = d.cur_pps();
    const bool explicit_w = (d.sh.type == kP && pps.weighted_pred) || (d.sh.type == kB && pps.weighted_bipred_idc == 1);
    const int cw = w / 2, ch = h / 2;
    if (n == 2) {
        int w0[3], w1[3], o0[3] = {0, 0, 0}, o1[3] = {0, 0, 0}, lwd[3];
        if (explicit_w) {
            const auto& a = d.sh.weights[0][ref[0]];
            const auto& b = d.sh.weights[1][ref[1]];
            for (int c = 0; c < 3; ++c) {
                w0[c] = a.w[c];
                w1[c] = b.w[c];
                o0[c] = a.o[c];
                o1[c] = b.o[c];
                lwd[c] = c ? d.sh.chroma_log2_denom : d.sh.luma_log2_denom;
            }
        } else if (d.sh.type == kB && pps.weighted_bipred_idc == 2) {
            for (int c = 0; c < 3; ++c) {
                w0[c] = d.implicit_w[ref[0]][ref[1]][0];
                w1[c] = d.implicit_w[ref[0]][ref[1]][1];
                lwd[c] = 5;
            }
        } else {
            for (int c = 0; c < 3; ++c) w0[c] = w1[c] = 1, lwd[c] = 0;
        }
        zepiBiDirWeightBlock_H264_8u_P3P1R(dy, d.pred_tmp, dy, cur.stride, 16, cur.stride, lwd[0], w0[0], o0[0], w1[0],
                                           o1[0], w, h);
        for (int c = 0; c < 2; ++c)
            zepiBiDirWeightBlock_H264_8u_P3P1R(dc[c], d.pred_tmp_c[c], dc[c], cur.stride_c, 8, cur.stride_c,
                                               lwd[c + 1], w0[c + 1], o0[c + 1], w1[c + 1], o1[c + 1], cw, ch);
    } else if (explicit_w) {
        const int l = ref[0] >= 0 ? 0 : 1;
        const auto& wt = d.sh.weights[l][ref[l]];
        if (wt.explicit_luma)
            zepiUniDirWeightBlock_H264_8u_C1IR(dy, cur.stride, d.sh.luma_log2_denom, wt.w[0], wt.o[0], w, h);
        if (wt.explicit_chroma)
            for (int c = 0; c < 2; ++c)
                zepiUniDirWeightBlock_H264_8u_C1IR(dc[c], cur.stride_c, d.sh.chroma_log2_denom, wt.w[c + 1],
                                                   wt.o[c + 1], cw, ch);
    }
}

}  // namespace

// ---------------------------------------------------------------- direct prediction

namespace {

struct Colocated {
    int mvx = 0, mvy = 0, ref = -1;
    int32_t ref_id = -1;
};

Colocated colocated(const Decoder::Impl& d, int x, int y) {
    const Picture* col = d.ref_list[1][0];
    Colocated c;
    if (d.sps.direct_8x8_inference) {
        x = x < 2 ? 0 : 3;
        y = y < 2 ? 0 : 3;
    }
    if (col->mb_intra[static_cast<size_t>(d.mb_addr)]) return c;
    const size_t b = d.blk4(d.mb_x * 4 + x, d.mb_y * 4 + y);
    const int l = col->ref_idx[0][b] >= 0 ? 0 : 1;
    c.ref = col->ref_idx[l][b];
    c.ref_id = col->ref_id[l][b];
    c.mvx = col->mv[l][2 * b];
    c.mvy = col->mv[l][2 * b + 1];
    return c;
}

// Direct motion for the 8x8 quadrant q (0..3) of the current macroblock,
// stored and predicted. Spatial mode uses refs/mvp computed once per macroblock.
struct DirectSpatial {
    int ref[2];
    int mvx[2], mvy[2];
};

DirectSpatial spatial_setup(Decoder::Impl& d, const MbCtx& ctx) {
    DirectSpatial s;
    const Part whole{0, 0, 4, 4};
    for (int l = 0; l < 2; ++l) {
        const Motion a = ctx.at(l, -1, 0), b = ctx.at(l, 0, -1), c = ctx.at_c(l, whole);
        s.ref[l] = min_positive(a.ref, min_positive(b.ref, c.ref));
    }
    if (s.ref[0] < 0 && s.ref[1] < 0) {
        s.ref[0] = s.ref[1] = 0;
        s.mvx[0] = s.mvy[0] = s.mvx[1] = s.mvy[1] = 0;
        s.mvx[0] = INT32_MIN;  // marks "zero prediction, no colocated test"
        return s;
    }
    for (int l = 0; l < 2; ++l) {
        s.mvx[l] = s.mvy[l] = 0;
        if (s.ref[l] >= 0) ctx.predict(l, s.ref[l], whole, 0, 0, s.mvx[l], s.mvy[l]);
    }
    (void)d;
    return s;
}

// Stores the direct motion of quadrant q; prediction is left to the caller.
void direct_quadrant(Decoder::Impl& d, const MbCtx& ctx, int q, const DirectSpatial* sp) {
    const int qx = 2 * (q & 1), qy = 2 * (q >> 1);
    const Picture* col = d.ref_list[1][0];
    if (!col) fail("direct prediction without a list 1 reference");
    const int step = d.sps.direct_8x8_inference ? 2 : 1;
    for (int y = qy; y < qy + 2; y += step)
        for (int x = qx; x < qx + 2; x += step) {
            const Part p{x, y, step, step};
            const Colocated c = colocated(d, x, y);
            if (sp) {
                if (sp->mvx[0] == INT32_MIN) {
                    ctx.store(0, p, 0, 0, 0);
                    ctx.store(1, p, 0, 0, 0);
                } else {
                    const bool col_zero =
                        col->short_ref && c.ref == 0 && std::abs(c.mvx) <= 1 && std::abs(c.mvy) <= 1;
                    for (int l = 0; l < 2; ++l) {
                        const bool zero = col_zero && sp->ref[l] == 0;
                        ctx.store(l, p, sp->ref[l], zero ? 0 : sp->mvx[l], zero ? 0 : sp->mvy[l]);
                    }
                }
            } else {
                int ref0 = 0;
                if (c.ref >= 0) {
                    ref0 = -1;
                    for (int i = 0; i < d.ref_count[0]; ++i)
                        if (d.ref_list[0][i] && d.ref_list[0][i]->id == c.ref_id) {
                            ref0 = i;
                            break;
                        }
                    if (ref0 < 0) fail("co-located reference is not in list 0");
                }
                const Picture* p0 = d.ref_list[0][ref0];
                if (!p0) fail("missing reference picture");
                int mv0x = c.mvx, mv0y = c.mvy, mv1x = 0, mv1y = 0;
                const int tb = clip3(-128, 127, d.cur->poc - p0->poc);
                const int td = clip3(-128, 127, col->poc - p0->poc);
                if (!p0->long_ref && td != 0) {
                    const int tx = (16384 + std::abs(td / 2)) / td;
                    const int dsf = clip3(-1024, 1023, (tb * tx + 32) >> 6);
                    mv0x = (dsf * c.mvx + 128) >> 8;
                    mv0y = (dsf * c.mvy + 128) >> 8;
                    mv1x = mv0x - c.mvx;
                    mv1y = mv0y - c.mvy;
                }
                ctx.store(0, p, ref0, clamp_mv(mv0x), clamp_mv(mv0y));
                ctx.store(1, p, 0, clamp_mv(mv1x), clamp_mv(mv1y));
            }
        }
}

bool same_motion(const Picture& pic, size_t a, size_t b) {
    for (int l = 0; l < 2; ++l)
        if (pic.ref_id[l][a] != pic.ref_id[l][b] || pic.mv[l][2 * a] != pic.mv[l][2 * b] ||
            pic.mv[l][2 * a + 1] != pic.mv[l][2 * b + 1])
            return false;
    return true;
}

// Predicts quadrant q after its direct motion is stored: one block when all of
// it moves alike (always, with the 8x8 inference), else per 4x4 block.
void predict_quadrant(Decoder::Impl& d, int q) {
    const int qx = 2 * (q & 1), qy = 2 * (q >> 1);
    const size_t b = d.blk4(d.mb_x * 4 + qx, d.mb_y * 4 + qy);
    const size_t row = static_cast<size_t>(d.mbw * 4);
    if (d.sps.direct_8x8_inference ||
        (same_motion(*d.cur, b, b + 1) && same_motion(*d.cur, b, b + row) && same_motion(*d.cur, b, b + row + 1))) {
        predict_part(d, Part{qx, qy, 2, 2});
        return;
    }
    for (int k = 0; k < 4; ++k) predict_part(d, Part{qx + (k & 1), qy + (k >> 1), 1, 1});
}

// A whole direct macroblock: one 16x16 prediction when the four quadrants move alike.
void direct_macroblock(Decoder::Impl& d, const MbCtx& ctx) {
    DirectSpatial sp;
    if (d.sh.direct_spatial) sp = spatial_setup(d, ctx);
    for (int q = 0; q < 4; ++q) direct_quadrant(d, ctx, q, d.sh.direct_spatial ? &sp : nullptr);
    const size_t b = d.blk4(d.mb_x * 4, d.mb_y * 4);
    const size_t row = static_cast<size_t>(d.mbw * 4);
    bool uniform = true;
    for (int y = 0; y < 4 && uniform; ++y)
        for (int x = 0; x < 4 && uniform; ++x) uniform = same_motion(*d.cur, b, b + y * row + static_cast<size_t>(x));
    if (uniform) {
        predict_part(d, Part{0, 0, 4, 4});
        return;
    }
    for (int q = 0; q < 4; ++q) predict_quadrant(d, q);
}

}  // namespace

// ---------------------------------------------------------------- residual

namespace {

// nC of a luma (chroma: plane 0/1) 4x4 block from its left and above neighbours.
int nc_luma(const Decoder::Impl& d, const MbState& m, int x, int y) {
    int a = -1, b = -1;
    if (x > 0) a = m.nz[y * 4 + x - 1];
    else if (const MbState* n = d.neighbour(d.mb_x - 1, d.mb_y)) a = n->nz[y * 4 + 3];
    if (y > 0) b = m.nz[(y - 1) * 4 + x];
    else if (const MbState* n = d.neighbour(d.mb_x, d.mb_y - 1)) b = n->nz[12 + x];
    if (a >= 0 && b >= 0) return (a + b + 1) >> 1;
    return a >= 0 ? a : (b >= 0 ? b : 0);
}

int nc_chroma(const Decoder::Impl& d, const MbState& m, int c, int x, int y) {
    int a = -1, b = -1;
    if (x > 0) a = m.nzc[c][y * 2];
    else if (const MbState* n = d.neighbour(d.mb_x - 1, d.mb_y)) a = n->nzc[c][y * 2 + 1];
    if (y > 0) b = m.nzc[c][x];
    else if (const MbState* n = d.neighbour(d.mb_x, d.mb_y - 1)) b = n->nzc[c][2 + x];
    if (a >= 0 && b >= 0) return (a + b + 1) >> 1;
    return a >= 0 ? a : (b >= 0 ? b : 0);
}

}  // namespace

// ---------------------------------------------------------------- slice data

void Decoder::Impl::decode_slice_data() {
    slice_index = static_cast<int>(slices.size());
    SliceInfo info;
    info.disable = sh.disable_deblocking;
    info.alpha_offset = sh.alpha_offset;
    info.beta_offset = sh.beta_offset;
    info.chroma_qp_offset[0] = pps->chroma_qp_offset[0];
    info.chroma_qp_offset[1] = pps->chroma_qp_offset[1];
    slices.push_back(info);
    if (sh.type != kI) build_ref_lists();
    if (sh.type == kB && pps->weighted_bipred_idc == 2) compute_implicit_weights();
    qp = sh.qp;
    mb_addr = sh.first_mb;
    const int total = mbs_total();
    if (mb_addr >= total) fail("first_mb_in_slice beyond the picture");
    for (;;) {
        bool more = true;
        if (sh.type != kI) {
            const Zep32u run = bits.ue(static_cast<Zep32u>(total - mb_addr), "mb_skip_run");
            for (Zep32u i = 0; i < run; ++i) {
                decode_macroblock(true);
                ++mb_addr;
            }
            if (run > 0) more = bits.more_rbsp_data();
        }
        if (more) {
            if (mb_addr >= total) fail("slice data continues past the last macroblock");
            decode_macroblock(false);
            ++mb_addr;
            more = bits.more_rbsp_data();
        }
        if (!more) break;
        if (mb_addr >= total) fail("slice data continues past the last macroblock");
    }
    bits.check();
}

void Decoder::Impl::decode_macroblock(bool skipped) {
    mb_x = mb_addr % mbw;
    mb_y = mb_addr / mbw;
    MbState& m = mbs[static_cast<size_t>(mb_addr)];
    if (m.slice >= 0) fail("macroblock coded twice");
    m = MbState{};
    m.slice = slice_index;
    std::fill(std::begin(m.i4), std::end(m.i4), 2);
    const MbCtx ctx{*this};
    Picture& pic = *cur;
    pic.mb_intra[static_cast<size_t>(mb_addr)] = 0;
    const Part whole{0, 0, 4, 4};
    auto need_refs = [this](int list, int ref) {
        if (ref < 0 || ref >= ref_count[list] || !ref_list[list][ref]) fail("reference index names no picture");
    };

    if (skipped) {
        m.kind = kMbSkip;
        m.qp = static_cast<int8_t>(qp);
        if (sh.type == kP) {
            need_refs(0, 0);
            const Motion a = ctx.at(0, -1, 0), b = ctx.at(0, 0, -1);
            int mvx = 0, mvy = 0;
            if (a.avail && b.avail && !(a.ref == 0 && a.mvx == 0 && a.mvy == 0) &&
                !(b.ref == 0 && b.mvx == 0 && b.mvy == 0))
                ctx.predict(0, 0, whole, 0, 0, mvx, mvy);
            ctx.store(0, whole, 0, mvx, mvy);
            ctx.store(1, whole, -1, 0, 0);
            predict_part(*this, whole);
        } else {
            direct_macroblock(*this, ctx);
        }
        return;
    }

    Bits& b = bits;
    int mb_type = static_cast<int>(b.ue(sh.type == kI ? 25 : (sh.type == kP ? 30 : 48), "mb_type"));
    if (sh.type == kP) mb_type -= 5;
    if (sh.type == kB) mb_type -= 23;
    // mb_type is now an I type when >= 0, else an inter type + 5 (P) or + 23 (B) below zero.
    const bool intra = mb_type >= 0;

    if (intra && mb_type == 25) {  // I_PCM
        m.kind = kMbPcm;
        m.qp = 0;
        std::fill(std::begin(m.nz), std::end(m.nz), 16);
        std::fill(&m.nzc[0][0], &m.nzc[0][0] + 8, 16);
        pic.mb_intra[static_cast<size_t>(mb_addr)] = 1;
        ctx.store(0, whole, -1, 0, 0);
        ctx.store(1, whole, -1, 0, 0);
        while (!b.byte_aligned()) b.skip(1);
        uint8_t* py = pic.y + static_cast<ptrdiff_t>(mb_y * 16) * pic.stride + mb_x * 16;
        for (int i = 0; i < 256; ++i) py[(i / 16) * pic.stride + i % 16] = static_cast<uint8_t>(b.u(8));
        for (int c = 0; c < 2; ++c) {
            uint8_t* pc = (c ? pic.cr : pic.cb) + static_cast<ptrdiff_t>(mb_y * 8) * pic.stride_c + mb_x * 8;
            for (int i = 0; i < 64; ++i) pc[(i / 8) * pic.stride_c + i % 8] = static_cast<uint8_t>(b.u(8));
        }
        b.check();
        return;
    }

    int cbp = 0, i16_mode = 0, chroma_mode = 0;
    Zep32u modes[16];
    if (intra) {
        pic.mb_intra[static_cast<size_t>(mb_addr)] = 1;
        ctx.store(0, whole, -1, 0, 0);
        ctx.store(1, whole, -1, 0, 0);
        const bool ci = pps->constrained_intra_pred;
        const MbState* left = neighbour(mb_x - 1, mb_y);
        const MbState* up = neighbour(mb_x, mb_y - 1);
        if (ci && left && !left->intra()) left = nullptr;
        if (ci && up && !up->intra()) up = nullptr;
        if (mb_type == 0) {
            m.kind = kMbIntra4x4;
            for (int k = 0; k < 16; ++k) {
                const int x = kBlkX[k], y = kBlkY[k];
                const int ma = x > 0 ? m.i4[y * 4 + x - 1] : (left ? left->i4[y * 4 + 3] : -1);
                const int mb = y > 0 ? m.i4[(y - 1) * 4 + x] : (up ? up->i4[12 + x] : -1);
                const int pred = (ma < 0 || mb < 0) ? 2 : std::min(ma, mb);
                int mode = pred;
                if (!b.flag()) {
                    const int rem = static_cast<int>(b.u(3));
                    mode = rem < pred ? rem : rem + 1;
                }
                m.i4[y * 4 + x] = static_cast<int8_t>(mode);
                modes[k] = static_cast<Zep32u>(mode);
            }
        } else {
            m.kind = kMbIntra16x16;
            i16_mode = (mb_type - 1) % 4;
            cbp = (((mb_type - 1) / 4) % 3) << 4 | (mb_type >= 13 ? 15 : 0);
        }
        chroma_mode = static_cast<int>(b.ue(3, "intra_chroma_pred_mode"));
    } else {
        // ---- inter macroblock syntax ----
        m.kind = kMbInter;
        const int t = sh.type == kP ? mb_type + 5 : mb_type + 23;
        const int lists = sh.type == kB ? 2 : 1;
        auto read_ref = [&](int list) {
            const int n = ref_count[list];
            if (n <= 1) return 0;
            if (n == 2) return 1 - static_cast<int>(b.u(1));
            return static_cast<int>(b.ue(static_cast<Zep32u>(n - 1), "ref_idx"));
        };
        auto read_mvd = [&](int& x, int& y) {
            x = b.se(-32768, 32767, "mvd");
            y = b.se(-32768, 32767, "mvd");
        };
        if ((sh.type == kP && t >= 3) || (sh.type == kB && t == 22)) {
            // 8x8 partitions with sub-macroblock types.
            int sub[4];
            for (int q = 0; q < 4; ++q) sub[q] = static_cast<int>(b.ue(sh.type == kP ? 3 : 12, "sub_mb_type"));
            const SubType* st = sh.type == kP ? kPSub : kBSub;
            int refs[2][4] = {{-1, -1, -1, -1}, {-1, -1, -1, -1}};
            for (int l = 0; l < lists; ++l)
                for (int q = 0; q < 4; ++q)
                    if (st[sub[q]].pred & (1 << l)) refs[l][q] = (sh.type == kP && t == 4) ? 0 : read_ref(l);
            int mvd[2][4][4][2] = {};
            for (int l = 0; l < lists; ++l)
                for (int q = 0; q < 4; ++q)
                    if (st[sub[q]].pred & (1 << l))
                        for (int s = 0; s < kSubCount[st[sub[q]].shape]; ++s) read_mvd(mvd[l][q][s][0], mvd[l][q][s][1]);
            b.check();
            DirectSpatial sp;
            bool sp_ready = false;
            for (int q = 0; q < 4; ++q) {
                const SubType& s = st[sub[q]];
                if (sh.type == kB && sub[q] == 0) {
                    if (sh.direct_spatial && !sp_ready) {
                        sp = spatial_setup(*this, ctx);
                        sp_ready = true;
                    }
                    direct_quadrant(*this, ctx, q, sh.direct_spatial ? &sp : nullptr);
                    predict_quadrant(*this, q);
                    continue;
                }
                const int qx = 2 * (q & 1), qy = 2 * (q >> 1);
                for (int k = 0; k < kSubCount[s.shape]; ++k) {
                    const int w = kSubW[s.shape], h = kSubH[s.shape];
                    const Part p{qx + (s.shape == 2 || s.shape == 3 ? (k & 1) : 0),
                                 qy + (s.shape == 1 ? k : (s.shape == 3 ? k >> 1 : 0)), w, h};
                    for (int l = 0; l < 2; ++l) {
                        if (!(s.pred & (1 << l))) {
                            ctx.store(l, p, -1, 0, 0);
                            continue;
                        }
                        need_refs(l, refs[l][q]);
                        int mvx, mvy;
                        ctx.predict(l, refs[l][q], p, 0, 0, mvx, mvy);
                        ctx.store(l, p, refs[l][q], clamp_mv(mvx + mvd[l][q][k][0]), clamp_mv(mvy + mvd[l][q][k][1]));
                    }
                    predict_part(*this, p);
                }
            }
        } else {
            int shape, pred[2];
            if (sh.type == kP) {
                shape = t;
                pred[0] = pred[1] = kL0;
            } else {
                shape = kBTypes[t].shape;
                pred[0] = kBTypes[t].pred[0];
                pred[1] = kBTypes[t].pred[1];
            }
            if (sh.type == kB && t == 0) {  // B_Direct_16x16
                direct_macroblock(*this, ctx);
            } else {
                const int parts = shape == 0 ? 1 : 2;
                Part pp[2];
                for (int k = 0; k < parts; ++k)
                    pp[k] = shape == 0 ? whole : (shape == 1 ? Part{0, 2 * k, 4, 2} : Part{2 * k, 0, 2, 4});
                int refs[2][2] = {{-1, -1}, {-1, -1}}, mvd[2][2][2] = {};
                for (int l = 0; l < lists; ++l)
                    for (int k = 0; k < parts; ++k)
                        if (pred[k] & (1 << l)) refs[l][k] = read_ref(l);
                for (int l = 0; l < lists; ++l)
                    for (int k = 0; k < parts; ++k)
                        if (pred[k] & (1 << l)) read_mvd(mvd[l][k][0], mvd[l][k][1]);
                b.check();
                for (int k = 0; k < parts; ++k) {
                    for (int l = 0; l < 2; ++l) {
                        if (!(pred[k] & (1 << l))) {
                            ctx.store(l, pp[k], -1, 0, 0);
                            continue;
                        }
                        need_refs(l, refs[l][k]);
                        int mvx, mvy;
                        ctx.predict(l, refs[l][k], pp[k], shape, k, mvx, mvy);
                        ctx.store(l, pp[k], refs[l][k], clamp_mv(mvx + mvd[l][k][0]), clamp_mv(mvy + mvd[l][k][1]));
                    }
                    predict_part(*this, pp[k]);
                }
            }
        }
    }

    if (m.kind != kMbIntra16x16) {
        const Zep32u code = b.ue(47, "coded_block_pattern");
        cbp = m.kind == kMbIntra4x4 ? kCbpIntra[code] : kCbpInter[code];
    }
    if (cbp != 0 || m.kind == kMbIntra16x16) {
        const int delta = b.se(-26, 25, "mb_qp_delta");
        qp = (qp + delta + 52) % 52;
    }
    m.qp = static_cast<int8_t>(qp);

    // ---- residual ----
    Zep16s* lp = coeff_luma;
    Zep32u luma_cbp = 0;
    auto block = [&](Zep16s** pp, int nc, int max_coeffs) {
        Zep16s n = 0;
        if (zepiDecodeCAVLCCoeffs_H264_1u16s(b.word(), b.offset(), &n, pp, nc, static_cast<Zep16s>(max_coeffs),
                                             coeff_token, total_zeros, run_before, kZigzag) != zepStatusOk)
            fail("corrupt residual block");
        b.guard();
        return static_cast<int>(n);
    };
    if (m.kind == kMbIntra16x16) {
        if (block(&lp, nc_luma(*this, m, 0, 0), 16) > 0) luma_cbp |= 1;
    }
    for (int q = 0; q < 4; ++q) {
        if (!(cbp & (1 << q))) continue;
        for (int k = 4 * q; k < 4 * q + 4; ++k) {
            const int x = kBlkX[k], y = kBlkY[k];
            const int n = block(&lp, nc_luma(*this, m, x, y), m.kind == kMbIntra16x16 ? 15 : 16);
            m.nz[y * 4 + x] = static_cast<uint8_t>(n);
            if (n > 0) luma_cbp |= 2u << k;
        }
    }
    Zep16s* cp = coeff_chroma;
    Zep32u chroma_cbp = 0;
    const int cbp_c = cbp >> 4;
    if (cbp_c > 2) fail("coded_block_pattern chroma out of range");
    if (cbp_c >= 1) {
        for (int c = 0; c < 2; ++c) {
            Zep16s n = 0;
            if (zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s(b.word(), b.offset(), &n, &cp, coeff_token_dc, total_zeros_dc,
                                                         run_before) != zepStatusOk)
                fail("corrupt chroma DC block");
            b.guard();
            if (n > 0) chroma_cbp |= 1u << c;
        }
    }
    if (cbp_c == 2) {
        for (int c = 0; c < 2; ++c)
            for (int k = 0; k < 4; ++k) {
                const int n = block(&cp, nc_chroma(*this, m, c, k & 1, k >> 1), 15);
                m.nzc[c][k] = static_cast<uint8_t>(n);
                if (n > 0) chroma_cbp |= 4u << (4 * c + k);
            }
    }
    b.check();

    // ---- reconstruction ----
    uint8_t* py = pic.y + static_cast<ptrdiff_t>(mb_y * 16) * pic.stride + mb_x * 16;
    const ptrdiff_t coff = static_cast<ptrdiff_t>(mb_y * 8) * pic.stride_c + mb_x * 8;
    const int qpc[2] = {kChromaQp[clip3(0, 51, qp + pps->chroma_qp_offset[0])],
                        kChromaQp[clip3(0, 51, qp + pps->chroma_qp_offset[1])]};
    Zep16s* rp = coeff_luma;
    Zep16s* rc = coeff_chroma;
    ZepStatus st = zepStatusOk, stc = zepStatusOk;
    if (intra) {
        const bool ci = pps->constrained_intra_pred;
        auto avail = [&](int dx, int dy) {
            const MbState* n = neighbour(mb_x + dx, mb_y + dy);
            return n && (!ci || n->intra());
        };
        const Zep8u edges = static_cast<Zep8u>((avail(-1, 0) ? 0 : 1) | (avail(0, -1) ? 0 : 4) |
                                               (avail(-1, -1) ? 0 : 16) | (avail(1, -1) ? 0 : 32));
        if (m.kind == kMbIntra4x4)
            st = zepiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&rp, py, static_cast<Zep32u>(pic.stride), modes,
                                                              static_cast<Zep32s>(luma_cbp), static_cast<Zep32u>(qp),
                                                              edges, level_scale[qp % 6], 0);
        else
            st = zepiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&rp, py, static_cast<Zep32u>(pic.stride),
                                                                static_cast<Zep32u>(i16_mode), luma_cbp, qp, edges,
                                                                level_scale[qp % 6], 0);
        stc = zepiReconstructChromaIntraMB_H264_16s8u_P2R(&rc, pic.cb + coff, pic.cr + coff,
                                                          static_cast<Zep32u>(pic.stride_c),
                                                          static_cast<Zep32u>(chroma_mode), chroma_cbp, qpc[0], qpc[1],
                                                          edges, level_scale[0], level_scale[0], 0);
    } else {
        if (luma_cbp)
            st = zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(&rp, py, static_cast<Zep32u>(pic.stride), luma_cbp, qp,
                                                              level_scale[qp % 6], 0);
        if (chroma_cbp)
            stc = zepiReconstructChromaInterMB_H264_16s8u_P2R(&rc, pic.cb + coff, pic.cr + coff,
                                                              static_cast<Zep32u>(pic.stride_c), chroma_cbp, qpc[0],
                                                              qpc[1], level_scale[0], level_scale[0], 0);
    }
    // A positive status is the 4x4 reconstruction noting a DC block with no neighbours (128, as it should be).
    if (st < 0 || stc < 0) fail("intra prediction from a neighbour that is not available");
}

}  // namespace zdec::h264
