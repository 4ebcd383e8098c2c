// DV frames: DIF sequences, video segments and macroblock placement.
#include "dv/dv.h"

#include <array>
#include <map>
#include <string>
#include <vector>

#include "dv/dv_codes.h"
#include "mpeg2/code_tables.h"

namespace zdec::dv {
namespace {

constexpr int kDifBlock = 80;
constexpr int kSequenceBytes = 150 * kDifBlock;

// 8x8 blocks take the zig-zag scan (MPEG-1/2's); 2-4-8 blocks: rows 0..3 field sums, 4..7 field differences.
// The 2-4-8 scan pairs each field-sum coefficient with its field-difference twin.
constexpr Zep32s kScan248[64] = {0,  32, 1,  33, 8,  40, 2,  34, 9,  41, 16, 48, 24, 56, 17, 49,
                                 10, 42, 3,  35, 4,  36, 11, 43, 18, 50, 25, 57, 26, 58, 19, 51,
                                 12, 44, 5,  37, 6,  38, 13, 45, 20, 52, 27, 59, 28, 60, 21, 53,
                                 14, 46, 7,  39, 15, 47, 22, 54, 29, 61, 30, 62, 23, 55, 31, 63};

// Where each super block's macroblocks come from: the five macroblocks of a
// video segment belong to super blocks in rows (sequence + kRowOffset[j]) and columns kColumn[j].
constexpr int kRowOffset[5] = {2, 6, 8, 0, 4};
constexpr int kColumn[5] = {2, 1, 3, 0, 4};

std::vector<Zep32u> source_table(bool second) {
    const int width = second ? 11 : 8;
    std::map<int, std::vector<std::array<Zep32u, 3>>> by_len;
    for (const Code& c : kCodes) {
        std::string code = c.code;
        if ((code.size() > 8) != second) continue;
        if (second) code = code.substr(4);  // every long code begins with 1111
        const Zep32u run = c.run < 0 ? 255u : static_cast<Zep32u>(c.run);
        by_len[static_cast<int>(code.size())].push_back(
            {static_cast<Zep32u>(std::stoul(code, nullptr, 2)), run, static_cast<Zep32u>(c.amp)});
    }
    std::vector<Zep32u> t = {static_cast<Zep32u>(width), 0, 0};
    for (int len = 1; len <= width; ++len) {
        t.push_back(static_cast<Zep32u>(by_len[len].size()));
        for (auto& e : by_len[len]) t.insert(t.end(), e.begin(), e.end());
    }
    return t;
}

}  // namespace

struct Decoder::Impl {
    Decoder* self = nullptr;
    Zep32u* table = nullptr;
    Zep32s scans[128];
    std::vector<uint8_t> y, cb, cr;
    alignas(16) Zep16s blocks[30 * 64];
    Zep32u params[30];

    Impl() {
        const auto a = source_table(false), b = source_table(true);
        if (zepiInitAllocHuffmanTable_DV_32u(a.data(), b.data(), &table) != zepStatusOk) throw std::bad_alloc();
        for (int i = 0; i < 64; ++i) {
            scans[i] = mpeg2::kZigzag[i];
            scans[64 + i] = kScan248[i];
        }
    }
    ~Impl() {
        if (table) zepiFreeHuffmanTable_DV_32u(table);
    }

    // One 8x8 block's samples into a plane.
    void put(int k, uint8_t* dst, int stride) {
        Zep16s* blk = blocks + 64 * k;
        if (zepiQuantWeightBlockInv_DV_16s_C1I(blk, params[k]) != zepStatusOk) fail("DV block");
        if (params[k] & 0x40) zepiDCT2x4x8Inv_16s8u_C1R(blk, dst, stride);
        else zepiDCT8x8Inv_16s8u_C1R(blk, dst, stride);
    }
    // A 4:1:1 chroma block of a 16x16 macroblock covers 4 x 16 chroma samples: its left half the top eight lines,
    // its right half the bottom eight.
    void put_split(int k, uint8_t* dst, int stride) {
        uint8_t tmp[64];
        put(k, tmp, 8);
        for (int r = 0; r < 8; ++r)
            for (int c = 0; c < 4; ++c) {
                dst[r * stride + c] = tmp[8 * r + c];
                dst[(r + 8) * stride + c] = tmp[8 * r + 4 + c];
            }
    }

    void frame(const uint8_t* f, bool pal) {
        const int seqs = pal ? 12 : 10, h = pal ? 576 : 480;
        const int cw = pal ? 360 : 180, ch = pal ? 288 : 480;
        y.assign(static_cast<size_t>(720 * h), 0);
        cb.assign(static_cast<size_t>(cw * ch), 128);
        cr.assign(static_cast<size_t>(cw * ch), 128);
        for (int i = 0; i < seqs; ++i) {
            const uint8_t* seq = f + static_cast<ptrdiff_t>(i) * kSequenceBytes;
            for (int k = 0; k < 27; ++k) {
                // Video blocks 5k..5k+4: nine groups of an audio block and fifteen video blocks follow
                // the header, subcode and VAUX blocks.
                const int vb = 5 * k;
                const uint8_t* segment = seq + static_cast<ptrdiff_t>(7 + 16 * (vb / 15) + vb % 15) * kDifBlock;
                if ((segment[0] >> 5) != 4) fail("DIF block is not a video block");
                zepiHuffmanDecodeSegment_DV_8u16s(segment, scans, table, blocks, params);
                for (int j = 0; j < 5; ++j) place(i, k, j, pal, seqs, cw);
            }
        }
        if (self->on_frame)
            self->on_frame(FrameOut{y.data(), cb.data(), cr.data(), 720, cw, 720, h, cw, ch});
    }

    void place(int seq, int k, int j, bool pal, int seqs, int cw) {
        const int row = (seq + kRowOffset[j]) % seqs, col = kColumn[j];
        const int b = 6 * j;
        if (pal) {
            const int kc = k / 3, kr = (kc & 1) ? 2 - k % 3 : k % 3;
            const int x = col * 144 + kc * 16, yy = row * 48 + kr * 16;
            uint8_t* py = y.data() + yy * 720 + x;
            put(b, py, 720);
            put(b + 1, py + 8, 720);
            put(b + 2, py + 8 * 720, 720);
            put(b + 3, py + 8 * 720 + 8, 720);
            const int co = (yy / 2) * cw + x / 2;
            put(b + 4, cr.data() + co, cw);
            put(b + 5, cb.data() + co, cw);
            return;
        }
        // 4:1:1 macroblocks are 32x8 in columns of six. The super blocks of columns 0-1 and 2-3 share a
        // snake of nine macroblock columns (down, up, down, ...), the second starting halfway down the
        // fifth; column 4 holds four such columns and three 16x16 macroblocks at the right edge.
        if (col < 4 || k < 24) {
            const int s = col < 4 ? 27 * (col & 1) + k : k;
            const int mc = (col < 4 ? 9 * (col >> 1) : 18) + s / 6;
            const int kr = (s / 6) & 1 ? 5 - s % 6 : s % 6;
            const int x = mc * 32, yy = row * 48 + kr * 8;
            uint8_t* py = y.data() + yy * 720 + x;
            for (int q = 0; q < 4; ++q) put(b + q, py + 8 * q, 720);
            const int co = yy * cw + x / 4;
            put(b + 4, cr.data() + co, cw);
            put(b + 5, cb.data() + co, cw);
        } else {
            const int x = 704, yy = row * 48 + (k - 24) * 16;
            uint8_t* py = y.data() + yy * 720 + x;
            put(b, py, 720);
            put(b + 1, py + 8, 720);
            put(b + 2, py + 8 * 720, 720);
            put(b + 3, py + 8 * 720 + 8, 720);
            const int co = yy * cw + x / 4;
            put_split(b + 4, cr.data() + co, cw);
            put_split(b + 5, cb.data() + co, cw);
        }
    }
};

Decoder::Decoder() : impl_(std::make_unique<Impl>()) { impl_->self = this; }
Decoder::~Decoder() = default;

void Decoder::decode_stream(const uint8_t* data, size_t size) {
    size_t pos = 0;
    if (size < static_cast<size_t>(kSequenceBytes)) fail("stream shorter than one DIF sequence: not a DV stream");
    while (pos + kDifBlock <= size) {
        const uint8_t* h = data + pos;
        if ((h[0] >> 5) != 0) fail("frame does not start with a DIF header block");
        const bool pal = (h[3] & 0x80) != 0;
        // The VAUX source pack (0x60) names the video format: stype 0 is 25 Mbit/s.
        for (int blk = 3; blk < 6; ++blk)
            for (int pk = 0; pk < 15; ++pk) {
                const uint8_t* pack = h + blk * kDifBlock + 3 + 5 * pk;
                if (pack[0] == 0x60 && (pack[3] & 0x1F) != 0) throw Unsupported("DV formats other than 25 Mbit/s");
            }
        const size_t frame_bytes = static_cast<size_t>(pal ? 12 : 10) * kSequenceBytes;
        if (pos + frame_bytes > size) fail("truncated DV frame");
        impl_->frame(h, pal);
        pos += frame_bytes;
    }
    if (pos != size) fail("trailing bytes after the last DV frame");
}

}  // namespace zdec::dv
