// MPEG-1 and MPEG-2 video: start codes, headers, slices and macroblocks.
#include "mpeg2/mpeg2.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "mpeg2/codes.h"
#include "frame.h"
#include "vlc_codes.h"

namespace zdec::mpeg2 {
namespace {

enum PicType { kI = 1, kP = 2, kB = 3 };
// macroblock_type flags.
enum : int { kIntra = 1, kPattern = 2, kBack = 4, kFwd = 8, kQuant = 16 };


const ValueCode kTypeI[] = {{"1", kIntra}, {"01", kIntra | kQuant}};
const ValueCode kTypeP[] = {{"1", kFwd | kPattern},          {"01", kPattern},
                           {"001", kFwd},                   {"00011", kIntra},
                           {"00010", kFwd | kPattern | kQuant}, {"00001", kPattern | kQuant},
                           {"000001", kIntra | kQuant}};
const ValueCode kTypeB[] = {{"10", kFwd | kBack},
                           {"11", kFwd | kBack | kPattern},
                           {"010", kBack},
                           {"011", kBack | kPattern},
                           {"0010", kFwd},
                           {"0011", kFwd | kPattern},
                           {"00011", kIntra},
                           {"00010", kFwd | kBack | kPattern | kQuant},
                           {"000011", kFwd | kPattern | kQuant},
                           {"000010", kBack | kPattern | kQuant},
                           {"000001", kIntra | kQuant}};



constexpr uint8_t kDefaultIntra[64] = {8,  16, 19, 22, 26, 27, 29, 34, 16, 16, 22, 24, 27, 29, 34, 37,
                                       19, 22, 26, 27, 29, 34, 34, 38, 22, 22, 26, 27, 29, 34, 37, 40,
                                       22, 26, 27, 29, 32, 35, 40, 48, 26, 27, 29, 32, 35, 40, 48, 58,
                                       26, 27, 29, 34, 38, 46, 56, 69, 27, 29, 35, 38, 46, 56, 69, 83};
constexpr uint8_t kNonLinearScale[32] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  10, 12, 14, 16, 18,  20,  22,
                                         24, 28, 32, 36, 40, 44, 48, 52, 56, 64, 72, 80, 88, 96, 104, 112};



using Frame = PaddedFrame;

}  // namespace

struct Decoder::Impl {
    Decoder* self = nullptr;
    Bits bits;
    VlcTable mbai, type[4], cbp_table, motion, dc_luma, dc_chroma, b14, b15;

    // Sequence.
    bool have_seq = false, mpeg2 = false, progressive_seq = true;
    int width = 0, height = 0, mbw = 0, mbh = 0;
    Zep16s intra_q[64], non_intra_q[64];
    // Picture.
    int pic_type = 0, f_code[2][2] = {{1, 1}, {1, 1}}, full_pel[2] = {0, 0};
    int dc_precision = 0, structure = 3, frame_pred_dct = 1, concealment = 0, q_scale_type = 0, intra_vlc = 0,
        alt_scan = 0;
    bool in_picture = false;
    // Frames: past and future references, the B picture, and the reference waiting for output.
    Frame frames[3];
    Frame *past = nullptr, *future = nullptr, *cur = nullptr, *waiting = nullptr;
    // Macroblock state.
    int qscale = 1, pmv[2][2] = {{0, 0}, {0, 0}};
    Zep16s dc_pred[3] = {0, 0, 0};
    int last_flags = 0, last_mv[2][2] = {{0, 0}, {0, 0}};
    alignas(16) Zep16s block[64];

    Impl() {
        CodeList c;
        for (int i = 0; i < 33; ++i) c.push_back({kMbIncrement[i], {i + 1}});
        mbai = VlcTable(c, {6, 5});
        type[kI] = VlcTable(value_codes(kTypeI), {2});
        type[kP] = VlcTable(value_codes(kTypeP), {6});
        type[kB] = VlcTable(value_codes(kTypeB), {6});
        cbp_table = VlcTable(value_codes(kCodedBlockPattern), {5, 4});
        motion = VlcTable(motion_codes(16), {6, 5});
        dc_luma = VlcTable(dc_codes(kDcLuma), {5, 5});
        dc_chroma = VlcTable(dc_codes(kDcChroma), {5, 5});
        b14 = VlcTable(run_level_codes(kB14), {8, 5, 4}, true);
        b15 = VlcTable(run_level_codes(kB15), {8, 5, 4}, true);
    }

    void output(const Frame* f) {
        if (!f || !self->on_frame) return;
        self->on_frame(FrameOut{f->y, f->cb, f->cr, f->stride, f->stride_c, width, height});
    }

    Frame* free_frame() {
        for (Frame& f : frames)
            if (&f != past && &f != future && &f != waiting) return &f;
        fail("no free frame buffer");
    }

    void sequence_header() {
        Bits& b = bits;
        const int w = static_cast<int>(b.u(12)), h = static_cast<int>(b.u(12));
        b.skip(4 + 4 + 18 + 1 + 10 + 1);  // aspect, frame rate, bit rate, marker, VBV, constrained
        if (w == 0 || h == 0) fail("sequence header with a zero picture size");
        for (int i = 0; i < 64; ++i) intra_q[i] = kDefaultIntra[i];
        for (int i = 0; i < 64; ++i) non_intra_q[i] = 16;
        if (b.flag())
            for (int i = 0; i < 64; ++i) intra_q[kZigzag[i]] = static_cast<Zep16s>(b.u(8));
        if (b.flag())
            for (int i = 0; i < 64; ++i) non_intra_q[kZigzag[i]] = static_cast<Zep16s>(b.u(8));
        for (int i = 0; i < 64; ++i)
            if (intra_q[i] == 0 || non_intra_q[i] == 0) fail("quantiser matrix with a zero weight");
        set_size(w, h);
        mpeg2 = false;  // until a sequence extension says otherwise
        progressive_seq = true;
    }

    void set_size(int w, int h) {
        if (have_seq && w == width && h == height) return;
        const int mw = (w + 15) / 16, mh = (h + 15) / 16;
        if (mw * mh > self->max_mbs) fail("picture too large");
        if (have_seq) flush_output();
        width = w;
        height = h;
        mbw = mw;
        mbh = mh;
        for (Frame& f : frames) f.allocate(mbw, mbh);
        past = future = cur = waiting = nullptr;
        have_seq = true;
    }

    void extension() {
        Bits& b = bits;
        const int id = static_cast<int>(b.u(4));
        if (id == 1) {  // sequence extension
            b.skip(8);  // profile and level
            progressive_seq = b.flag();
            if (b.u(2) != 1) throw Unsupported("chroma formats other than 4:2:0");
            const int hx = static_cast<int>(b.u(2)), vx = static_cast<int>(b.u(2));
            mpeg2 = true;
            if (hx || vx) set_size(width | (hx << 12), height | (vx << 12));
            if (!progressive_seq) {
                // Frame pictures of an interlaced sequence count rows in field pairs.
                const int mh = 2 * ((height + 31) / 32);
                if (mh != mbh) {
                    if (mbw * mh > self->max_mbs) fail("picture too large");
                    flush_output();  // a picture begun at the old size ends before its frames go
                    mbh = mh;
                    for (Frame& f : frames) f.allocate(mbw, mbh);
                    past = future = cur = waiting = nullptr;
                }
            }
        } else if (id == 3) {  // quant matrix extension
            if (b.flag())
                for (int i = 0; i < 64; ++i) intra_q[kZigzag[i]] = static_cast<Zep16s>(b.u(8));
            if (b.flag())
                for (int i = 0; i < 64; ++i) non_intra_q[kZigzag[i]] = static_cast<Zep16s>(b.u(8));
            for (int i = 0; i < 64; ++i)
                if (intra_q[i] == 0 || non_intra_q[i] == 0) fail("quantiser matrix with a zero weight");
        } else if (id == 8) {  // picture coding extension
            for (int s = 0; s < 2; ++s)
                for (int t = 0; t < 2; ++t) f_code[s][t] = static_cast<int>(b.u(4));
            dc_precision = static_cast<int>(b.u(2));
            structure = static_cast<int>(b.u(2));
            b.skip(1);  // top_field_first
            frame_pred_dct = static_cast<int>(b.u(1));
            concealment = static_cast<int>(b.u(1));
            q_scale_type = static_cast<int>(b.u(1));
            intra_vlc = static_cast<int>(b.u(1));
            alt_scan = static_cast<int>(b.u(1));
            if (structure != 3) throw Unsupported("field pictures");
        } else if (id == 5 || id == 6 || id == 7) {
            throw Unsupported("scalable extensions");
        }
    }

    void picture_header() {
        Bits& b = bits;
        if (!have_seq) fail("picture before any sequence header");
        finish_picture();
        b.skip(10);  // temporal_reference
        pic_type = static_cast<int>(b.u(3));
        if (pic_type == 4) throw Unsupported("MPEG-1 D-pictures");
        if (pic_type < 1 || pic_type > 3) fail("invalid picture_coding_type");
        b.skip(16);
        full_pel[0] = full_pel[1] = 0;
        if (pic_type != kI) {
            full_pel[0] = static_cast<int>(b.u(1));
            f_code[0][0] = f_code[0][1] = static_cast<int>(b.u(3));
        }
        if (pic_type == kB) {
            full_pel[1] = static_cast<int>(b.u(1));
            f_code[1][0] = f_code[1][1] = static_cast<int>(b.u(3));
        }
        // MPEG-2 takes every picture parameter from the coding extension that follows.
        dc_precision = 0;
        structure = 3;
        frame_pred_dct = 1;
        concealment = q_scale_type = intra_vlc = alt_scan = 0;
        if (pic_type != kB) {
            if (waiting) output(waiting);
            waiting = nullptr;
            if (pic_type == kP && !future) fail("P picture without a reference picture");
            Frame* f = free_frame();
            past = future;
            future = f;
            cur = f;
        } else {
            if (!past || !future) fail("B picture without two reference pictures");
            cur = free_frame();
        }
        in_picture = true;
    }

    void finish_picture() {
        if (!in_picture) return;
        in_picture = false;
        if (pic_type == kB) {
            output(cur);
        } else {
            cur->pad();
            waiting = cur;
        }
    }

    void flush_output() {
        finish_picture();
        if (waiting) output(waiting);
        waiting = nullptr;
    }

    void check_codes() const {
        for (int s = 0; s < 2; ++s)
            for (int t = 0; t < 2; ++t)
                if (f_code[s][t] < 1 || (f_code[s][t] > 9 && f_code[s][t] != 15) || (!mpeg2 && f_code[s][t] > 7))
                    fail("invalid f_code");
    }

    // One motion vector (both components) of direction s, in half samples.
    void motion_vector(int s, int mv[2]) {
        Bits& b = bits;
        for (int t = 0; t < 2; ++t) {
            const int fc = f_code[s][t];
            if (fc == 15) fail("motion vector with f_code 15");
            const int r_size = fc - 1, f = 1 << r_size;
            const int code = motion.decode(b, "motion_code");
            int delta = code;
            if (f != 1 && code != 0) {
                const int residual = static_cast<int>(b.u(r_size));
                delta = (std::abs(code) - 1) * f + residual + 1;
                if (code < 0) delta = -delta;
            }
            int v = pmv[s][t] + delta;
            if (v < -16 * f) v += 32 * f;
            if (v > 16 * f - 1) v -= 32 * f;
            pmv[s][t] = v;
            mv[t] = full_pel[s] ? v * 2 : v;
        }
    }

    // Prediction of the macroblock at (mx, my) from ref with the half-sample vector mv.
    void predict(const Frame& ref, int mx, int my, const int mv[2], bool average) {
        const int x = clip(mx * 16 + (mv[0] >> 1), -16, cur->w), y = clip(my * 16 + (mv[1] >> 1), -16, cur->h);
        const int acc = (mv[0] & 1) | ((mv[1] & 1) << 1);
        const uint8_t* src = ref.y + static_cast<ptrdiff_t>(y) * ref.stride + x;
        uint8_t* dst = cur->y + static_cast<ptrdiff_t>(my * 16) * cur->stride + mx * 16;
        if (average) zepiInterpolateAverage16x16_8u_C1IR(src, ref.stride, dst, cur->stride, acc, 0);
        else zepiCopy16x16HP_8u_C1R(src, ref.stride, dst, cur->stride, acc, 0);
        const int cmx = mv[0] / 2, cmy = mv[1] / 2;
        const int cx = clip(mx * 8 + (cmx >> 1), -8, cur->w / 2), cy = clip(my * 8 + (cmy >> 1), -8, cur->h / 2);
        const int cacc = (cmx & 1) | ((cmy & 1) << 1);
        const ptrdiff_t so = static_cast<ptrdiff_t>(cy) * ref.stride_c + cx;
        const ptrdiff_t d = static_cast<ptrdiff_t>(my * 8) * cur->stride_c + mx * 8;
        if (average) {
            zepiInterpolateAverage8x8_8u_C1IR(ref.cb + so, ref.stride_c, cur->cb + d, cur->stride_c, cacc, 0);
            zepiInterpolateAverage8x8_8u_C1IR(ref.cr + so, ref.stride_c, cur->cr + d, cur->stride_c, cacc, 0);
        } else {
            zepiCopy8x8HP_8u_C1R(ref.cb + so, ref.stride_c, cur->cb + d, cur->stride_c, cacc, 0);
            zepiCopy8x8HP_8u_C1R(ref.cr + so, ref.stride_c, cur->cr + d, cur->stride_c, cacc, 0);
        }
    }
    static int clip(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

    void predict_mb(int mx, int my, int flags, const int mv[2][2]) {
        if (pic_type == kP) {
            predict(*past, mx, my, mv[0], false);
            return;
        }
        bool done = false;
        if (flags & kFwd) {
            predict(*past, mx, my, mv[0], false);
            done = true;
        }
        if (flags & kBack) predict(*future, mx, my, mv[1], done);
    }

    void reset_dc() {
        dc_pred[0] = dc_pred[1] = dc_pred[2] = static_cast<Zep16s>(mpeg2 ? 1 << (7 + dc_precision) : 128);
    }

    void slice(int row) {
        Bits& b = bits;
        if (!in_picture) fail("slice outside a picture");
        if (mpeg2 && height > 2800) row += static_cast<int>(b.u(3)) << 7;
        if (row >= mbh) fail("slice below the picture");
        const int code = static_cast<int>(b.u(5));
        if (code == 0) fail("quantiser_scale_code 0");
        set_qscale(code);
        // MPEG-2 may first carry intra_slice and 7 reserved bits; then extra_information_slice bytes, each
        // after a 1 bit, and a final 0 bit.
        if (mpeg2) {
            if (b.flag()) {
                b.skip(8);
                while (b.flag()) b.skip(8);
            }
        } else {
            while (b.flag()) b.skip(8);
        }
        reset_dc();
        pmv[0][0] = pmv[0][1] = pmv[1][0] = pmv[1][1] = 0;
        last_flags = 0;
        const int total = mbw * mbh;
        int addr = row * mbw - 1;
        bool first = true;
        for (;;) {
            int inc = 0;
            for (;;) {
                const Zep32u next = peek(11);
                if (next == 0xF && !mpeg2) b.skip(11);  // stuffing
                else if (next == 0x8) inc += 33, b.skip(11);
                else break;
                if (inc > total) fail("macroblock address increment too large");
            }
            inc += mbai.decode(b, "macroblock_address_increment");
            if (!first) {
                if (addr + inc >= total) fail("macroblock address beyond the picture");
                for (int i = 1; i < inc; ++i) skipped_mb(addr + i);
            }
            addr += inc;
            first = false;
            if (addr >= total) fail("macroblock address beyond the picture");
            macroblock(addr);
            b.check();
            if (!more_macroblocks()) break;
        }
    }

    void set_qscale(int code) {
        qscale = !mpeg2 ? code : (q_scale_type ? kNonLinearScale[code] : 2 * code);
    }

    // Beyond the data the reader sees one bits, so a peek there matches no escape or stuffing code.
    Zep32u peek(int n) const { return bits.peek(n); }

    // Another macroblock follows unless the rest of the slice (up to 23 bits) is zero stuffing.
    bool more_macroblocks() const {
        const size_t pos = bits.pos(), size = bits.size();
        if (pos >= size) return false;
        const int n = static_cast<int>(std::min<size_t>(23, size - pos));
        return bits.peek(n) != 0;
    }

    void skipped_mb(int addr) {
        const int mx = addr % mbw, my = addr / mbw;
        if (pic_type == kI) fail("skipped macroblock in an I picture");
        reset_dc();
        if (pic_type == kP) {
            pmv[0][0] = pmv[0][1] = 0;
            const int zero[2][2] = {{0, 0}, {0, 0}};
            predict_mb(mx, my, kFwd, zero);
            return;
        }
        if (last_flags & kIntra || !(last_flags & (kFwd | kBack))) fail("skipped macroblock after an intra one");
        predict_mb(mx, my, last_flags, last_mv);
    }

    void macroblock(int addr) {
        Bits& b = bits;
        const int mx = addr % mbw, my = addr / mbw;
        const int flags = type[pic_type].decode(b, "macroblock_type");
        int dct_type = 0;
        if (mpeg2 && !frame_pred_dct) {
            if ((flags & (kFwd | kBack)) && b.u(2) != 2) throw Unsupported("field or dual-prime motion");
            if (flags & (kIntra | kPattern)) dct_type = static_cast<int>(b.u(1));
        }
        if (flags & kQuant) {
            const int code = static_cast<int>(b.u(5));
            if (code == 0) fail("quantiser_scale_code 0");
            set_qscale(code);
        }
        int mv[2][2] = {{0, 0}, {0, 0}};
        if (flags & kIntra) {
            if (mpeg2 && concealment) {
                motion_vector(0, mv[0]);  // concealment vectors: read, then unused
                b.skip(1);
            } else {
                pmv[0][0] = pmv[0][1] = pmv[1][0] = pmv[1][1] = 0;
            }
        } else {
            check_codes();
            if (flags & kFwd) motion_vector(0, mv[0]);
            if (flags & kBack) motion_vector(1, mv[1]);
            if (pic_type == kP && !(flags & kFwd)) pmv[0][0] = pmv[0][1] = 0;  // no motion: the zero vector
            predict_mb(mx, my, pic_type == kP ? kFwd : flags, mv);
            if (pic_type == kB) {
                last_mv[0][0] = mv[0][0], last_mv[0][1] = mv[0][1], last_mv[1][0] = mv[1][0], last_mv[1][1] = mv[1][1];
            }
            reset_dc();
        }
        last_flags = flags;
        const int cbp = (flags & kIntra) ? 63 : ((flags & kPattern) ? cbp_table.decode(b, "coded_block_pattern") : 0);
        const Zep32s* scan = alt_scan ? kAlternate : kZigzag;
        for (int i = 0; i < 6; ++i) {
            if (!(cbp & (32 >> i))) continue;
            Zep32s last = 0;
            ZepStatus st;
            if (flags & kIntra) {
                const Zep32s* dct = i < 4 ? dc_luma.get() : dc_chroma.get();
                Zep16s* pred = &dc_pred[i < 4 ? 0 : i - 3];
                if (mpeg2)
                    st = zepiReconstructDCTBlockIntra_MPEG2_32s(b.word(), b.offset(), dct,
                                                                (intra_vlc ? b15 : b14).get(), scan,
                                                                static_cast<Zep16s>(qscale), intra_q, pred,
                                                                3 - dc_precision, block, &last);
                else
                    st = zepiReconstructDCTBlockIntra_MPEG1_32s(b.word(), b.offset(), dct, b14.get(), scan,
                                                                static_cast<Zep16s>(qscale), intra_q, pred, block,
                                                                &last);
            } else if (mpeg2) {
                st = zepiReconstructDCTBlock_MPEG2_32s(b.word(), b.offset(), b14.get(), b14.get(), scan,
                                                       static_cast<Zep16s>(qscale), non_intra_q, block, &last);
            } else {
                st = zepiReconstructDCTBlock_MPEG1_32s(b.word(), b.offset(), b14.get(), b14.get(), scan,
                                                       static_cast<Zep16s>(qscale), non_intra_q, block, &last);
            }
            if (st != zepStatusOk) fail("corrupt DCT block");
            b.guard();
            uint8_t* dst;
            int step;
            if (i < 4) {
                const int field = dct_type;
                step = cur->stride << field;
                dst = cur->y + static_cast<ptrdiff_t>(my * 16 + (field ? (i >> 1) : 8 * (i >> 1))) * cur->stride +
                      mx * 16 + 8 * (i & 1);
            } else {
                step = cur->stride_c;
                dst = (i == 4 ? cur->cb : cur->cr) + static_cast<ptrdiff_t>(my * 8) * cur->stride_c + mx * 8;
            }
            if (flags & kIntra) zepiDCT8x8Inv_16s8u_C1R(block, dst, step);
            else zepiDCT8x8InvAdd_16s8u_C1IR(block, dst, step);
        }
    }
};

Decoder::Decoder() : impl_(std::make_unique<Impl>()) { impl_->self = this; }
Decoder::~Decoder() = default;

void Decoder::decode_stream(const uint8_t* data, size_t size) {
    Impl& d = *impl_;
    const bool found = for_each_start_code(data, size, [&](int code, const uint8_t* unit, size_t n) {
        d.bits.load_plain(unit, n);
        if (code == 0x00) d.picture_header();
        else if (code >= 0x01 && code <= 0xAF) d.slice(code - 1);
        else if (code == 0xB3) d.sequence_header();
        else if (code == 0xB5) d.extension();
        else if (code == 0xB7) d.flush_output();
        // group of pictures, user data and system start codes carry nothing decoded here
    });
    if (!found && size > 0) fail("no start code found: not an MPEG video elementary stream");
}

void Decoder::flush() { impl_->flush_output(); }

}  // namespace zdec::mpeg2
