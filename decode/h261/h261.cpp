// H.261: pictures, groups of blocks and macroblocks.
#include "h261/h261.h"

#include <cstring>
#include <string>
#include <vector>

#include "frame.h"
#include "vlc_codes.h"

namespace zdec::h261 {
namespace {

enum : int { kIntra = 1, kCoded = 2, kMc = 4, kFil = 8, kQuant = 16 };

// MTYPE: prediction and what follows.
const ValueCode kMtype[] = {{"0001", kIntra | kCoded},
                       {"0000001", kIntra | kCoded | kQuant},
                       {"1", kCoded},
                       {"00001", kCoded | kQuant},
                       {"000000001", kMc},
                       {"00000001", kMc | kCoded},
                       {"0000000001", kMc | kCoded | kQuant},
                       {"001", kMc | kFil},
                       {"01", kMc | kFil | kCoded},
                       {"000001", kMc | kFil | kCoded | kQuant}};


using Frame = PaddedFrame;

}  // namespace

struct Decoder::Impl {
    Decoder* self = nullptr;
    Bits bits;
    // H.261's vector differences are the motion codes of magnitudes up to 16 (+16 wraps to -16).
    VlcTable mtype{value_codes(kMtype), {6, 4}}, mvd{motion_codes(16), {6, 5}}, cbp{value_codes(kCodedBlockPattern), {5, 4}};
    VlcTable mba;
    Frame frames[2];
    Frame *cur = nullptr, *prev = nullptr;
    int width = 0, height = 0;
    bool in_picture = false;
    alignas(16) Zep16s coef[64];

    Impl() {
        CodeList c;
        for (int i = 0; i < 33; ++i) c.push_back({kMbIncrement[i], {i + 1}});
        mba = VlcTable(c, {6, 5});
    }

    void finish() {
        if (!in_picture) return;
        in_picture = false;
        if (self->on_frame) self->on_frame(FrameOut{cur->y, cur->cb, cur->cr, cur->stride, cur->stride_c, width, height});
        std::swap(cur, prev);
    }

    // Finds the next picture start code (20 bits) at or after the position; false at the end.
    bool find_psc() {
        while (bits.pos() + 20 <= bits.size()) {
            if (bits.peek(20) == 0x10) return true;
            bits.skip(1);
        }
        return false;
    }

    void picture() {
        Bits& b = bits;
        b.skip(20);
        b.skip(5);  // TR
        const int ptype = static_cast<int>(b.u(6));
        while (b.flag()) b.skip(8);  // PEI / PSPARE
        const bool cif = (ptype >> 2) & 1;
        const int w = cif ? 352 : 176, h = cif ? 288 : 144;
        if (w != width || h != height) {
            width = w;
            height = h;
            for (Frame& f : frames) f.allocate(w / 16, h / 16);
            cur = &frames[0];
            prev = &frames[1];
        }
        // Macroblocks no group codes keep the previous picture's samples.
        std::memcpy(cur->mem.data(), prev->mem.data(), cur->mem.size());
        in_picture = true;
        for (;;) {
            while (b.pos() + 20 <= b.size() && b.peek(16) == 0) b.skip(1);  // zero padding before a start code
            if (b.pos() + 20 > b.size() || b.peek(16) != 1) return;
            if (b.peek(20) == 0x10) return;  // the next picture
            b.skip(16);
            gob(static_cast<int>(b.u(4)), cif);
        }
    }

    void gob(int gn, bool cif) {
        Bits& b = bits;
        if (gn < 1 || gn > 12 || (!cif && (gn % 2 == 0 || gn > 5))) fail("invalid group of blocks number");
        int quant = static_cast<int>(b.u(5));
        if (quant == 0) fail("GQUANT 0");
        while (b.flag()) b.skip(8);  // GEI / GSPARE
        const int x0 = cif ? ((gn - 1) % 2) * 176 : 0, y0 = cif ? ((gn - 1) / 2) * 48 : ((gn - 1) / 2) * 48;
        int addr = 0, mvx = 0, mvy = 0;
        bool prev_mc = false;
        for (;;) {
            while (b.pos() + 11 <= b.size() && b.peek(11) == 0xF) b.skip(11);  // stuffing
            // A start code (fifteen zeros) ends the group; encoders may pad with zeros before it.
            if (b.pos() + 16 > b.size() || b.peek(15) == 0) break;
            const int inc = mba.decode(b, "MBA");
            // Skipped macroblocks keep the previous picture's samples (already copied).
            if (inc != 1) prev_mc = false;
            addr += inc;
            if (addr > 33) fail("MBA beyond the group of blocks");
            const int mx = x0 + 16 * ((addr - 1) % 11), my = y0 + 16 * ((addr - 1) / 11);
            const int type = mtype.decode(b, "MTYPE");
            if (type & kQuant) {
                quant = static_cast<int>(b.u(5));
                if (quant == 0) fail("MQUANT 0");
            }
            if (type & kMc) {
                // The predictor is the previous macroblock's vector, unless this one starts a row of the group
                // or the previous one did not carry a vector.
                if ((addr - 1) % 11 == 0 || !prev_mc) mvx = mvy = 0;
                mvx = ((mvx + mvd.decode(b, "MVD") + 16) & 31) - 16;
                mvy = ((mvy + mvd.decode(b, "MVD") + 16) & 31) - 16;
            } else {
                mvx = mvy = 0;
            }
            prev_mc = (type & kMc) != 0;
            const int pattern = (type & kIntra) ? 63 : ((type & kCoded) ? cbp.decode(b, "CBP") : 0);
            macroblock(mx, my, type, mvx, mvy, pattern, quant);
            b.check();
        }
    }

    void macroblock(int mx, int my, int type, int mvx, int mvy, int pattern, int quant) {
        Bits& b = bits;
        uint8_t* dy = cur->y + static_cast<ptrdiff_t>(my) * cur->stride + mx;
        const ptrdiff_t co = static_cast<ptrdiff_t>(my / 2) * cur->stride_c + mx / 2;
        uint8_t* dc[2] = {cur->cb + co, cur->cr + co};
        if (!(type & kIntra)) {
            const int x = clip(mx + mvx, -16, width), y = clip(my + mvy, -16, height);
            const int cmx = mvx / 2, cmy = mvy / 2;
            const int cx = clip(mx / 2 + cmx, -8, width / 2), cy = clip(my / 2 + cmy, -8, height / 2);
            zepiCopy16x16_8u_C1R(prev->y + static_cast<ptrdiff_t>(y) * prev->stride + x, prev->stride, dy, cur->stride);
            const ptrdiff_t so = static_cast<ptrdiff_t>(cy) * prev->stride_c + cx;
            zepiCopy8x8_8u_C1R(prev->cb + so, prev->stride_c, dc[0], cur->stride_c);
            zepiCopy8x8_8u_C1R(prev->cr + so, prev->stride_c, dc[1], cur->stride_c);
            if (type & kFil) {
                for (int k = 0; k < 4; ++k)
                    zepiFilterLoop_H261_8u_C1IR(dy + static_cast<ptrdiff_t>(8 * (k >> 1)) * cur->stride + 8 * (k & 1),
                                                cur->stride);
                zepiFilterLoop_H261_8u_C1IR(dc[0], cur->stride_c);
                zepiFilterLoop_H261_8u_C1IR(dc[1], cur->stride_c);
            }
        }
        for (int i = 0; i < 6; ++i) {
            if (!(pattern & (32 >> i))) continue;
            Zep32s last = 0;
            const ZepStatus st = b.bytes_call([&](Zep8u** p, Zep32s* off) {
                return (type & kIntra) ? zepiReconstructCoeffsIntra_H261_1u16s(p, off, coef, &last, quant)
                                       : zepiReconstructCoeffsInter_H261_1u16s(p, off, coef, &last, quant);
            });
            if (st < 0) fail("corrupt transform coefficients");
            uint8_t* dst = i < 4 ? dy + static_cast<ptrdiff_t>(8 * (i >> 1)) * cur->stride + 8 * (i & 1) : dc[i - 4];
            const int step = i < 4 ? cur->stride : cur->stride_c;
            if (type & kIntra) zepiDCT8x8Inv_16s8u_C1R(coef, dst, step);
            else zepiDCT8x8InvAdd_16s8u_C1IR(coef, dst, step);
        }
    }
    static int clip(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }
};

Decoder::Decoder() : impl_(std::make_unique<Impl>()) { impl_->self = this; }
Decoder::~Decoder() = default;

void Decoder::decode_stream(const uint8_t* data, size_t size) {
    Impl& d = *impl_;
    d.bits.load_plain(data, size);
    if (!d.find_psc()) fail("no picture start code: not an H.261 stream");
    do {
        d.picture();
        d.finish();
    } while (d.find_psc());
}

}  // namespace zdec::h261
