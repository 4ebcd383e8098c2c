// H.263: picture and GOB headers, macroblocks, motion vectors, reference.
#include "h263/h263.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "h263/common.h"

namespace zdec::h263 {
namespace {

struct MbInfo {
    bool coded = false, intra = false;
    int quant = 0, cbp = 0, vectors = 1;
    int mv[4][2] = {};  // per 8x8 luma block, half samples
    // Annex I: the reconstructed first row and first column of each block (for prediction).
    int16_t row[6][8] = {}, col[6][8] = {};
};

}  // namespace

struct Decoder::Impl {
    Decoder* self = nullptr;
    Bits bits;
    VlcTable mcbpc_i{value_codes(kMcbpcI), {9}}, mcbpc_p{value_codes(kMcbpcP), {6, 7}}, cbpy{value_codes(kCbpy), {6}}, mvd;
    Frame frames[2];
    Frame *cur = nullptr, *ref = nullptr;
    int width = 0, height = 0, mbw = 0, mbh = 0;
    std::vector<MbInfo> mbs;
    // Picture state.
    bool intra_pic = true, umv = false, ap = false, aic = false, df = false, mq = false, plus_umv = false, ss = false;
    int rounding = 0, quant = 1, gob_row0 = 0;
    bool have_ref = false;
    // A row's coefficients (six blocks a macroblock): reconstruction waits for the row to be parsed,
    // as overlapped compensation needs the vectors of the macroblock to the right.
    std::vector<Zep16s> row_coef;

    Impl() {
        mvd = VlcTable(motion_codes(32), {7, 6});
    }

    bool find_psc() {
        while (bits.pos() + 22 <= bits.size()) {
            if (bits.peek(22) == 0x20) return true;
            bits.skip(1);
        }
        return false;
    }

    void picture() {
        Bits& b = bits;
        b.skip(22);
        b.skip(8);  // TR
        if (b.u(2) != 2) fail("PTYPE does not start with 1 0");
        b.skip(3);  // split screen, document camera, freeze release
        int format = static_cast<int>(b.u(3));
        int w = 0, h = 0;
        umv = ap = aic = df = mq = plus_umv = ss = false;
        opp_this_picture = false;
        rounding = 0;
        static const int kSizes[6][2] = {{0, 0}, {128, 96}, {176, 144}, {352, 288}, {704, 576}, {1408, 1152}};
        if (format >= 1 && format <= 5) {
            w = kSizes[format][0];
            h = kSizes[format][1];
            intra_pic = b.u(1) == 0;
            umv = b.flag();
            if (b.flag()) throw Unsupported("arithmetic coding (Annex E)");
            ap = b.flag();
            if (b.flag()) throw Unsupported("PB-frames (Annex G)");
        } else if (format == 7) {
            opp_this_picture = true;
            const int ufep = static_cast<int>(b.u(3));
            if (ufep == 1) {
                format = static_cast<int>(b.u(3));
                const bool custom_pcf = b.flag();
                plus_umv = umv = b.flag();
                if (b.flag()) throw Unsupported("arithmetic coding (Annex E)");
                ap = b.flag();
                aic = b.flag();
                df = b.flag();
                ss = b.flag();
                if (b.flag()) throw Unsupported("reference picture selection (Annex N)");
                if (b.flag()) throw Unsupported("independent segment decoding (Annex R)");
                if (b.flag()) throw Unsupported("alternative inter VLC (Annex S)");
                mq = b.flag();
                if (b.u(4) != 8) fail("OPPTYPE marker bits");
                opp = {format, custom_pcf, umv, ap, aic, df, mq, ss};
                have_opp = true;
            } else if (ufep == 0 && have_opp) {
                format = opp.format;
                plus_umv = umv = opp.umv;
                ap = opp.ap;
                aic = opp.aic;
                df = opp.df;
                mq = opp.mq;
                ss = opp.ss;
            } else {
                fail("PLUSPTYPE without its picture options");
            }
            const int type = static_cast<int>(b.u(3));
            if (type > 1) throw Unsupported("PB, B and scalability pictures");
            intra_pic = type == 0;
            if (b.flag()) throw Unsupported("reference picture resampling (Annex P)");
            if (b.flag()) throw Unsupported("reduced-resolution update (Annex Q)");
            rounding = static_cast<int>(b.u(1));
            if (b.u(3) != 1) fail("MPPTYPE marker bits");
            if (b.flag()) throw Unsupported("continuous presence multipoint");
            if (format == 6) {
                if (ufep != 1) fail("custom picture format without its size");
                const int par = static_cast<int>(b.u(4));
                w = (static_cast<int>(b.u(9)) + 1) * 4;
                if (!b.flag()) fail("CPFMT marker bit");
                h = static_cast<int>(b.u(9)) * 4;
                if (par == 15) b.skip(16);
                custom_w = w;
                custom_h = h;
            } else if (format >= 1 && format <= 5) {
                w = kSizes[format][0];
                h = kSizes[format][1];
            } else if (format == 6 || (ufep == 0 && custom_w)) {
                w = custom_w;
                h = custom_h;
            } else {
                fail("invalid source format");
            }
            if (ufep == 0 && opp.format == 6) {
                w = custom_w;
                h = custom_h;
            }
            if (opp.custom_pcf) {
                if (ufep == 1) b.skip(8);  // clock conversion code
                b.skip(2);                 // extended temporal reference
            }
            if (plus_umv && ufep == 1 && !b.flag()) b.skip(1);  // UUI: 1 unlimited, 01 limited range
            if (ss && ufep == 1 && b.u(2) != 0) throw Unsupported("rectangular or arbitrarily ordered slices");
        } else {
            fail("invalid source format");
        }
        if (w < 16 || h < 16) fail("invalid picture size");
        quant = static_cast<int>(b.u(5));
        if (quant == 0) fail("PQUANT 0");
        // Without PLUSPTYPE the CPM bit follows PQUANT (with it, it followed PLUSPTYPE).
        if (!opp_this_picture && b.flag()) throw Unsupported("continuous presence multipoint");
        while (b.flag()) b.skip(8);  // PEI / PSPARE
        if (!intra_pic && !have_ref) fail("P picture without a reference picture");
        set_size(w, h);
        if (ss) {
            // The first slice's header: marker, its macroblock address (0), marker(s).
            if (!b.flag()) fail("slice header marker bit");
            if (b.u(mba_bits()) != 0) throw Unsupported("slices that do not start a macroblock row");
            if (mbw * mbh > 1583 && !b.flag()) fail("slice header marker bit");
            if (!b.flag()) fail("slice header marker bit");
        }
        gob_row0 = 0;
        for (MbInfo& m : mbs) m = MbInfo{};
        for (int my = 0; my < mbh; ++my) {
            if (my > 0) gob_header(my);
            for (int mx = 0; mx < mbw; ++mx) {
                macroblock(mx, my);
                b.check();
            }
            for (int mx = 0; mx < mbw; ++mx) reconstruct(mx, my);
        }
        if (df) deblock();
        cur->pad();
        if (self->on_frame) self->on_frame(FrameOut{cur->y, cur->cb, cur->cr, cur->stride, cur->stride_c, width, height});
        std::swap(cur, ref);
        have_ref = true;
    }

    struct Opp {
        int format = 0;
        bool custom_pcf = false, umv = false, ap = false, aic = false, df = false, mq = false, ss = false;
    } opp;
    bool have_opp = false, opp_this_picture = false;
    int custom_w = 0, custom_h = 0;

    void set_size(int w, int h) {
        if (w == width && h == height) return;
        const int mw = (w + 15) / 16, mh = (h + 15) / 16;
        if (mw * mh > self->max_mbs) fail("picture too large");
        if (have_ref) fail("picture size changed between pictures");
        width = w;
        height = h;
        mbw = mw;
        mbh = mh;
        for (Frame& f : frames) f.allocate(mbw, mbh);
        cur = &frames[0];
        ref = &frames[1];
        mbs.assign(static_cast<size_t>(mbw * mbh), MbInfo{});
        row_coef.assign(static_cast<size_t>(mbw) * 384, 0);
    }

    // Bits of a slice's macroblock address, by the number of macroblocks.
    int mba_bits() const {
        static const int kLimit[6] = {47, 98, 395, 1583, 6335, 9215}, kBits[6] = {6, 7, 9, 11, 13, 14};
        for (int i = 0; i < 6; ++i)
            if (mbw * mbh - 1 <= kLimit[i]) return kBits[i];
        return 14;
    }

    // An optional GOB header before macroblock row my (GOBs are one row up to CIF).
    void gob_header(int my) {
        Bits& b = bits;
        // Up to seven stuffing zeros may align the start code.
        const size_t start = b.pos();
        int zeros = 0;
        while (zeros < 8 && b.pos() + 17 <= b.size() && b.peek(17) != 1 && b.peek(1) == 0) {
            b.skip(1);
            ++zeros;
        }
        if (b.pos() + 17 > b.size() || b.peek(17) != 1) {
            b.set_pos(start);
            return;
        }
        b.skip(17);
        if (ss) {
            // Slice header (slices in order, each starting a macroblock row here).
            if (!b.flag()) fail("slice header marker bit");
            const int mbs_total = mbw * mbh;
            const int mba = static_cast<int>(b.u(mba_bits()));
            if (mbs_total > 1583 && !b.flag()) fail("slice header marker bit");
            quant = static_cast<int>(b.u(5));
            if (quant == 0) fail("SQUANT 0");
            if (!b.flag()) fail("slice header marker bit");
            b.skip(2);  // GFID
            if (mba != my * mbw) throw Unsupported("slices that do not start a macroblock row");
            gob_row0 = my;
            return;
        }
        const int rows = height <= 288 ? 1 : (height <= 576 ? 2 : 4);
        const int gn = static_cast<int>(b.u(5));
        if (gn * rows != my) fail("GOB number out of order");
        b.skip(2);  // GFID
        quant = static_cast<int>(b.u(5));
        if (quant == 0) fail("GQUANT 0");
        gob_row0 = my;
    }

    // Candidate motion vector of luma block (bx, by) in block units; false when outside the picture.
    bool block_mv(int bx, int by, int mv[2]) const {
        if (bx < 0 || by < 0 || bx >= 2 * mbw || by >= 2 * mbh) return false;
        const MbInfo& m = mbs[static_cast<size_t>((by / 2) * mbw + bx / 2)];
        const int k = (by % 2) * 2 + bx % 2;
        mv[0] = m.intra || !m.coded ? 0 : m.mv[k][0];
        mv[1] = m.intra || !m.coded ? 0 : m.mv[k][1];
        return true;
    }

    // Median of the left, above and above-right candidates of luma block k (the fourth block, whose
    // above-right lies in a macroblock not yet decoded, takes its above-left instead).
    void predict_mv(int mx, int my, int k, int pred[2]) const {
        const int bx = 2 * mx + (k & 1), by = 2 * my + (k >> 1);
        int a[2] = {0, 0}, b2[2] = {0, 0}, c[2] = {0, 0};
        if (!block_mv(bx - 1, by, a)) a[0] = a[1] = 0;
        const bool above_out = k < 2 && (my == 0 || my == gob_row0);
        if (above_out) {
            b2[0] = c[0] = a[0];
            b2[1] = c[1] = a[1];
        } else {
            block_mv(bx, by - 1, b2);
            const int cx = k == 0 ? bx + 2 : (k == 3 ? bx - 1 : bx + 1);
            if (!block_mv(cx, by - 1, c)) c[0] = c[1] = 0;
        }
        for (int t = 0; t < 2; ++t)
            pred[t] = std::max(std::min(a[t], b2[t]), std::min(std::max(a[t], b2[t]), c[t]));
    }

    int read_mv(int pred) {
        if (plus_umv) {
            // H.263+ unrestricted vectors: a reversible code, 1 for zero, else 0 then bits of
            // 1x (x the next magnitude bit) interleaved with continuation flags, the last bit the sign.
            Bits& b = bits;
            if (b.flag()) return pred;
            int code = 2 + static_cast<int>(b.u(1));
            while (b.flag()) {
                code = code * 2 + static_cast<int>(b.u(1));
                if (code >= 32768) fail("vector difference out of range");
            }
            const int mag = code >> 1;
            return code & 1 ? pred - mag : pred + mag;
        }
        const int d = mvd.decode(bits, "MVD");
        int v = pred + d;
        if (!umv) {
            if (v < -32) v += 64;
            if (v > 31) v -= 64;
        } else if (pred < -31 && d < 0) {
            v += 64;
        } else if (pred > 32 && d > 0) {
            v -= 64;
        }
        return v;
    }

    void macroblock(int mx, int my) {
        Bits& b = bits;
        MbInfo& m = mbs[static_cast<size_t>(my * mbw + mx)];
        int mcbpc;
        for (;;) {
            if (!intra_pic && b.flag()) {  // COD: not coded
                m.coded = false;
                m.quant = quant;
                return;
            }
            mcbpc = (intra_pic ? mcbpc_i : mcbpc_p).decode(b, "MCBPC");
            if (mcbpc != kStuffing) break;
        }
        m.coded = true;
        const int type = mcbpc / 4, cbpc = mcbpc % 4;
        m.intra = type == kIntra || type == kIntraQ;
        if ((type == kInter4V || type == kInter4VQ) && !ap) fail("four vectors without Annex F");
        int intra_mode = 0;
        if (m.intra && aic) {
            intra_mode = b.flag() ? 1 + static_cast<int>(b.u(1)) : 0;
        }
        const int y = cbpy.decode(b, "CBPY");
        // Blocks Y0..Y3, Cb, Cr from the most significant bit down.
        const int cbp = (m.intra ? y : 15 - y) << 2 | cbpc;
        if (type == kInterQ || type == kIntraQ || type == kInter4VQ) {
            if (mq) {
                if (b.flag()) quant += mq_change(quant, static_cast<int>(b.u(1)));
                else quant = static_cast<int>(b.u(5));
            } else {
                quant += kDquant[b.u(2)];
            }
            if (quant < 1 || quant > 31) fail("QUANT out of range");
        }
        m.quant = quant;
        if (!m.intra) {
            const int n = type == kInter4V || type == kInter4VQ ? 4 : 1;
            for (int k = 0; k < n; ++k) {
                int pred[2];
                predict_mv(mx, my, k, pred);
                m.mv[k][0] = read_mv(pred[0]);
                m.mv[k][1] = read_mv(pred[1]);
                // A stuffing bit after differences of (1, 1), which could otherwise start a start code.
                if (plus_umv && m.mv[k][0] - pred[0] == 1 && m.mv[k][1] - pred[1] == 1) b.skip(1);
                if (n == 1)
                    for (int j = 1; j < 4; ++j) m.mv[j][0] = m.mv[0][0], m.mv[j][1] = m.mv[0][1];
            }
            m.vectors = n;
        }
        m.cbp = cbp;
        decode_blocks(mx, m, cbp, intra_mode, my);
    }

    void reconstruct(int mx, int my) {
        const MbInfo& m = mbs[static_cast<size_t>(my * mbw + mx)];
        if (!m.coded) {
            predict_block16(mx, my, 0, 0);
            return;
        }
        if (!m.intra) {
            if (m.vectors == 4) predict_4v(mx, my, m);
            else predict_block16(mx, my, m.mv[0][0], m.mv[0][1]);
        }
        uint8_t* dy = cur->y + static_cast<ptrdiff_t>(my * 16) * cur->stride + mx * 16;
        const ptrdiff_t co = static_cast<ptrdiff_t>(my * 8) * cur->stride_c + mx * 8;
        for (int i = 0; i < 6; ++i) {
            Zep16s* c = row_coef.data() + static_cast<size_t>(mx) * 384 + static_cast<size_t>(i) * 64;
            uint8_t* dst = i < 4 ? dy + static_cast<ptrdiff_t>(8 * (i >> 1)) * cur->stride + 8 * (i & 1)
                                 : (i == 4 ? cur->cb : cur->cr) + co;
            const int step = i < 4 ? cur->stride : cur->stride_c;
            if (m.intra) zepiDCT8x8Inv_16s8u_C1R(c, dst, step);
            else if ((m.cbp >> (5 - i)) & 1) zepiDCT8x8InvAdd_16s8u_C1IR(c, dst, step);
        }
    }

    static int clip(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

    const uint8_t* ref_at(const uint8_t* plane, int stride, int x, int y, int w, int h, int pw, int ph) const {
        // Vectors may point outside (Annex D): the padding holds edge samples; beyond it clamping changes nothing.
        x = clip(x, -w - 2, pw + 1);
        y = clip(y, -h - 2, ph + 1);
        return plane + static_cast<ptrdiff_t>(y) * stride + x;
    }

    void predict_chroma(int mx, int my, int cvx, int cvy) {
        const int cx = mx * 8 + (cvx >> 1), cy = my * 8 + (cvy >> 1);
        const int acc = (cvx & 1) | ((cvy & 1) << 1);
        const ptrdiff_t d = static_cast<ptrdiff_t>(my * 8) * cur->stride_c + mx * 8;
        zepiCopy8x8HP_8u_C1R(ref_at(ref->cb, ref->stride_c, cx, cy, 8, 8, cur->w / 2, cur->h / 2), ref->stride_c,
                             cur->cb + d, cur->stride_c, acc, rounding);
        zepiCopy8x8HP_8u_C1R(ref_at(ref->cr, ref->stride_c, cx, cy, 8, 8, cur->w / 2, cur->h / 2), ref->stride_c,
                             cur->cr + d, cur->stride_c, acc, rounding);
    }

    void predict_block16(int mx, int my, int vx, int vy) {
        uint8_t* dst = cur->y + static_cast<ptrdiff_t>(my * 16) * cur->stride + mx * 16;
        if (ap) {
            for (int k = 0; k < 4; ++k) obmc_block(mx, my, k);
        } else {
            const int acc = (vx & 1) | ((vy & 1) << 1);
            zepiCopy16x16HP_8u_C1R(ref_at(ref->y, ref->stride, mx * 16 + (vx >> 1), my * 16 + (vy >> 1), 16, 16, cur->w,
                                          cur->h),
                                   ref->stride, dst, cur->stride, acc, rounding);
        }
        // Chroma vectors: a quarter-sample position rounds to the half sample.
        predict_chroma(mx, my, (vx >> 1) | (vx & 1), (vy >> 1) | (vy & 1));
    }

    void predict_4v(int mx, int my, const MbInfo& m) {
        for (int k = 0; k < 4; ++k) obmc_block(mx, my, k);
        // Chroma from the sum of the four vectors, sixteenths rounded to the half sample.
        static const int kRound16[16] = {0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2};
        int c[2];
        for (int t = 0; t < 2; ++t) {
            const int s = m.mv[0][t] + m.mv[1][t] + m.mv[2][t] + m.mv[3][t];
            const int a = std::abs(s);
            const int v = (a >> 4) * 2 + kRound16[a & 15];
            c[t] = s < 0 ? -v : v;
        }
        predict_chroma(mx, my, c[0], c[1]);
    }

    // One 8x8 luma block with its own vector, overlapped with its neighbours' when Annex F is on.
    void obmc_block(int mx, int my, int k) {
        const MbInfo& m = mbs[static_cast<size_t>(my * mbw + mx)];
        const int bx = 2 * mx + (k & 1), by = 2 * my + (k >> 1);
        uint8_t* dst = cur->y + static_cast<ptrdiff_t>(by * 8) * cur->stride + bx * 8;
        const int own[2] = {m.coded ? m.mv[k][0] : 0, m.coded ? m.mv[k][1] : 0};
        auto src = [&](const int v[2]) {
            return ref_at(ref->y, ref->stride, bx * 8 + (v[0] >> 1), by * 8 + (v[1] >> 1), 8, 8, cur->w, cur->h);
        };
        auto acc = [](const int v[2]) { return (v[0] & 1) | ((v[1] & 1) << 1); };
        if (!ap) {
            zepiCopy8x8HP_8u_C1R(src(own), ref->stride, dst, cur->stride, acc(own), rounding);
            return;
        }
        // Remote vectors: a neighbour outside the picture or intra lends the block's own; the macroblock
        // below is not decoded yet, so the lower blocks use their own for it.
        int v[5][2];
        v[0][0] = own[0], v[0][1] = own[1];
        auto remote = [&](int nbx, int nby, int out[2]) {
            out[0] = own[0], out[1] = own[1];
            if (nbx < 0 || nby < 0 || nbx >= 2 * mbw || nby >= 2 * mbh) return;
            const MbInfo& n = mbs[static_cast<size_t>((nby / 2) * mbw + nbx / 2)];
            if (n.intra) return;
            const int j = (nby % 2) * 2 + nbx % 2;
            out[0] = n.coded ? n.mv[j][0] : 0;
            out[1] = n.coded ? n.mv[j][1] : 0;
        };
        remote(bx, by - 1, v[1]);                                   // above
        if (k < 2) remote(bx, by + 1, v[2]);                        // below, inside the macroblock
        else v[2][0] = own[0], v[2][1] = own[1];                    // below: not decoded yet
        remote(bx - 1, by, v[3]);                                   // left
        if (k == 0 || k == 2) remote(bx + 1, by, v[4]);             // right, inside the macroblock
        else remote(bx + 1, by, v[4]);
        alignas(16) uint8_t pred[5][64];
        for (int i = 0; i < 5; ++i) zepiCopy8x8HP_8u_C1R(src(v[i]), ref->stride, pred[i], 8, acc(v[i]), rounding);
        zepiOBMC8x8_H263_8u_C1R(pred[0], 8, pred[1], 8, pred[2], 8, pred[3], 8, pred[4], 8, dst, cur->stride);
    }

    // Decodes (and for intra blocks predicts, Annex I) the coefficients of the coded blocks into the row store.
    // The escape's extended levels (-128 then eleven bits) are accepted whatever the modes: encoders write them
    // for levels beyond 127 even without modified quantisation, and a conforming stream never holds a -128
    // level otherwise.
    void decode_blocks(int mx, MbInfo& m, int cbp, int intra_mode, int my) {
        Bits& b = bits;
        const int scan = intra_mode == 1 ? 2 : (intra_mode == 2 ? 1 : 0);
        for (int i = 0; i < 6; ++i) {
            const bool coded = (cbp >> (5 - i)) & 1;
            const int q = i >= 4 && mq ? kMqChroma[quant] : quant;
            Zep16s* c = row_coef.data() + static_cast<size_t>(mx) * 384 + static_cast<size_t>(i) * 64;
            Zep32s last = 0;
            if (m.intra) {
                std::fill(c, c + 64, Zep16s{0});  // the library leaves a DC-only block's other entries alone
                if ((!aic || coded) && b.bytes_call([&](Zep8u** p, Zep32s* off) {
                        return zepiReconstructCoeffsIntra_H263_1u16s(p, off, c, &last, coded ? 1 : 0, q, aic ? 1 : 0,
                                                                     scan, 1);
                    }) < 0)
                    fail("corrupt intra block");
                if (aic) predict_ac_dc(mx, my, i, intra_mode, m, c);
            } else if (coded) {
                if (b.bytes_call([&](Zep8u** p, Zep32s* off) {
                        return zepiReconstructCoeffsInter_H263_1u16s(p, off, c, &last, q, 1);
                    }) < 0)
                    fail("corrupt inter block");
            }
        }
    }

    // Annex I: the first row (vertical mode), first column (horizontal) or DC of the block predicted from
    // its intra neighbours' reconstructed coefficients, clipped to the coefficient range.
    void predict_ac_dc(int mx, int my, int i, int mode, MbInfo& m, Zep16s* coef) {
        const MbInfo* left = nullptr;
        const MbInfo* above = nullptr;
        int li = -1, ai = -1;
        if (i < 4) {
            if (i & 1) left = &m, li = i - 1;
            else if (mx > 0) left = &mbs[static_cast<size_t>(my * mbw + mx - 1)], li = i + 1;
            if (i & 2) above = &m, ai = i - 2;
            else if (my > gob_row0) above = &mbs[static_cast<size_t>((my - 1) * mbw + mx)], ai = i + 2;
        } else {
            if (mx > 0) left = &mbs[static_cast<size_t>(my * mbw + mx - 1)], li = i;
            if (my > gob_row0) above = &mbs[static_cast<size_t>((my - 1) * mbw + mx)], ai = i;
        }
        if (left && !(left->intra && left->coded)) left = nullptr;
        if (above && !(above->intra && above->coded)) above = nullptr;
        auto clip_c = [](int v) { return static_cast<Zep16s>(v < -2048 ? -2048 : (v > 2047 ? 2047 : v)); };
        if (mode == 0) {
            int dc;
            if (left && above) dc = (left->col[li][0] + above->row[ai][0]) >> 1;
            else if (left) dc = left->col[li][0];
            else if (above) dc = above->row[ai][0];
            else dc = 1024;
            coef[0] = clip_c(coef[0] + dc);
        } else if (mode == 1) {
            for (int u = 0; u < 8; ++u) coef[u] = clip_c(coef[u] + (above ? above->row[ai][u] : (u ? 0 : 1024)));
        } else {
            for (int v = 0; v < 8; ++v) coef[8 * v] = clip_c(coef[8 * v] + (left ? left->col[li][v] : (v ? 0 : 1024)));
        }
        for (int u = 0; u < 64; ++u) coef[u] = clip_c(coef[u]);
        // The DC is kept odd and not negative.
        coef[0] = static_cast<Zep16s>(coef[0] < 0 ? 0 : (coef[0] | 1));
        for (int u = 0; u < 8; ++u) m.row[i][u] = coef[u], m.col[i][u] = coef[8 * u];
    }

    // Annex J across every 8x8 block edge inside the picture: horizontal edges, then vertical ones, each with
    // the QUANT of the macroblock below or right of it (or of the other one when that one was not coded).
    void deblock() {
        auto q_at = [&](int bx, int by) -> const MbInfo& { return mbs[static_cast<size_t>((by / 2) * mbw + bx / 2)]; };
        auto edge_q = [&](const MbInfo& a, const MbInfo& b2, int plane) {
            const MbInfo& m = b2.coded ? b2 : a;
            return plane && mq ? kMqChroma[m.quant] : m.quant;
        };
        for (int plane = 0; plane < 3; ++plane) {
            uint8_t* base = plane == 0 ? cur->y : (plane == 1 ? cur->cb : cur->cr);
            const int stride = plane ? cur->stride_c : cur->stride;
            const int nbx = plane ? mbw : 2 * mbw, nby = plane ? mbh : 2 * mbh;
            const int s = plane ? 2 : 1;  // chroma blocks span a macroblock
            for (int by = 1; by < nby; ++by)
                for (int bx = 0; bx < nbx; ++bx) {
                    const int q = edge_q(q_at(bx * s, (by - 1) * s), q_at(bx * s, by * s), plane);
                    if (!q_at(bx * s, (by - 1) * s).coded && !q_at(bx * s, by * s).coded) continue;
                    zepiFilterDeblocking8x8HorEdge_H263_8u_C1IR(base + static_cast<ptrdiff_t>(by * 8) * stride + bx * 8,
                                                                 stride, q);
                }
            for (int by = 0; by < nby; ++by)
                for (int bx = 1; bx < nbx; ++bx) {
                    const int q = edge_q(q_at((bx - 1) * s, by * s), q_at(bx * s, by * s), plane);
                    if (!q_at((bx - 1) * s, by * s).coded && !q_at(bx * s, by * s).coded) continue;
                    zepiFilterDeblocking8x8VerEdge_H263_8u_C1IR(base + static_cast<ptrdiff_t>(by * 8) * stride + bx * 8,
                                                                 stride, q);
                }
        }
    }
};

Decoder::Decoder() : impl_(std::make_unique<Impl>()) { impl_->self = this; }
Decoder::~Decoder() = default;

void Decoder::decode_stream(const uint8_t* data, size_t size) {
    Impl& d = *impl_;
    d.bits.load_plain(data, size);
    if (!d.find_psc()) fail("no picture start code: not an H.263 stream");
    do {
        d.picture();
    } while (d.find_psc());
}

}  // namespace zdec::h263
