// DV segment decoding: a test-side encoder spreads random blocks over the
// segment the way DV does (own area, then the free space of the macroblock,
// then of the segment), and every block decodes back exactly; blocks that end
// inside another's area, dense segments that overflow across macroblocks, the
// one-pass forms, corrupt segments, the table builder, and the checks.
#include <array>
#include <map>
#include <string>
#include <vector>

#include "dv_encoder.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "zepvc.h"

namespace {

using namespace zt;
using dvt::Segment;

using namespace dvt;

struct Table {
    Zep32u* t = nullptr;
    Table() {
        const auto a = source_table(false), b = source_table(true);
        EXPECT_EQ(zepiInitAllocHuffmanTable_DV_32u(a.data(), b.data(), &t), zepStatusOk);
    }
    ~Table() { zepiFreeHuffmanTable_DV_32u(t); }
};

std::vector<Zep32s> random_scans(Rng& rng) {
    std::vector<Zep32s> s(128);
    for (int t = 0; t < 2; ++t) {
        for (int i = 0; i < 64; ++i) s[static_cast<size_t>(64 * t + i)] = i;
        for (int i = 63; i > 1; --i) std::swap(s[static_cast<size_t>(64 * t + i)], s[static_cast<size_t>(64 * t + rng.range(1, i))]);
    }
    return s;  // position 0 stays at index 0: the DC
}

void expect_decoded(const Segment& s, const std::vector<Zep32s>& scans, const std::vector<Zep16s>& out,
                    const std::vector<Zep32u>& params, const std::string& ctx, bool acToo = true) {
    for (size_t k = 0; k < s.coefs.size(); ++k) {
        const Zep32s* scan = scans.data() + (s.mode[k] ? 64 : 0);
        for (int i = 0; i < 64; ++i) {
            const int want = i == 0 || acToo ? s.coefs[k][static_cast<size_t>(i)] : 0;
            ASSERT_EQ(out[64 * k + static_cast<size_t>(scan[i])], want) << ctx << " block " << k << " scan position " << i;
        }
        const Zep32u wantParam = (static_cast<Zep32u>(s.qno[k / (s.coefs.size() / 5)]) << 16) |
                                 static_cast<Zep32u>(s.mode[k] << 6 | s.cls[k] << 4);
        ASSERT_EQ(params[k], wantParam) << ctx << " block " << k;
    }
}

TEST(DvSegment, RandomSegmentsDecodeBackExactly) {
    Rng rng(141);
    Table t;
    int overflowed = 0;
    for (int it = 0; it < 300; ++it)
        for (int dv100 = 0; dv100 < 2; ++dv100) {
            const Layout& L = dv100 ? kDv100 : kDv;
            const int density = it % 3 == 0 ? 40 : (it % 3 == 1 ? 12 : 4);
            const Segment s = make_segment(rng, L, density);
            const std::vector<Zep32s> scans = random_scans(rng);
            std::vector<Zep16s> out(static_cast<size_t>(64 * 5 * L.blocks), 0x7777);
            std::vector<Zep32u> params(static_cast<size_t>(5 * L.blocks), 0xDEAD);
            const auto fn = dv100 ? zepiHuffmanDecodeSegment_DV100_8u16s : zepiHuffmanDecodeSegment_DV_8u16s;
            ASSERT_EQ(fn(s.bytes.data(), scans.data(), t.t, out.data(), params.data()), zepStatusOk);
            ASSERT_NO_FATAL_FAILURE(expect_decoded(s, scans, out, params, std::string(dv100 ? "DV100" : "DV") +
                                                                              " density " + std::to_string(density)));
            for (const auto& c : s.coefs)
                overflowed += ac_bits(c).size() + 12 > static_cast<size_t>(8 * (dv100 ? 8 : 10));
        }
    EXPECT_GT(overflowed, 100);  // the segments exercised the second and third passes
}

TEST(DvSegment, OnePassFormsDecodeOwnAreasOnly) {
    Rng rng(142);
    Table t;
    for (int it = 0; it < 100; ++it) {
        const Segment s = make_segment(rng, kDv, 2);  // sparse: most blocks fit their areas
        const std::vector<Zep32s> scans = random_scans(rng);
        std::vector<Zep16s> out(64 * 30);
        std::vector<Zep32u> params(30);
        ASSERT_EQ(zepiHuffmanDecodeSegmentOnePass_DV_8u16s(s.bytes.data(), scans.data(), t.t, out.data(), params.data(), 1),
                  zepStatusOk);
        ASSERT_NO_FATAL_FAILURE(expect_decoded(s, scans, out, params, "DC only", false));
        ASSERT_EQ(zepiHuffmanDecodeSegmentOnePass_DV_8u16s(s.bytes.data(), scans.data(), t.t, out.data(), params.data(), 0),
                  zepStatusOk);
        // Blocks whose codes fit their own area come back whole.
        for (size_t k = 0; k < 30; ++k) {
            const int area = k % 6 < 4 ? 112 : 80;
            if (static_cast<int>(ac_bits(s.coefs[k]).size()) + 12 > area) continue;
            const Zep32s* scan = scans.data() + (s.mode[k] ? 64 : 0);
            for (int i = 0; i < 64; ++i) ASSERT_EQ(out[64 * k + static_cast<size_t>(scan[i])], s.coefs[k][static_cast<size_t>(i)]) << "block " << k;
        }
    }
}

TEST(DvSegment, CorruptSegmentsEndWithoutFault) {
    Rng rng(143);
    Table t;
    const std::vector<Zep32s> scans = random_scans(rng);
    for (int it = 0; it < 3000; ++it) {
        // Exactly 400 bytes on the heap: a read past the segment is caught by the sanitizers.
        std::vector<Zep8u> seg(400);
        for (auto& b : seg) b = static_cast<Zep8u>(it % 4 ? rng.u32() : (rng.coin() ? 0xFF : 0x00));
        std::vector<Zep16s> out(64 * 40);
        std::vector<Zep32u> params(40);
        ASSERT_EQ(zepiHuffmanDecodeSegment_DV_8u16s(seg.data(), scans.data(), t.t, out.data(), params.data()), zepStatusOk);
        ASSERT_EQ(zepiHuffmanDecodeSegment_DV100_8u16s(seg.data(), scans.data(), t.t, out.data(), params.data()), zepStatusOk);
        for (Zep16s v : out) ASSERT_LE(std::abs(v), 256);
    }
}

TEST(DvTable, EntriesAndChecks) {
    Table t;
    // "00" (run 0, amplitude 1) fills the 64 first-table entries 0..63; "0110" is the end of block.
    for (int i = 0; i < 64; ++i) ASSERT_EQ(t.t[i], 2u | (0u << 8) | (64u << 16)) << i;
    EXPECT_EQ(t.t[0x60] & 0xFFFF, 4u | (255u << 8));
    // A 15-bit amplitude code (1111111 + 8 bits) sits in the second table with length 15.
    const Zep32u e = t.t[256 + ((0x7F << 8 | 200) & 0x7FF)];
    EXPECT_EQ(e & 0xFF, 15u);
    EXPECT_EQ(static_cast<Zep16s>(e >> 16), 200 * 64);
    // An index no code starts: length 255.
    const auto a = source_table(false);
    std::vector<Zep32u> empty = {4, 0, 0, 0, 0, 0, 0};
    Zep32u* u = reinterpret_cast<Zep32u*>(0x1);
    ASSERT_EQ(zepiInitAllocHuffmanTable_DV_32u(empty.data(), empty.data(), &u), zepStatusOk);
    for (int i = 0; i < 32; ++i) EXPECT_EQ(u[i], 255u);
    zepiFreeHuffmanTable_DV_32u(u);
    // A width no allocation can hold fails with a null result.
    std::vector<Zep32u> huge = {40, 0, 0};
    u = reinterpret_cast<Zep32u*>(0x1);
    EXPECT_EQ(zepiInitAllocHuffmanTable_DV_32u(huge.data(), empty.data(), &u), zepStatusNoMemory);
    EXPECT_EQ(u, nullptr);
    Zep32u* p = nullptr;
    EXPECT_TRUE(null_sweep(zepiInitAllocHuffmanTable_DV_32u, a.data(), a.data(), &p));
    EXPECT_EQ(zepiFreeHuffmanTable_DV_32u(nullptr), zepStatusNullPtr);
    Guarded<Zep16s> g(64 * 40);
    Guarded<Zep32u> gp(40);
    std::vector<Zep8u> seg(400, 0);
    std::vector<Zep32s> scans(128, 0);
    EXPECT_TRUE(null_sweep_except({1, 2}, zepiHuffmanDecodeSegment_DV_8u16s, static_cast<const Zep8u*>(seg.data()),
                                  static_cast<const Zep32s*>(scans.data()), static_cast<const Zep32u*>(t.t), g.data(), gp.data()));
    EXPECT_TRUE(null_sweep_except({1, 2}, zepiHuffmanDecodeSegment_DV100_8u16s, static_cast<const Zep8u*>(seg.data()),
                                  static_cast<const Zep32s*>(scans.data()), static_cast<const Zep32u*>(t.t), g.data(), gp.data()));
    EXPECT_TRUE(g.untouched());
    EXPECT_TRUE(gp.untouched());
}

}  // namespace
