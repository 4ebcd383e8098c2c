// DV macroblocks into packed 4:2:2 pictures: every form against a plain
// model of where each sample of each block lands, guard bytes around the
// macroblocks, kernel levels, and bad arguments.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "dv/convert_dsp.h"
#include "harness/harness.h"
#include "zepvc.h"

namespace {

enum Kind { k411, k420, kEdge };
using Fn5 = ZepStatus (*)(const Zep16s*, Zep8u* [5], Zep32s);
using FnEdge = ZepStatus (*)(const Zep16s*, Zep8u*, Zep32s);

int clamp(int v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

// Full-size 4:2:2 sample of one macroblock: plane 0 luma (x < width), 1 Cb, 2 Cr (x < width / 2).
int model(const Zep16s* b, Kind k, int plane, int x, int y) {
    if (plane == 0) {
        if (k == k411) return clamp(b[64 * (x / 8) + 8 * y + x % 8]);
        return clamp(b[64 * (2 * (y / 8) + x / 8) + 8 * (y % 8) + x % 8]);
    }
    const Zep16s* c = b + 64 * (plane == 1 ? 5 : 4);
    if (k == k411) return clamp(c[8 * y + x / 2]);
    if (k == k420) return clamp(c[8 * (y / 2) + x]);
    return clamp(c[8 * (y % 8) + (y < 8 ? 0 : 4) + x / 2]);
}

// The packed bytes of a macroblock reduced z times, as rows of 2 * w bytes.
std::vector<std::vector<int>> expected(const Zep16s* b, Kind k, int z) {
    const int w = k == k411 ? 32 : 16, h = k == k411 ? 8 : 16;
    std::vector<std::vector<int>> rows(static_cast<size_t>(h / z), std::vector<int>(static_cast<size_t>(2 * w / z)));
    auto mean = [&](int plane, int x0, int y0) {
        int s = 0;
        for (int i = 0; i < z; ++i)
            for (int j = 0; j < z; ++j) s += model(b, k, plane, x0 + j, y0 + i);
        return (s + z * z / 2) / (z * z);
    };
    for (int y = 0; y < h / z; ++y)
        for (int x = 0; x < w / z; ++x) {
            rows[static_cast<size_t>(y)][static_cast<size_t>(2 * x)] = mean(0, x * z, y * z);
            rows[static_cast<size_t>(y)][static_cast<size_t>(2 * x + 1)] = mean(x % 2 == 0 ? 1 : 2, (x / 2) * z, y * z);
        }
    return rows;
}

std::vector<Zep16s> random_blocks(std::mt19937& rng, int n) {
    std::uniform_int_distribution<int> v(-60, 320);
    std::vector<Zep16s> b(static_cast<size_t>(64 * n));
    for (Zep16s& s : b) s = static_cast<Zep16s>(v(rng));
    return b;
}

constexpr int kStep = 200, kRows = 90;

TEST(DvConvert, EveryFormPlacesEverySample) {
    const struct {
        Kind kind;
        int z;
        Fn5 five;
        FnEdge edge;
    } cases[] = {
        {k411, 1, zepiYCrCb411ToYCbCr422_5MBDV_16s8u_P3C2R, nullptr},
        {k411, 2, zepiYCrCb411ToYCbCr422_ZoomOut2_5MBDV_16s8u_P3C2R, nullptr},
        {k411, 4, zepiYCrCb411ToYCbCr422_ZoomOut4_5MBDV_16s8u_P3C2R, nullptr},
        {k411, 8, zepiYCrCb411ToYCbCr422_ZoomOut8_5MBDV_16s8u_P3C2R, nullptr},
        {k420, 1, zepiYCrCb420ToYCbCr422_5MBDV_16s8u_P3C2R, nullptr},
        {k420, 2, zepiYCrCb420ToYCbCr422_ZoomOut2_5MBDV_16s8u_P3C2R, nullptr},
        {k420, 4, zepiYCrCb420ToYCbCr422_ZoomOut4_5MBDV_16s8u_P3C2R, nullptr},
        {k420, 8, zepiYCrCb420ToYCbCr422_ZoomOut8_5MBDV_16s8u_P3C2R, nullptr},
        {kEdge, 1, nullptr, zepiYCrCb411ToYCbCr422_EdgeDV_16s8u_P3C2R},
        {kEdge, 2, nullptr, zepiYCrCb411ToYCbCr422_ZoomOut2_EdgeDV_16s8u_P3C2R},
        {kEdge, 4, nullptr, zepiYCrCb411ToYCbCr422_ZoomOut4_EdgeDV_16s8u_P3C2R},
        {kEdge, 8, nullptr, zepiYCrCb411ToYCbCr422_ZoomOut8_EdgeDV_16s8u_P3C2R},
    };
    std::mt19937 rng(5);
    for (const auto& c : cases) {
        const int mbs = c.five ? 5 : 1;
        const std::vector<Zep16s> src = random_blocks(rng, 6 * mbs);
        std::vector<Zep8u> pic(static_cast<size_t>(kStep * kRows), 0xC3);
        // Macroblocks at scattered places, odd offsets included.
        const int at[5][2] = {{3, 1}, {70, 20}, {5, 40}, {131, 57}, {66, 71}};
        Zep8u* dst[5];
        for (int m = 0; m < 5; ++m) dst[m] = pic.data() + at[m][1] * kStep + at[m][0];
        const ZepStatus st = c.five ? c.five(src.data(), dst, kStep) : c.edge(src.data(), dst[0], kStep);
        ASSERT_EQ(st, zepStatusOk);
        std::vector<bool> mine(pic.size(), false);
        for (int m = 0; m < mbs; ++m) {
            const auto want = expected(src.data() + 6 * 64 * m, c.kind, c.z);
            for (size_t y = 0; y < want.size(); ++y)
                for (size_t x = 0; x < want[y].size(); ++x) {
                    const size_t off = static_cast<size_t>(at[m][1] + static_cast<int>(y)) * kStep +
                                       static_cast<size_t>(at[m][0]) + x;
                    ASSERT_EQ(pic[off], want[y][x]) << "kind " << c.kind << " zoom " << c.z << " mb " << m << " at " << x
                                                    << "," << y;
                    mine[off] = true;
                }
        }
        for (size_t i = 0; i < pic.size(); ++i) {
            if (!mine[i]) {
                ASSERT_EQ(pic[i], 0xC3) << "kind " << c.kind << " zoom " << c.z << " wrote outside at " << i;
            }
        }
    }
}

TEST(DvConvert, KernelLevelsMatchTheReference) {
    const zep::DvConvertDsp ref = zep::build_table(zep::dv_convert_init, zt::Isa::Ref);
    std::mt19937 rng(9);
    for (zt::Isa level : zt::simd_levels()) {
        const zep::DvConvertDsp k = zep::build_table(zep::dv_convert_init, level);
        for (int n = 0; n < 50; ++n) {
            const std::vector<Zep16s> b = random_blocks(rng, 6);
            for (int which = 0; which < 2; ++which) {
                std::vector<Zep8u> a(64 * 16, 1), c(64 * 16, 1);
                (which ? ref.mb420 : ref.mb411)(b.data(), a.data(), 64);
                (which ? k.mb420 : k.mb411)(b.data(), c.data(), 64);
                ASSERT_EQ(a, c) << "level " << static_cast<int>(level) << (which ? " 4:2:0" : " 4:1:1");
            }
        }
    }
}

TEST(DvConvert, BadArgumentsWriteNothing) {
    std::mt19937 rng(3);
    const std::vector<Zep16s> src = random_blocks(rng, 30);
    std::vector<Zep8u> pic(static_cast<size_t>(kStep * kRows), 0x5A);
    Zep8u* dst[5] = {pic.data(), pic.data() + 64, pic.data() + 128, pic.data() + 20 * kStep, pic.data() + 40 * kStep};
    Zep8u* holed[5] = {pic.data(), pic.data() + 64, nullptr, pic.data() + 20 * kStep, pic.data() + 40 * kStep};
    EXPECT_EQ(zepiYCrCb411ToYCbCr422_5MBDV_16s8u_P3C2R(nullptr, dst, kStep), zepStatusNullPtr);
    EXPECT_EQ(zepiYCrCb411ToYCbCr422_5MBDV_16s8u_P3C2R(src.data(), nullptr, kStep), zepStatusNullPtr);
    EXPECT_EQ(zepiYCrCb420ToYCbCr422_5MBDV_16s8u_P3C2R(src.data(), holed, kStep), zepStatusNullPtr);
    EXPECT_EQ(zepiYCrCb411ToYCbCr422_5MBDV_16s8u_P3C2R(src.data(), dst, 63), zepStatusBadStep);
    EXPECT_EQ(zepiYCrCb411ToYCbCr422_ZoomOut8_5MBDV_16s8u_P3C2R(src.data(), dst, 7), zepStatusBadStep);
    EXPECT_EQ(zepiYCrCb420ToYCbCr422_5MBDV_16s8u_P3C2R(src.data(), dst, 31), zepStatusBadStep);
    EXPECT_EQ(zepiYCrCb411ToYCbCr422_EdgeDV_16s8u_P3C2R(src.data(), nullptr, kStep), zepStatusNullPtr);
    EXPECT_EQ(zepiYCrCb411ToYCbCr422_ZoomOut2_EdgeDV_16s8u_P3C2R(src.data(), dst[0], 15), zepStatusBadStep);
    EXPECT_EQ(pic, std::vector<Zep8u>(static_cast<size_t>(kStep * kRows), 0x5A));
    // The smallest accepted steps: one output row of the macroblock.
    EXPECT_EQ(zepiYCrCb411ToYCbCr422_ZoomOut8_5MBDV_16s8u_P3C2R(src.data(), dst, 8), zepStatusOk);
    EXPECT_EQ(zepiYCrCb420ToYCbCr422_5MBDV_16s8u_P3C2R(src.data(), dst, 32), zepStatusOk);
}

}  // namespace
