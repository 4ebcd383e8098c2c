// MPEG-4 Part 2: object layer and VOP headers, video packets, macroblocks,
// DC/AC prediction and motion vectors.
#include "mpeg4/mpeg4.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

#include "h263/common.h"
#include "mpeg2/code_tables.h"

namespace zdec::mpeg4 {
namespace {

using h263::Frame;
using mpeg2::kZigzag;  // the 8x8 zig-zag, shared with MPEG-1/2

constexpr uint8_t kDefaultIntra[64] = {8,  17, 18, 19, 21, 23, 25, 27, 17, 18, 19, 21, 23, 25, 27, 28,
                                       20, 21, 22, 23, 24, 26, 28, 30, 21, 22, 23, 24, 26, 28, 30, 32,
                                       22, 23, 24, 26, 28, 30, 32, 35, 23, 24, 26, 28, 30, 32, 35, 38,
                                       25, 26, 28, 30, 32, 35, 38, 41, 27, 28, 30, 32, 35, 38, 41, 45};
constexpr uint8_t kDefaultInter[64] = {16, 17, 18, 19, 20, 21, 22, 23, 17, 18, 19, 20, 21, 22, 23, 24,
                                       18, 19, 20, 21, 22, 23, 24, 25, 19, 20, 21, 22, 23, 24, 26, 27,
                                       20, 21, 22, 23, 25, 26, 27, 28, 21, 22, 23, 24, 26, 27, 28, 30,
                                       22, 23, 24, 26, 27, 28, 30, 31, 23, 24, 25, 27, 28, 30, 31, 33};
// QP below which the intra DC has its own code, by intra_dc_vlc_thr.
constexpr int kDcVlcThreshold[8] = {99, 13, 15, 17, 19, 21, 23, 0};

int dc_scaler(int qp, bool luma) {
    if (qp <= 4) return 8;
    if (luma) return qp <= 8 ? 2 * qp : (qp <= 24 ? qp + 8 : 2 * qp - 16);
    return qp <= 24 ? (qp + 13) / 2 : qp - 6;
}

// Integer division rounding half away from zero.
int div_round(int a, int b) { return a >= 0 ? (a + b / 2) / b : -((-a + b / 2) / b); }

struct QuantRecord {
    std::vector<uint8_t> mem;
    void* get() { return mem.data(); }
};

struct MbInfo {
    int packet = -1;  // video packet it was decoded in; -1 not decoded
    bool intra = false, coded = false;
    int qp = 0;
    int mv[4][2] = {};
    // Per block: the reconstructed DC, and the first row and column of quantised coefficients (intra only).
    int dc[6] = {};
    int16_t row[6][8] = {}, col[6][8] = {};
};

}  // namespace

struct Decoder::Impl {
    Decoder* self = nullptr;
    Bits bits;
    VlcTable mcbpc_i{value_codes(h263::kMcbpcI), {9}}, mcbpc_p{value_codes(h263::kMcbpcP), {6, 7}},
        cbpy{value_codes(h263::kCbpy), {6}}, mvd;
    // Object layer.
    bool have_vol = false, mpeg_quant = false, resync = true, partitioned = false, rvlc = false;
    int width = 0, height = 0, mbw = 0, mbh = 0, time_bits = 1, quant_bits = 5;
    uint8_t intra_matrix[64], inter_matrix[64];
    QuantRecord intra_quant, inter_quant;
    // Frames and macroblocks.
    Frame frames[2];
    Frame *cur = nullptr, *ref = nullptr;
    bool have_ref = false;
    std::vector<MbInfo> mbs;
    // VOP state.
    bool intra_vop = true;
    int rounding = 0, fcode = 1, dc_thr = 0, qp = 1, packet = 0;
    alignas(16) Zep16s coef[64];
    static constexpr int kNoDc = -(1 << 20);
    bool found_marker = false;

    Impl() {
        mvd = VlcTable(motion_codes(32), {7, 6});
    }

    void vol() {
        Bits& b = bits;
        b.skip(1);  // random_accessible_vol
        b.skip(8);  // video_object_type_indication
        int verid = 1;
        if (b.flag()) {
            verid = static_cast<int>(b.u(4));
            b.skip(3);
        }
        if (b.u(4) == 15) b.skip(16);  // extended pixel aspect ratio
        if (b.flag()) {                // vol_control_parameters
            if (b.u(2) != 1) throw Unsupported("chroma formats other than 4:2:0");
            b.skip(1);  // low_delay
            if (b.flag()) b.skip(79);
        }
        if (b.u(2) != 0) throw Unsupported("shaped video objects");
        b.skip(1);
        const int resolution = static_cast<int>(b.u(16));
        if (resolution == 0) fail("vop_time_increment_resolution 0");
        time_bits = 1;
        while ((1 << time_bits) < resolution) ++time_bits;
        b.skip(1);
        if (b.flag()) b.skip(time_bits);  // fixed_vop_time_increment
        b.skip(1);
        const int w = static_cast<int>(b.u(13));
        b.skip(1);
        const int h = static_cast<int>(b.u(13));
        b.skip(1);
        if (b.flag()) throw Unsupported("interlaced video");
        b.skip(1);  // obmc_disable
        if (b.u(verid == 1 ? 1 : 2) != 0) throw Unsupported("sprites (global motion compensation)");
        quant_bits = 5;
        if (b.flag()) {  // not_8_bit
            quant_bits = static_cast<int>(b.u(4));
            if (b.u(4) != 8) throw Unsupported("samples of other than 8 bits");
        }
        mpeg_quant = b.flag();
        std::copy(kDefaultIntra, kDefaultIntra + 64, intra_matrix);
        std::copy(kDefaultInter, kDefaultInter + 64, inter_matrix);
        if (mpeg_quant) {
            if (b.flag()) load_matrix(intra_matrix);
            if (b.flag()) load_matrix(inter_matrix);
        }
        if (verid != 1 && b.flag()) throw Unsupported("quarter-sample motion (Advanced Simple)");
        if (!b.flag()) throw Unsupported("complexity estimation headers");
        resync = !b.flag();
        partitioned = b.flag();
        rvlc = partitioned && b.flag();
        if (verid != 1) {
            if (b.flag()) throw Unsupported("NEWPRED");
            if (b.flag()) throw Unsupported("reduced-resolution VOPs");
        }
        if (b.flag()) throw Unsupported("scalability");
        if (w < 16 || h < 16) fail("invalid picture size");
        const int mw = (w + 15) / 16, mh = (h + 15) / 16;
        if (mw * mh > self->max_mbs) fail("picture too large");
        width = w;
        height = h;
        mbw = mw;
        mbh = mh;
        for (Frame& f : frames) f.allocate(mbw, mbh);
        cur = &frames[0];
        ref = &frames[1];
        have_ref = false;
        mbs.assign(static_cast<size_t>(mbw * mbh), MbInfo{});
        init_quant(intra_quant, true);
        init_quant(inter_quant, false);
        have_vol = true;
    }

    // Up to 64 weights in zig-zag order; a 0 ends the list, the last weight filling the rest.
    void load_matrix(uint8_t* m) {
        int last = 0;
        for (int i = 0; i < 64; ++i) {
            const int v = static_cast<int>(bits.u(8));
            if (v == 0) {
                for (int j = i; j < 64; ++j) m[kZigzag[j]] = static_cast<uint8_t>(last);
                if (i == 0) fail("empty quantiser matrix");
                return;
            }
            m[kZigzag[i]] = static_cast<uint8_t>(last = v);
        }
    }

    void init_quant(QuantRecord& s, bool intra) {
        Zep32s size = 0;
        (intra ? zepiQuantInvIntraGetSize_MPEG4 : zepiQuantInvInterGetSize_MPEG4)(&size);
        s.mem.assign(static_cast<size_t>(size), 0);
        const uint8_t* m = mpeg_quant ? (intra ? intra_matrix : inter_matrix) : nullptr;
        if ((intra ? zepiQuantInvIntraInit_MPEG4 : zepiQuantInvInterInit_MPEG4)(m, s.get(), 8) != zepStatusOk)
            fail("invalid quantiser matrix");
    }

    void vop() {
        Bits& b = bits;
        if (!have_vol) fail("VOP before any video object layer header");
        const int type = static_cast<int>(b.u(2));
        if (type >= 2) throw Unsupported(type == 2 ? "B-VOPs" : "sprite VOPs");
        intra_vop = type == 0;
        while (b.flag()) {
        }  // modulo_time_base
        b.skip(1);
        b.skip(time_bits);
        b.skip(1);
        if (!b.flag()) {  // not coded: the previous picture again
            if (have_ref) output(*ref);
            return;
        }
        if (!intra_vop && !have_ref) fail("P-VOP without a reference picture");
        rounding = intra_vop ? 0 : static_cast<int>(b.u(1));
        dc_thr = static_cast<int>(b.u(3));
        qp = static_cast<int>(b.u(quant_bits));
        if (qp == 0) fail("vop_quant 0");
        if (!intra_vop) {
            fcode = static_cast<int>(b.u(3));
            if (fcode == 0) fail("vop_fcode_forward 0");
        }
        for (MbInfo& m : mbs) m = MbInfo{};
        packet = 0;
        const int total = mbw * mbh;
        int addr = 0;
        if (partitioned) {
            while (addr < total) {
                if (addr > 0) {
                    found_marker = false;
                    addr = maybe_packet(addr);
                    if (!found_marker) fail("partitioned packet without a resync marker");
                }
                addr = partitioned_packet(addr);
            }
        }
        while (addr < total) {
            if (addr > 0 && resync) addr = maybe_packet(addr);
            macroblock(addr % mbw, addr / mbw);
            b.check();
            ++addr;
        }
        cur->pad();
        output(*cur);
        std::swap(cur, ref);
        have_ref = true;
    }

    void output(const Frame& f) {
        if (self->on_frame) self->on_frame(FrameOut{f.y, f.cb, f.cr, f.stride, f.stride_c, width, height});
    }

    // A resync marker after the stuffing that ends a video packet starts the next one: its header
    // gives the macroblock to continue from.
    int maybe_packet(int addr) {
        Bits& b = bits;
        const size_t pos = b.pos();
        const int n = 8 - static_cast<int>(pos % 8);
        const int zeros = intra_vop ? 16 : 15 + fcode;
        if (pos + static_cast<size_t>(n + zeros + 1) > b.size()) return addr;
        if (b.peek(n) != (1u << (n - 1)) - 1) return addr;
        b.skip(n);
        if (b.peek(zeros + 1) != 1) {
            b.set_pos(pos);
            return addr;
        }
        b.skip(zeros + 1);
        int num_bits = 1;
        while ((1 << num_bits) < mbw * mbh) ++num_bits;
        const int mb = static_cast<int>(b.u(num_bits));
        if (mb < addr || mb >= mbw * mbh) fail("video packet starts at an invalid macroblock");
        qp = static_cast<int>(b.u(quant_bits));
        if (qp == 0) fail("quant_scale 0");
        if (b.flag()) {  // header extension: the VOP's timing and coding parameters repeated
            while (b.flag()) {
            }
            b.skip(1 + time_bits + 1);
            b.skip(2);  // vop_coding_type
            dc_thr = static_cast<int>(b.u(3));
            if (!intra_vop) b.skip(3);
        }
        // Skipped-over macroblocks of a lost packet would stay unset; a conforming stream has none.
        for (int a = addr; a < mb; ++a) macroblock_not_coded(a % mbw, a / mbw);
        ++packet;
        found_marker = true;
        return mb;
    }

    // One data-partitioned video packet from macroblock addr: the first partition (macroblock types, and
    // the intra DCs of I-VOPs, or the vectors of P-VOPs) up to its marker, the second (AC prediction
    // flags, patterns, quantiser changes, and the intra DCs of P-VOPs), then every block's
    // coefficients, reversible codes if the layer says so. Returns the macroblock after the packet.
    int partitioned_packet(int addr) {
        Bits& b = bits;
        struct Mb {
            int addr, type, cbpc, cbp = 0;
            bool ac_pred = false, skipped = false;
            int qp = 0;
            int dc[6] = {};
        };
        std::vector<Mb> list;
        const Zep32u marker = intra_vop ? 0x6B001 : 0x1F001;  // DC marker, motion marker
        const int marker_bits = intra_vop ? 19 : 17;
        const int total = mbw * mbh;
        while (b.peek(marker_bits) != marker) {
            if (addr >= total) fail("partition runs past the last macroblock");
            const int mx = addr % mbw, my = addr / mbw;
            MbInfo& m = mbs[static_cast<size_t>(my * mbw + mx)];
            m = MbInfo{};
            m.packet = packet;
            Mb e{addr, 0, 0};
            if (!intra_vop && b.flag()) {
                e.skipped = true;
                m.qp = qp;
                list.push_back(e);
                ++addr;
                continue;
            }
            int mcbpc;
            do mcbpc = (intra_vop ? mcbpc_i : mcbpc_p).decode(b, "mcbpc");
            while (mcbpc == h263::kStuffing);
            e.type = mcbpc / 4;
            e.cbpc = mcbpc % 4;
            if (e.type == h263::kInter4VQ) throw Unsupported("four vectors with a quantiser change");
            m.coded = true;
            m.intra = e.type == h263::kIntra || e.type == h263::kIntraQ;
            if (intra_vop) {
                if (e.type == h263::kIntraQ) qp = std::clamp(qp + h263::kDquant[b.u(2)], 1, (1 << quant_bits) - 1);
                e.qp = m.qp = qp;
                if (qp < kDcVlcThreshold[dc_thr]) read_dcs(e.dc);
            } else if (!m.intra) {
                const int n = e.type == h263::kInter4V ? 4 : 1;
                for (int k = 0; k < n; ++k) {
                    int pred[2];
                    predict_mv(mx, my, k, pred);
                    m.mv[k][0] = read_mv(pred[0]);
                    m.mv[k][1] = read_mv(pred[1]);
                }
                if (n == 1)
                    for (int k = 1; k < 4; ++k) m.mv[k][0] = m.mv[0][0], m.mv[k][1] = m.mv[0][1];
            }
            list.push_back(e);
            ++addr;
            b.check();
        }
        b.skip(marker_bits);
        for (Mb& e : list) {
            if (e.skipped) continue;
            MbInfo& m = mbs[static_cast<size_t>(e.addr)];
            if (m.intra) e.ac_pred = b.flag();
            const int y = cbpy.decode(b, "cbpy");
            e.cbp = (m.intra ? y : 15 - y) << 2 | e.cbpc;
            if (!intra_vop) {
                if (e.type == h263::kInterQ || e.type == h263::kIntraQ)
                    qp = std::clamp(qp + h263::kDquant[b.u(2)], 1, (1 << quant_bits) - 1);
                e.qp = m.qp = qp;
                if (m.intra && qp < kDcVlcThreshold[dc_thr]) read_dcs(e.dc);
            }
            b.check();
        }
        for (const Mb& e : list) {
            const int mx = e.addr % mbw, my = e.addr / mbw;
            MbInfo& m = mbs[static_cast<size_t>(e.addr)];
            if (e.skipped) {
                predict(mx, my, m);
                continue;
            }
            qp = e.qp;
            if (!m.intra) predict(mx, my, m, e.type == h263::kInter4V);
            body(mx, my, m, e.cbp, e.ac_pred, qp < kDcVlcThreshold[dc_thr] ? e.dc : nullptr);
            b.check();
        }
        return addr;
    }

    void read_dcs(int* dc) {
        for (int i = 0; i < 6; ++i) {
            Zep16s v = 0;
            if (bits.bytes_call([&](Zep8u** p, Zep32s* off) { return zepiDecodeDCIntra_MPEG4_1u16s(p, off, &v, i < 4 ? 0 : 1); }) < 0)
                fail("corrupt intra DC");
            dc[i] = v;
        }
    }

    const MbInfo* at(int mx, int my) const {
        if (mx < 0 || my < 0 || mx >= mbw || my >= mbh) return nullptr;
        const MbInfo& m = mbs[static_cast<size_t>(my * mbw + mx)];
        return m.packet == packet ? &m : nullptr;
    }

    // Motion vector candidate of luma block (bx, by); false when not valid (outside or another packet).
    bool block_mv(int bx, int by, int mv[2]) const {
        const MbInfo* m = at(bx >> 1, by >> 1);
        if (bx < 0 || by < 0 || !m) return false;
        const int k = (by & 1) * 2 + (bx & 1);
        mv[0] = m->intra || !m->coded ? 0 : m->mv[k][0];
        mv[1] = m->intra || !m->coded ? 0 : m->mv[k][1];
        return true;
    }

    void predict_mv(int mx, int my, int k, int pred[2]) const {
        const int bx = 2 * mx + (k & 1), by = 2 * my + (k >> 1);
        int c[3][2] = {};
        bool ok[3];
        ok[0] = block_mv(bx - 1, by, c[0]);
        ok[1] = block_mv(bx, by - 1, c[1]);
        ok[2] = block_mv(k == 0 ? bx + 2 : (k == 3 ? bx - 1 : bx + 1), by - 1, c[2]);
        const int valid = ok[0] + ok[1] + ok[2];
        for (int t = 0; t < 2; ++t) {
            if (valid == 1) {
                pred[t] = ok[0] ? c[0][t] : (ok[1] ? c[1][t] : c[2][t]);
            } else {
                const int a = c[0][t], b2 = c[1][t], cc = c[2][t];
                pred[t] = std::max(std::min(a, b2), std::min(std::max(a, b2), cc));
            }
        }
    }

    int read_mv(int pred) {
        const int code = mvd.decode(bits, "motion_code");
        const int r = fcode - 1, f = 1 << r;
        int d = code;
        if (f > 1 && code != 0) {
            const int mag = ((std::abs(code) - 1) << r) + static_cast<int>(bits.u(r)) + 1;
            d = code < 0 ? -mag : mag;
        }
        int v = pred + d;
        if (v < -32 * f) v += 64 * f;
        if (v >= 32 * f) v -= 64 * f;
        return v;
    }

    void macroblock_not_coded(int mx, int my) {
        MbInfo& m = mbs[static_cast<size_t>(my * mbw + mx)];
        m = MbInfo{};
        m.packet = packet;
        m.qp = qp;
        predict(mx, my, m);
    }

    void macroblock(int mx, int my) {
        Bits& b = bits;
        MbInfo& m = mbs[static_cast<size_t>(my * mbw + mx)];
        int mcbpc;
        for (;;) {
            if (!intra_vop && b.flag()) {  // not_coded
                macroblock_not_coded(mx, my);
                return;
            }
            mcbpc = (intra_vop ? mcbpc_i : mcbpc_p).decode(b, "mcbpc");
            if (mcbpc != h263::kStuffing) break;
        }
        m.packet = packet;
        m.coded = true;
        const int type = mcbpc / 4, cbpc = mcbpc % 4;
        if (type == h263::kInter4VQ) throw Unsupported("four vectors with a quantiser change");
        m.intra = type == h263::kIntra || type == h263::kIntraQ;
        const bool ac_pred = m.intra && b.flag();
        const int y = cbpy.decode(b, "cbpy");
        const int cbp = (m.intra ? y : 15 - y) << 2 | cbpc;
        if (type == h263::kInterQ || type == h263::kIntraQ) {
            qp += h263::kDquant[b.u(2)];
            qp = std::clamp(qp, 1, (1 << quant_bits) - 1);
        }
        m.qp = qp;
        if (!m.intra) {
            const int n = type == h263::kInter4V ? 4 : 1;
            for (int k = 0; k < n; ++k) {
                int pred[2];
                predict_mv(mx, my, k, pred);
                m.mv[k][0] = read_mv(pred[0]);
                m.mv[k][1] = read_mv(pred[1]);
            }
            if (n == 1)
                for (int k = 1; k < 4; ++k) m.mv[k][0] = m.mv[0][0], m.mv[k][1] = m.mv[0][1];
            predict(mx, my, m, n == 4);
        }
        body(mx, my, m, cbp, ac_pred, nullptr);
    }

    // The six blocks of a macroblock whose prediction (if inter) is in place. dcs: the intra DC
    // differentials read ahead (data partitioning), or null.
    void body(int mx, int my, MbInfo& m, int cbp, bool ac_pred, const int* dcs) {
        Bits& b = bits;
        uint8_t* dy = cur->y + static_cast<ptrdiff_t>(my * 16) * cur->stride + mx * 16;
        const ptrdiff_t co = static_cast<ptrdiff_t>(my * 8) * cur->stride_c + mx * 8;
        const bool dc_vlc = qp < kDcVlcThreshold[dc_thr];
        for (int i = 0; i < 6; ++i) {
            const bool coded = (cbp >> (5 - i)) & 1;
            uint8_t* dst = i < 4 ? dy + static_cast<ptrdiff_t>(8 * (i >> 1)) * cur->stride + 8 * (i & 1)
                                 : (i == 4 ? cur->cb : cur->cr) + co;
            const int step = i < 4 ? cur->stride : cur->stride_c;
            Zep32s last = 0;
            if (m.intra) {
                intra_block(mx, my, i, m, coded, ac_pred, dc_vlc, dcs ? dcs[i] : kNoDc);
                zepiDCT8x8Inv_16s8u_C1R(coef, dst, step);
            } else if (coded) {
                if (b.bytes_call([&](Zep8u** p, Zep32s* off) {
                        return zepiReconstructCoeffsInter_MPEG4_1u16s(p, off, coef, &last, rvlc ? 1 : 0, 0,
                                                                      inter_quant.get(), qp);
                    }) < 0)
                    fail("corrupt inter block");
                zepiDCT8x8InvAdd_16s8u_C1IR(coef, dst, step);
            }
        }
    }

    // Block i's neighbours for DC/AC prediction: left (a), above-left (b), above (c); null when not an intra
    // block of this packet. Index of the neighbour's block in its macroblock.
    struct Nb {
        const MbInfo* m = nullptr;
        int blk = 0;
    };
    Nb neighbour(int mx, int my, int i, int dx, int dy, const MbInfo& self_mb) const {
        Nb n;
        if (i < 4) {
            int bx = (i & 1) + dx, by = (i >> 1) + dy;
            int nmx = mx, nmy = my;
            if (bx < 0) bx += 2, --nmx;
            if (by < 0) by += 2, --nmy;
            const MbInfo* m = (nmx == mx && nmy == my) ? &self_mb : at(nmx, nmy);
            if (m && m->intra) n.m = m, n.blk = by * 2 + bx;
        } else {
            const MbInfo* m = at(mx + dx, my + dy);
            if (m && m->intra) n.m = m, n.blk = i;
        }
        return n;
    }

    // dc_given: the DC differential read earlier (data partitioning), else kNoDc.
    void intra_block(int mx, int my, int i, MbInfo& m, bool coded, bool ac_pred, bool dc_vlc, int dc_given = kNoDc) {
        Bits& b = bits;
        const bool luma = i < 4;
        const int scaler = dc_scaler(qp, luma);
        const Nb a = neighbour(mx, my, i, -1, 0, m), bl = neighbour(mx, my, i, -1, -1, m), c = neighbour(mx, my, i, 0, -1, m);
        const int fa = a.m ? a.m->dc[a.blk] : 1024, fb = bl.m ? bl.m->dc[bl.blk] : 1024, fc = c.m ? c.m->dc[c.blk] : 1024;
        // A smaller change between left and above-left than between above-left and above: predict from above.
        const bool from_above = std::abs(fa - fb) < std::abs(fb - fc);
        const int fpred = from_above ? fc : fa;
        const int scan = !ac_pred ? 0 : (from_above ? 2 : 1);
        std::fill(coef, coef + 64, Zep16s{0});
        Zep32s last = 0;
        if (dc_given != kNoDc) {
            coef[0] = static_cast<Zep16s>(dc_given);
        } else if (dc_vlc) {
            Zep16s dc = 0;
            if (b.bytes_call([&](Zep8u** p, Zep32s* off) { return zepiDecodeDCIntra_MPEG4_1u16s(p, off, &dc, luma ? 0 : 1); }) <
                0)
                fail("corrupt intra DC");
            coef[0] = dc;
        }
        if (coded && b.bytes_call([&](Zep8u** p, Zep32s* off) {
                         return zepiDecodeCoeffsIntra_MPEG4_1u16s(p, off, coef, &last, rvlc ? 1 : 0, dc_vlc ? 1 : 0, scan);
                     }) < 0)
            fail("corrupt intra block");
        // DC: the differential plus the prediction in quantiser steps.
        int qdc = coef[0] + div_round(fpred, scaler);
        coef[0] = static_cast<Zep16s>(qdc);
        if (ac_pred) {
            const Nb& n = from_above ? c : a;
            if (n.m) {
                for (int k = 1; k < 8; ++k) {
                    const int pos = from_above ? k : 8 * k;
                    const int v = from_above ? n.m->row[n.blk][k] : n.m->col[n.blk][k];
                    coef[pos] = static_cast<Zep16s>(std::clamp(coef[pos] + div_round(v * n.m->qp, qp), -2048, 2047));
                }
            }
        }
        for (int k = 1; k < 8; ++k) m.row[i][k] = coef[k], m.col[i][k] = coef[8 * k];
        m.dc[i] = std::clamp(qdc * scaler, -2048, 2047);
        if (zepiQuantInvIntra_MPEG4_16s_C1I(coef, 63, intra_quant.get(), qp, luma ? 0 : 1) != zepStatusOk)
            fail("intra block inverse quantisation");
    }

    void predict(int mx, int my, const MbInfo& m, bool four = false) {
        auto ref_at = [&](const uint8_t* plane, int stride, int x, int y, int w, int h, int pw, int ph) {
            x = std::clamp(x, -w - 2, pw + 1);
            y = std::clamp(y, -h - 2, ph + 1);
            return plane + static_cast<ptrdiff_t>(y) * stride + x;
        };
        int cvx, cvy;
        if (four) {
            for (int k = 0; k < 4; ++k) {
                const int bx = 16 * mx + 8 * (k & 1), by = 16 * my + 8 * (k >> 1);
                const int vx = m.mv[k][0], vy = m.mv[k][1];
                zepiCopy8x8HP_8u_C1R(ref_at(ref->y, ref->stride, bx + (vx >> 1), by + (vy >> 1), 8, 8, cur->w, cur->h),
                                     ref->stride, cur->y + static_cast<ptrdiff_t>(by) * cur->stride + bx, cur->stride,
                                     (vx & 1) | ((vy & 1) << 1), rounding);
            }
            static const int kRound16[16] = {0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2};
            int cv[2];
            for (int t = 0; t < 2; ++t) {
                const int s = m.mv[0][t] + m.mv[1][t] + m.mv[2][t] + m.mv[3][t], a = std::abs(s);
                const int v = (a >> 4) * 2 + kRound16[a & 15];
                cv[t] = s < 0 ? -v : v;
            }
            cvx = cv[0];
            cvy = cv[1];
        } else {
            const int vx = m.coded ? m.mv[0][0] : 0, vy = m.coded ? m.mv[0][1] : 0;
            zepiCopy16x16HP_8u_C1R(
                ref_at(ref->y, ref->stride, 16 * mx + (vx >> 1), 16 * my + (vy >> 1), 16, 16, cur->w, cur->h), ref->stride,
                cur->y + static_cast<ptrdiff_t>(16 * my) * cur->stride + 16 * mx, cur->stride, (vx & 1) | ((vy & 1) << 1),
                rounding);
            cvx = (vx >> 1) | (vx & 1);
            cvy = (vy >> 1) | (vy & 1);
        }
        const int cx = 8 * mx + (cvx >> 1), cy = 8 * my + (cvy >> 1), acc = (cvx & 1) | ((cvy & 1) << 1);
        const ptrdiff_t d = static_cast<ptrdiff_t>(8 * my) * cur->stride_c + 8 * mx;
        zepiCopy8x8HP_8u_C1R(ref_at(ref->cb, ref->stride_c, cx, cy, 8, 8, cur->w / 2, cur->h / 2), ref->stride_c,
                             cur->cb + d, cur->stride_c, acc, rounding);
        zepiCopy8x8HP_8u_C1R(ref_at(ref->cr, ref->stride_c, cx, cy, 8, 8, cur->w / 2, cur->h / 2), ref->stride_c,
                             cur->cr + d, cur->stride_c, acc, rounding);
    }
};

Decoder::Decoder() : impl_(std::make_unique<Impl>()) { impl_->self = this; }
Decoder::~Decoder() = default;

void Decoder::decode_stream(const uint8_t* data, size_t size) {
    Impl& d = *impl_;
    const bool found = for_each_start_code(data, size, [&](int code, const uint8_t* unit, size_t n) {
        d.bits.load_plain(unit, n);
        if (code >= 0x20 && code <= 0x2F) d.vol();
        else if (code == 0xB6) d.vop();
        // visual object sequence/object headers, user data and GOV headers carry nothing decoded here
    });
    if (!found && size > 0) fail("no start code found: not an MPEG-4 video elementary stream");
}

}  // namespace zdec::mpeg4
