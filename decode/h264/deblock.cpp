// The deblocking filter: boundary strengths and thresholds per macroblock;
// the filtering itself is the library's.
#include <cstdlib>

#include "h264/impl.h"

namespace zdec::h264 {
namespace {

constexpr uint8_t kAlpha[52] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,   0,   0,   0,   0,   0,   4,   4,
                                5,  6,  7,  8,  9,  10, 12, 13, 15, 17, 20,  22,  25,  28,  32,  36,  40,  45,
                                50, 56, 63, 71, 80, 90, 101, 113, 127, 144, 162, 182, 203, 226, 255, 255};
constexpr uint8_t kBeta[52] = {0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,  0,  0,  0,  0,  2,  2,
                               2, 3, 3, 3, 3, 4, 4, 4, 6,  6,  7,  7,  8,  8,  9,  9,  10, 10,
                               11, 11, 12, 12, 13, 13, 14, 14, 15, 15, 16, 16, 17, 17, 18, 18};
// tC0 by indexA for bS 1, 2, 3.
constexpr uint8_t kTc0[52][3] = {
    {0, 0, 0},  {0, 0, 0},   {0, 0, 0},   {0, 0, 0},   {0, 0, 0},  {0, 0, 0},  {0, 0, 0},  {0, 0, 0},
    {0, 0, 0},  {0, 0, 0},   {0, 0, 0},   {0, 0, 0},   {0, 0, 0},  {0, 0, 0},  {0, 0, 0},  {0, 0, 0},
    {0, 0, 0},  {0, 0, 1},   {0, 0, 1},   {0, 0, 1},   {0, 0, 1},  {0, 1, 1},  {0, 1, 1},  {1, 1, 1},
    {1, 1, 1},  {1, 1, 1},   {1, 1, 1},   {1, 1, 2},   {1, 1, 2},  {1, 1, 2},  {1, 1, 2},  {1, 2, 3},
    {1, 2, 3},  {2, 2, 3},   {2, 2, 4},   {2, 3, 4},   {2, 3, 4},  {3, 3, 5},  {3, 4, 6},  {3, 4, 6},
    {4, 5, 7},  {4, 5, 8},   {4, 6, 9},   {5, 7, 10},  {6, 8, 11}, {6, 8, 13}, {7, 10, 14}, {8, 11, 16},
    {9, 12, 18}, {10, 13, 20}, {11, 15, 23}, {13, 17, 25}};

constexpr uint8_t kChromaQp[52] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17,
                                   18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 29, 30, 31, 32, 32, 33,
                                   34, 34, 35, 35, 36, 36, 37, 37, 37, 38, 38, 38, 39, 39, 39, 39};

bool mv_far(const Picture& p, int la, size_t a, int lb, size_t b) {
    return std::abs(p.mv[la][2 * a] - p.mv[lb][2 * b]) >= 4 || std::abs(p.mv[la][2 * a + 1] - p.mv[lb][2 * b + 1]) >= 4;
}

uint32_t mv_bits(const Picture& pic, int l, size_t b) {
    uint32_t v;
    std::memcpy(&v, &pic.mv[l][2 * b], sizeof v);
    return v;
}

// bS 0 or 1 of two inter blocks from their references and motion.
int motion_bs(const Picture& pic, size_t p, size_t q) {
    // Blocks of one partition (the common case) share everything.
    if (pic.ref_id[0][p] == pic.ref_id[0][q] && pic.ref_id[1][p] == pic.ref_id[1][q] &&
        mv_bits(pic, 0, p) == mv_bits(pic, 0, q) && mv_bits(pic, 1, p) == mv_bits(pic, 1, q))
        return 0;
    const int32_t p0 = pic.ref_id[0][p], p1 = pic.ref_id[1][p], q0 = pic.ref_id[0][q], q1 = pic.ref_id[1][q];
    const int np = (p0 >= 0) + (p1 >= 0), nq = (q0 >= 0) + (q1 >= 0);
    if (np != nq) return 1;
    if (np == 1) {
        const int lp = p0 >= 0 ? 0 : 1, lq = q0 >= 0 ? 0 : 1;
        if ((lp ? p1 : p0) != (lq ? q1 : q0)) return 1;
        return mv_far(pic, lp, p, lq, q) ? 1 : 0;
    }
    if (!((p0 == q0 && p1 == q1) || (p0 == q1 && p1 == q0))) return 1;
    const bool straight = mv_far(pic, 0, p, 0, q) || mv_far(pic, 1, p, 1, q);
    const bool cross = mv_far(pic, 0, p, 1, q) || mv_far(pic, 1, p, 0, q);
    if (p0 != p1) return (p0 == q0 ? straight : cross) ? 1 : 0;
    return (straight && cross) ? 1 : 0;
}

}  // namespace

void Decoder::Impl::deblock_picture() {
    Picture& pic = *cur;
    for (int my = 0; my < mbh; ++my)
        for (int mx = 0; mx < mbw; ++mx) {
            const MbState& q = mbs[static_cast<size_t>(my * mbw + mx)];
            const SliceInfo& si = slices[static_cast<size_t>(q.slice)];
            if (si.disable == 1) continue;
            for (int dir = 0; dir < 2; ++dir) {  // 0 vertical edges, 1 horizontal
                const int nx = dir ? mx : mx - 1, ny = dir ? my - 1 : my;
                const MbState* p = nullptr;
                if (nx >= 0 && ny >= 0) {
                    p = &mbs[static_cast<size_t>(ny * mbw + nx)];
                    if (si.disable == 2 && p->slice != q.slice) p = nullptr;
                }
                Zep8u bs[16];
                bool any = false;
                for (int e = 0; e < 4; ++e)
                    for (int s = 0; s < 4; ++s) {
                        // q block (x, y) in the macroblock and its p neighbour.
                        const int x = dir ? s : e, y = dir ? e : s;
                        int v = 0;
                        const MbState* pm = e == 0 ? p : &q;
                        if (pm) {
                            const int px = dir ? x : (e == 0 ? 3 : x - 1), py = dir ? (e == 0 ? 3 : y - 1) : y;
                            if (pm->intra() || q.intra()) {
                                v = e == 0 ? 4 : 3;
                            } else if (pm->nz[py * 4 + px] || q.nz[y * 4 + x]) {
                                v = 2;
                            } else {
                                const int pmx = e == 0 ? nx : mx, pmy = e == 0 ? ny : my;
                                v = motion_bs(pic, blk4(pmx * 4 + px, pmy * 4 + py), blk4(mx * 4 + x, my * 4 + y));
                            }
                        }
                        bs[4 * e + s] = static_cast<Zep8u>(v);
                        any |= v != 0;
                    }
                if (!any) continue;
                // Thresholds: edge 0 from the average QP of both macroblocks, the inner edges from q's own.
                Zep8u alpha[2], beta[2], tc[16], alpha_c[2][2], beta_c[2][2], tc_c[2][16];
                int index_a[2], index_ac[2][2];
                for (int k = 0; k < 2; ++k) {
                    const int qp_p = k == 0 && p ? p->qp : q.qp;
                    const int qav = (qp_p + q.qp + 1) >> 1;
                    index_a[k] = clip3(0, 51, qav + si.alpha_offset);
                    alpha[k] = kAlpha[index_a[k]];
                    beta[k] = kBeta[clip3(0, 51, qav + si.beta_offset)];
                    for (int c = 0; c < 2; ++c) {
                        const int cp = kChromaQp[clip3(0, 51, qp_p + si.chroma_qp_offset[c])];
                        const int cq = kChromaQp[clip3(0, 51, q.qp + si.chroma_qp_offset[c])];
                        const int cav = (cp + cq + 1) >> 1;
                        index_ac[c][k] = clip3(0, 51, cav + si.alpha_offset);
                        alpha_c[c][k] = kAlpha[index_ac[c][k]];
                        beta_c[c][k] = kBeta[clip3(0, 51, cav + si.beta_offset)];
                    }
                }
                for (int i = 0; i < 16; ++i) {
                    const int k = i < 4 ? 0 : 1, v = bs[i];
                    tc[i] = v >= 1 && v <= 3 ? kTc0[index_a[k]][v - 1] : 0;
                    for (int c = 0; c < 2; ++c) tc_c[c][i] = v >= 1 && v <= 3 ? kTc0[index_ac[c][k]][v - 1] : 0;
                }
                uint8_t* py = pic.y + static_cast<ptrdiff_t>(my * 16) * pic.stride + mx * 16;
                const ptrdiff_t co = static_cast<ptrdiff_t>(my * 8) * pic.stride_c + mx * 8;
                if (dir == 0) {
                    zepiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(py, pic.stride, alpha, beta, tc, bs);
                    zepiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(pic.cb + co, pic.stride_c, alpha_c[0], beta_c[0],
                                                                    tc_c[0], bs);
                    zepiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(pic.cr + co, pic.stride_c, alpha_c[1], beta_c[1],
                                                                    tc_c[1], bs);
                } else {
                    zepiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(py, pic.stride, alpha, beta, tc, bs);
                    zepiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(pic.cb + co, pic.stride_c, alpha_c[0], beta_c[0],
                                                                    tc_c[0], bs);
                    zepiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(pic.cr + co, pic.stride_c, alpha_c[1], beta_c[1],
                                                                    tc_c[1], bs);
                }
            }
        }
}

}  // namespace zdec::h264
