// H.264 CAVLC syntax analysis: the reference against an independent model
// and hand-worked blocks, every kernel level against the reference (untouched
// entries of the level and run arrays included), and the entry points' checks.
#include <algorithm>
#include <array>
#include <numeric>

#include "harness/harness.h"

#include "h264/cavlcenc_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::CavlcEncDsp;

constexpr int kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
constexpr int kDc2x4Scan[8] = {0, 2, 1, 4, 6, 3, 5, 7};

struct Syntax {
    int t = 0, s = 0, n = 0, tz = 0;
    std::vector<int64_t> levels;  // the non-trailing-one levels, highest frequency first
    std::vector<int> runs;        // run_before of all but the lowest-frequency coefficient
};

// Model from the coefficients in walk order (highest frequency first): find
// the non-zero positions, then read every syntax value off them.
Syntax model(const std::vector<int64_t>& walk) {
    std::vector<int> nz;
    for (int i = 0; i < static_cast<int>(walk.size()); ++i)
        if (walk[i] != 0) nz.push_back(i);
    Syntax s;
    s.n = static_cast<int>(nz.size());
    while (s.t < 3 && s.t < s.n && (walk[nz[s.t]] == 1 || walk[nz[s.t]] == -1)) ++s.t;
    for (int j = 0; j < s.t; ++j) s.s = 2 * s.s + (walk[nz[j]] < 0);
    for (int j = s.t; j < s.n; ++j) s.levels.push_back(walk[nz[j]]);
    for (int j = 0; j + 1 < s.n; ++j) s.runs.push_back(nz[j + 1] - nz[j] - 1);
    s.tz = s.n ? static_cast<int>(walk.size()) - nz[0] - s.n : 0;
    return s;
}

// Outputs of one call, level and run arrays guard-filled beforehand.
template <class T>
struct Out {
    Zep8u t = 0xEE, s = 0xEE, n = 0xEE, tz = 0xEE;
    std::array<T, 16> levels;
    std::array<Zep8u, 16> runs;
    Out() {
        levels.fill(static_cast<T>(0x7A7A));
        runs.fill(0xA7);
    }
    bool operator==(const Out&) const = default;
};

template <class T>
::testing::AssertionResult matches(const Syntax& m, const Out<T>& o) {
    auto fail = [&](const char* what) {
        std::ostringstream s;
        s << what << ": model t " << m.t << " s " << m.s << " n " << m.n << " tz " << m.tz << ", got t " << +o.t
          << " s " << +o.s << " n " << +o.n << " tz " << +o.tz;
        return ::testing::AssertionFailure() << s.str();
    };
    if (o.t != m.t || o.s != m.s || o.n != m.n || o.tz != m.tz) return fail("counts");
    const int nl = static_cast<int>(m.levels.size()), nr = static_cast<int>(m.runs.size());
    for (int j = 0; j < 16; ++j) {
        if (j < nl ? o.levels[j] != m.levels[j] : o.levels[j] != static_cast<T>(0x7A7A)) return fail("levels");
        if (j < nr ? o.runs[j] != m.runs[j] : o.runs[j] != 0xA7) return fail("runs");
    }
    return ::testing::AssertionSuccess();
}

template <class T>
std::string dump(const T* c, int n) {
    std::ostringstream s;
    s << "coefficients:";
    for (int i = 0; i < n; ++i) s << ' ' << +c[i];
    return s.str();
}

// Coefficient blocks like quantised residuals: mostly zeros and ones, some
// larger levels, now and then the type's extremes.
template <class T>
void random_coeffs(Rng& rng, T* c, int n, int density) {
    for (int i = 0; i < n; ++i) {
        const int r = rng.range(0, 99);
        if (r >= density) c[i] = 0;
        else if (r < density / 2) c[i] = rng.coin() ? 1 : -1;
        else if (r < density - 2) c[i] = static_cast<T>(rng.range(-40, 40));
        else c[i] = rng.coin() ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
    }
}

std::array<Zep32s, 16> random_scan(Rng& rng) {
    std::array<Zep32s, 16> p;
    if (rng.coin()) {
        std::copy(kZigzag, kZigzag + 16, p.begin());
        return p;
    }
    std::iota(p.begin(), p.end(), 0);
    for (int i = 15; i > 0; --i) std::swap(p[i], p[rng.range(0, i)]);
    return p;
}

// ---------------------------------------------------------------- reference

TEST(CavlcEncEntry, BlockMatchesModel) {
    Rng rng(21);
    for (int it = 0; it < 4000; ++it) {
        Zep16s c16[16];
        Zep32s c32[16];
        random_coeffs(rng, c32, 16, rng.range(0, 100));
        for (int i = 0; i < 16; ++i) c16[i] = static_cast<Zep16s>(std::clamp(c32[i], -32768, 32767));
        const auto scan = random_scan(rng);
        const int last = rng.range(0, 15), start = rng.range(0, std::min(last, 1 + (it & 1) * 14));
        std::vector<int64_t> w16, w32;
        for (int i = last; i >= start; --i) w16.push_back(c16[scan[i]]), w32.push_back(c32[scan[i]]);
        Out<Zep16s> o16;
        Out<Zep32s> o32;
        ASSERT_EQ(zepiEncodeCoeffsCAVLC_H264_16s(c16, start, scan.data(), last, &o16.t, &o16.s, &o16.n, &o16.tz,
                                                 o16.levels.data(), o16.runs.data()),
                  zepStatusOk);
        ASSERT_EQ(zepiEncodeCoeffsCAVLC_H264_32s(c32, start, scan.data(), last, &o32.t, &o32.s, &o32.n, &o32.tz,
                                                 o32.levels.data(), o32.runs.data()),
                  zepStatusOk);
        const std::string ctx = "start " + std::to_string(start) + " last " + std::to_string(last);
        ASSERT_TRUE(matches(model(w16), o16)) << ctx << ' ' << dump(c16, 16);
        ASSERT_TRUE(matches(model(w32), o32)) << ctx << ' ' << dump(c32, 16);
    }
}

TEST(CavlcEncEntry, ChromaDcMatchesModel) {
    Rng rng(22);
    for (int it = 0; it < 2000; ++it) {
        Zep32s c32[8];
        Zep16s c16[8];
        random_coeffs(rng, c32, 8, rng.range(0, 100));
        for (int i = 0; i < 8; ++i) c16[i] = static_cast<Zep16s>(std::clamp(c32[i], -32768, 32767));
        std::vector<int64_t> w2x2_16, w2x2_32, w2x4_16, w2x4_32;
        for (int i = 3; i >= 0; --i) w2x2_16.push_back(c16[i]), w2x2_32.push_back(c32[i]);
        for (int i = 7; i >= 0; --i) w2x4_16.push_back(c16[kDc2x4Scan[i]]), w2x4_32.push_back(c32[kDc2x4Scan[i]]);
        Out<Zep16s> a, c;
        Out<Zep32s> b, d;
        ASSERT_EQ(zepiEncodeChromaDcCoeffsCAVLC_H264_16s(c16, &a.t, &a.s, &a.n, &a.tz, a.levels.data(), a.runs.data()),
                  zepStatusOk);
        ASSERT_EQ(
            zepiEncodeCoeffsCAVLCChromaDC2x2_H264_32s(c32, &b.t, &b.s, &b.n, &b.tz, b.levels.data(), b.runs.data()),
            zepStatusOk);
        ASSERT_EQ(
            zepiEncodeCoeffsCAVLCChromaDC2x4_H264_16s(c16, &c.t, &c.s, &c.n, &c.tz, c.levels.data(), c.runs.data()),
            zepStatusOk);
        ASSERT_EQ(
            zepiEncodeCoeffsCAVLCChromaDC2x4_H264_32s(c32, &d.t, &d.s, &d.n, &d.tz, d.levels.data(), d.runs.data()),
            zepStatusOk);
        ASSERT_TRUE(matches(model(w2x2_16), a)) << "2x2 16s " << dump(c16, 4);
        ASSERT_TRUE(matches(model(w2x2_32), b)) << "2x2 32s " << dump(c32, 4);
        ASSERT_TRUE(matches(model(w2x4_16), c)) << "2x4 16s " << dump(c16, 8);
        ASSERT_TRUE(matches(model(w2x4_32), d)) << "2x4 32s " << dump(c32, 8);
    }
}

// Hand-worked blocks in raster order with the identity scan, so scan index =
// raster position and the walk starts at the highest raster position.
TEST(CavlcEncEntry, HandWorkedBlocks) {
    const struct {
        Zep16s c[16];
        int start, last;
        int t, s, n, tz;
        std::vector<int> levels, runs;
        const char* why;
    } cases[] = {
        {{}, 0, 15, 0, 0, 0, 0, {}, {}, "all zero: nothing stored"},
        {{0, 0, 0, 0, 1, 1, -1, 1}, 0, 15, 3, 2, 4, 4, {1}, {0, 0, 0}, "1,-1,1,1 from the top: signs 010, 4th one a level"},
        {{0, 1, 0, 2}, 0, 15, 0, 0, 2, 2, {2, 1}, {1}, "2 then 1: a one after a level is a level"},
        {{0, 0, 3, 0, 0, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0, 15, 1, 1, 2, 4, {3}, {2}, "zeros above the top not counted"},
        {{5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 1, 15, 1, 0, 1, 14, {}, {}, "startIdx 1 never reads index 0"},
        {{0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}, 1, 9, 1, 0, 1, 0, {}, {}, "lastIdx 9 never reads index 15"},
        {{-1, 0, -1, 0, -1, 0, -1}, 0, 15, 3, 7, 4, 3, {-1}, {1, 1, 1}, "three negative ones, then one more as a level"},
    };
    Zep32s identity[16];
    std::iota(identity, identity + 16, 0);
    for (const auto& k : cases) {
        Syntax m;
        m.t = k.t, m.s = k.s, m.n = k.n, m.tz = k.tz;
        m.levels.assign(k.levels.begin(), k.levels.end());
        m.runs = k.runs;
        Out<Zep16s> o;
        ASSERT_EQ(zepiEncodeCoeffsCAVLC_H264_16s(k.c, k.start, identity, k.last, &o.t, &o.s, &o.n, &o.tz,
                                                 o.levels.data(), o.runs.data()),
                  zepStatusOk);
        EXPECT_TRUE(matches(m, o)) << k.why;
    }
}

// ---------------------------------------------------------------- kernels

TEST(CavlcEncKernels, EveryLevelMatchesReference) {
    const CavlcEncDsp ref = zep::build_table(zep::cavlcenc_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const CavlcEncDsp k = zep::build_table(zep::cavlcenc_init, level);
        Rng rng(23);
        for (int it = 0; it < 20000; ++it) {
            const int off = rng.range(0, 7);  // unaligned blocks
            std::vector<Zep16s> c16(24);
            std::vector<Zep32s> c32(24);
            const int density = it % 5 == 0 ? 100 : rng.range(0, 60);
            random_coeffs(rng, c16.data() + off, 16, density);
            random_coeffs(rng, c32.data() + off, 16, density);
            const auto scan = random_scan(rng);
            const int last = rng.range(0, 15), start = rng.range(0, last);
            const std::string ctx = std::string("level ") + zep::isa_name(level) + " start " + std::to_string(start) +
                                    " last " + std::to_string(last) + " ";
            {
                Out<Zep16s> e, g;
                ref.block16(c16.data() + off, start, scan.data(), last, &e.t, &e.s, &e.n, &e.tz, e.levels.data(),
                            e.runs.data());
                k.block16(c16.data() + off, start, scan.data(), last, &g.t, &g.s, &g.n, &g.tz, g.levels.data(),
                          g.runs.data());
                ASSERT_TRUE(e == g) << ctx << "4x4 16s " << dump(c16.data() + off, 16);
            }
            {
                Out<Zep32s> e, g;
                ref.block32(c32.data() + off, start, scan.data(), last, &e.t, &e.s, &e.n, &e.tz, e.levels.data(),
                            e.runs.data());
                k.block32(c32.data() + off, start, scan.data(), last, &g.t, &g.s, &g.n, &g.tz, g.levels.data(),
                          g.runs.data());
                ASSERT_TRUE(e == g) << ctx << "4x4 32s " << dump(c32.data() + off, 16);
            }
            auto dc = [&](auto rf, auto kf, const auto* c, int n, const char* name) {
                using T = std::remove_cv_t<std::remove_pointer_t<decltype(c)>>;
                Out<T> e, g;
                rf(c, &e.t, &e.s, &e.n, &e.tz, e.levels.data(), e.runs.data());
                kf(c, &g.t, &g.s, &g.n, &g.tz, g.levels.data(), g.runs.data());
                return e == g ? ::testing::AssertionSuccess()
                              : ::testing::AssertionFailure() << ctx << name << ' ' << dump(c, n);
            };
            ASSERT_TRUE(dc(ref.dc2x2_16, k.dc2x2_16, c16.data() + off, 4, "2x2 16s"));
            ASSERT_TRUE(dc(ref.dc2x2_32, k.dc2x2_32, c32.data() + off, 4, "2x2 32s"));
            ASSERT_TRUE(dc(ref.dc2x4_16, k.dc2x4_16, c16.data() + off, 8, "2x4 16s"));
            ASSERT_TRUE(dc(ref.dc2x4_32, k.dc2x4_32, c32.data() + off, 8, "2x4 32s"));
        }
    }
}

// ---------------------------------------------------------------- checks

TEST(CavlcEncEntry, BadArgumentsWriteNothing) {
    Zep16s c16[16] = {1, 2, 3};
    Zep32s c32[16] = {1, 2, 3}, scan[16];
    std::iota(scan, scan + 16, 0);
    Guarded<Zep8u> t(1), s(1), n(1), tz(1), runs(16);
    Guarded<Zep16s> l16(16);
    Guarded<Zep32s> l32(16);
    auto e16 = [&](const Zep16s* c, int start, const Zep32s* sc, int last, int nullAt) {
        Zep8u* p[5] = {t.data(), s.data(), n.data(), tz.data(), runs.data()};
        if (nullAt >= 0 && nullAt < 4) p[nullAt] = nullptr;
        return zepiEncodeCoeffsCAVLC_H264_16s(c, static_cast<Zep8u>(start), sc, static_cast<Zep8u>(last), p[0], p[1],
                                              p[2], p[3], nullAt == 4 ? nullptr : l16.data(),
                                              nullAt == 5 ? nullptr : p[4]);
    };
    auto e32 = [&](const Zep32s* c, int start, const Zep32s* sc, int last, int nullAt) {
        Zep8u* p[5] = {t.data(), s.data(), n.data(), tz.data(), runs.data()};
        if (nullAt >= 0 && nullAt < 4) p[nullAt] = nullptr;
        return zepiEncodeCoeffsCAVLC_H264_32s(c, start, sc, last, p[0], p[1], p[2], p[3],
                                              nullAt == 4 ? nullptr : l32.data(), nullAt == 5 ? nullptr : p[4]);
    };
    for (int nullAt = 0; nullAt < 6; ++nullAt) {
        EXPECT_EQ(e16(c16, 0, scan, 15, nullAt), zepStatusNullPtr) << nullAt;
        EXPECT_EQ(e32(c32, 0, scan, 15, nullAt), zepStatusNullPtr) << nullAt;
        EXPECT_EQ(e16(c16, 0, scan, 16, nullAt), zepStatusNullPtr) << "null before range, " << nullAt;
    }
    EXPECT_EQ(e16(nullptr, 0, scan, 15, -1), zepStatusNullPtr);
    EXPECT_EQ(e16(c16, 0, nullptr, 15, -1), zepStatusNullPtr);
    EXPECT_EQ(e32(nullptr, 0, scan, 15, -1), zepStatusNullPtr);
    EXPECT_EQ(e32(c32, 0, nullptr, 99, -1), zepStatusNullPtr);
    const int badRanges[][2] = {{0, 16}, {5, 4}, {16, 16}, {1, 0}, {0, 255}};
    for (const auto& r : badRanges) {
        EXPECT_EQ(e16(c16, r[0], scan, r[1], -1), zepStatusOutOfRange) << r[0] << ".." << r[1];
        EXPECT_EQ(e32(c32, r[0], scan, r[1], -1), zepStatusOutOfRange) << r[0] << ".." << r[1];
    }
    EXPECT_EQ(e32(c32, -1, scan, 15, -1), zepStatusOutOfRange);
    EXPECT_EQ(e32(c32, -5, scan, -1, -1), zepStatusOutOfRange);

    using Dc16 = ZepStatus (*)(const Zep16s*, Zep8u*, Zep8u*, Zep8u*, Zep8u*, Zep16s*, Zep8u*);
    using Dc32 = ZepStatus (*)(const Zep32s*, Zep8u*, Zep8u*, Zep8u*, Zep8u*, Zep32s*, Zep8u*);
    for (int nullAt = 0; nullAt < 7; ++nullAt) {
        auto P = [&](int i, auto* p) { return i == nullAt ? nullptr : p; };
        for (Dc16 f : {Dc16{zepiEncodeChromaDcCoeffsCAVLC_H264_16s}, Dc16{zepiEncodeCoeffsCAVLCChromaDC2x4_H264_16s}})
            EXPECT_EQ(f(P(0, c16), P(1, t.data()), P(2, s.data()), P(3, n.data()), P(4, tz.data()), P(5, l16.data()),
                        P(6, runs.data())),
                      zepStatusNullPtr)
                << nullAt;
        for (Dc32 f : {Dc32{zepiEncodeCoeffsCAVLCChromaDC2x2_H264_32s}, Dc32{zepiEncodeCoeffsCAVLCChromaDC2x4_H264_32s}})
            EXPECT_EQ(f(P(0, c32), P(1, t.data()), P(2, s.data()), P(3, n.data()), P(4, tz.data()), P(5, l32.data()),
                        P(6, runs.data())),
                      zepStatusNullPtr)
                << nullAt;
    }
    EXPECT_TRUE(t.untouched() && s.untouched() && n.untouched() && tz.untouched() && runs.untouched() &&
                l16.untouched() && l32.untouched());
    // The extreme valid ranges are accepted.
    EXPECT_EQ(e16(c16, 15, scan, 15, -1), zepStatusOk);
    EXPECT_EQ(e32(c32, 0, scan, 0, -1), zepStatusOk);
}

}  // namespace
