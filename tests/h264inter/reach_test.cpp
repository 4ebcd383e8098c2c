// Memory reach of every kernel at every level: inputs are laid out exactly
// over what the functions may read (the filter reach, the macroblock and its
// neighbours' samples, the block), against an inaccessible page at the front
// or at the back. A kernel that reads or writes one sample too far faults.
#include "harness/harness.h"

#include <sys/mman.h>
#include <unistd.h>

#include "h264/deblock_dsp.h"
#include "h264/interp_dsp.h"
#include "h264/weight_dsp.h"

namespace {

using namespace zt;

// n random bytes right after (front) or right before (back) a page without
// access; mask16 keeps 16-bit samples within a bit depth.
class Fenced {
public:
    Fenced(size_t n, bool back, Zep16u mask16 = 0xFFFF) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        total_ = ((n + page - 1) / page + 2) * page;
        base_ = static_cast<uint8_t*>(mmap(nullptr, total_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        EXPECT_NE(base_, MAP_FAILED);
        mprotect(base_, page, PROT_NONE);
        mprotect(base_ + total_ - page, page, PROT_NONE);
        data_ = back ? base_ + total_ - page - n : base_ + page;
        Rng rng(static_cast<uint64_t>(n));
        for (size_t i = 0; i < n; ++i) data_[i] = static_cast<uint8_t>(rng.u32());
        if (mask16 != 0xFFFF)  // 16-bit buffers only (8-bit ones may start at odd addresses)
            for (size_t i = 0; i < n / 2; ++i) data<Zep16u>()[i] &= mask16;
    }
    ~Fenced() { munmap(base_, total_); }
    Fenced(const Fenced&) = delete;
    Fenced& operator=(const Fenced&) = delete;
    template <class T = uint8_t>
    T* data() { return reinterpret_cast<T*>(data_); }

private:
    uint8_t* base_;
    uint8_t* data_;
    size_t total_;
};

constexpr bool kSides[] = {false, true};

TEST(KernelReach, InterpolationReadsOnlyTheFilterReach) {
    for (Isa level : all_levels()) {
        const zep::InterpDsp t = zep::build_table(zep::interp_init, level);
        for (int cls = 0; cls < 3; ++cls)
            for (int pos = 0; pos < 16; ++pos)
                for (bool back : kSides) {
                    const int w = 4 << cls, h = 8, step = w + 5;  // columns -2 .. w + 2
                    Fenced src(static_cast<size_t>(step) * (h + 5), back), dst(static_cast<size_t>(w) * h, back);
                    t.luma8[cls][pos](src.data() + 2 * step + 2, step, dst.data(), w, h);
                    Fenced src16(2 * static_cast<size_t>(step) * (h + 5), back, 1023);
                    Fenced dst16(2 * static_cast<size_t>(w) * h, back);
                    t.luma16[cls][pos](src16.data<Zep16u>() + 2 * step + 2, step, dst16.data<Zep16u>(), w, h, 1023);
                    // No rows (a height of 0 or a negative multiple of 4 passes the checks): nothing at all.
                    Fenced none(0, back);
                    for (int rows : {0, -4}) t.luma8[cls][pos](none.data(), 64, none.data(), 64, rows);
                }
    }
}

// Chroma blocks read one column right of and one row below the block, nothing more.
TEST(KernelReach, ChromaInterpolationReadsOnlyTheBlockAndOneMore) {
    for (Isa level : all_levels()) {
        const zep::InterpDsp t = zep::build_table(zep::interp_init, level);
        for (int w : {2, 4, 8})
            for (int h : {2, 4, 8, 16})
                for (bool back : kSides) {
                    const int step = w + 1, dx = 3, dy = 5;
                    Fenced src(static_cast<size_t>(step) * (h + 1), back), dst(static_cast<size_t>(w) * h, back);
                    t.chroma8[zep::chroma_class(w)](src.data(), step, dst.data(), w, dx, dy, h);
                    Fenced src16(2 * static_cast<size_t>(step) * (h + 1), back), dst16(2 * static_cast<size_t>(w) * h, back);
                    t.chroma16[zep::chroma_class(w)](src16.data<Zep16u>(), step, dst16.data<Zep16u>(), w, dx, dy, h);
                }
    }
}

TEST(KernelReach, DeblockingTouchesOnlyTheMacroblockAndItsNeighbours) {
    for (Isa level : all_levels()) {
        const zep::DeblockDsp t = zep::build_table(zep::deblock_init, level);
        const Zep8u alpha[2] = {255, 255}, beta[2] = {255, 255}, tc0[16] = {};
        const Zep16u alpha16[2] = {1023, 1023}, beta16[2] = {1023, 1023}, tc16[16] = {};
        Zep8u bs[16];
        for (int mode = 0; mode < 2; ++mode) {
            for (int i = 0; i < 16; ++i) bs[i] = static_cast<Zep8u>(mode ? 4 : 1 + i % 3);
            for (bool back : kSides) {
                // Vertical edges: 16 rows of columns -4..15; horizontal: rows -4..15 of 16 columns.
                Fenced ver(20 * 16, back), hor(16 * 20, back);
                Fenced ver16(2 * 20 * 16, back, 1023), hor16(2 * 16 * 20, back, 1023);
                t.luma8[0](ver.data() + 4, 20, alpha, beta, tc0, bs);
                t.luma8[1](hor.data() + 4 * 16, 16, alpha, beta, tc0, bs);
                t.luma16[0](ver16.data<Zep16u>() + 4, 20, alpha16, beta16, tc16, bs, 1023);
                t.luma16[1](hor16.data<Zep16u>() + 4 * 16, 16, alpha16, beta16, tc16, bs, 1023);
            }
        }
    }
}

// Chroma edges reach two samples before the first edge and two after the
// last (columns -2..5 or rows -2..5 / -2..13); MBAFF left edges columns -4..3
// (luma) or -2..1 (chroma) of their 8 or 4 rows.
TEST(KernelReach, ChromaAndMbaffDeblockingTouchOnlyTheirReach) {
    for (Isa level : all_levels()) {
        const zep::DeblockDsp t = zep::build_table(zep::deblock_init, level);
        const Zep8u alpha[2] = {255, 255}, beta[2] = {255, 255}, tc0[16] = {};
        const Zep16u alpha16[2] = {1023, 1023}, beta16[2] = {1023, 1023}, tc16[16] = {};
        Zep8u bs[16];
        for (int mode = 0; mode < 2; ++mode) {
            for (int i = 0; i < 16; ++i) bs[i] = static_cast<Zep8u>(mode ? 4 : 1 + i % 3);
            for (bool back : kSides)
                for (int kind = 0; kind < 4; ++kind) {
                    const bool ver = kind == zep::kChromaVer420 || kind == zep::kChromaVer422;
                    // Either way `rows` rows of 8 samples: columns -2..5, or rows -2 .. rows - 3.
                    const int w = 8, rows = kind >= zep::kChromaVer422 ? 16 : 8;
                    Fenced buf(static_cast<size_t>(w) * rows, back), buf16(2 * static_cast<size_t>(w) * rows, back, 1023);
                    Zep8u* o = ver ? buf.data() + 2 : buf.data() + 2 * w;
                    Zep16u* o16 = ver ? buf16.data<Zep16u>() + 2 : buf16.data<Zep16u>() + 2 * w;
                    t.chroma8[kind](o, w, alpha, beta, tc0, bs);
                    t.chroma16[kind](o16, w, alpha16, beta16, tc16, bs, 1023);
                }
            for (bool back : kSides) {
                Fenced luma(8 * 8, back), chroma(4 * 4, back);
                t.mbaff8[0](luma.data() + 4, 8, alpha, beta, tc0, bs);
                t.mbaff8[1](chroma.data() + 2, 4, alpha, beta, tc0, bs);
            }
        }
    }
}

TEST(KernelReach, WeightingReadsAndWritesOnlyTheBlocks) {
    const int sizes[] = {2, 4, 8, 16};
    const zep::WeightParams p{20, 44, 32, 6, 0};
    for (Isa level : all_levels()) {
        const zep::WeightDsp t = zep::build_table(zep::weight_init, level);
        for (int wc = 0; wc < 4; ++wc)
            for (int hc = 0; hc < 4; ++hc)
                for (bool back : kSides) {
                    const int w = sizes[wc], h = sizes[hc];
                    Fenced a(w * h, back), b(w * h, back), d(w * h, back);
                    t.block[wc * 4 + hc](a.data(), w, b.data(), w, d.data(), w, p);
                }
        for (int w : {1, 3, 7, 8, 13, 16, 25, 33})
            for (bool back : kSides) {
                Fenced a(w * 3, back), b(w * 3, back), d(w * 3, back);
                t.any(a.data(), w, b.data(), w, d.data(), w, p, w, 3);
            }
    }
}

}  // namespace
