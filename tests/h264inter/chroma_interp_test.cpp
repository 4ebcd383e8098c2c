// H.264 chroma interpolation: every kernel level and the entry points against
// the eighth-sample blend evaluated from picture coordinates and a motion
// vector, with guard samples around the block; the entry points' checks.
#include "harness/harness.h"
#include "harness/null_sweep.h"

#include "h264/interp_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::InterpDsp;

constexpr int kWidths[] = {2, 4, 8};
constexpr int kHeights[] = {2, 4, 8, 16};
constexpr int kPlane = 28;  // reference plane side: a 16-high block moved by up to +-4 samples fits

// A reference plane and a destination with two guard rows and columns.
template <class T>
struct Planes {
    Picture<T> ref, dst;
    Planes(Rng& rng, int w, int h, Pattern pat, int maxVal)
        : ref(kPlane, kPlane, static_cast<int>(sizeof(T)) * (kPlane + rng.range(0, 9)) * (rng.coin() ? 1 : -1),
              static_cast<int>(sizeof(T)) * rng.range(0, 7), 0),
          dst(w, h, static_cast<int>(sizeof(T)) * (w + 2 + rng.range(0, 5)) * (rng.range(0, 3) ? 1 : -1),
              static_cast<int>(sizeof(T)) * rng.range(0, 7), 2) {
        ref.fill(pat, rng, 0, maxVal);
        dst.fill(Pattern::Random, rng, 0, maxVal);
    }
};

// The predicted block for a block whose top-left chroma sample is (bx, by),
// moved by (mvx, mvy) in eighths: integer part by an arithmetic shift,
// fraction by the low three bits, then the four-sample blend.
template <class T>
int predicted(const Picture<T>& ref, int bx, int by, int mvx, int mvy, int x, int y) {
    const int xi = bx + (mvx >> 3) + x, yi = by + (mvy >> 3) + y, xf = mvx & 7, yf = mvy & 7;
    const int A = ref.at(xi, yi), B = ref.at(xi + 1, yi), C = ref.at(xi, yi + 1), D = ref.at(xi + 1, yi + 1);
    return ((8 - xf) * (8 - yf) * A + xf * (8 - yf) * B + (8 - xf) * yf * C + xf * yf * D + 32) >> 6;
}

// The block holds the prediction and the guard ring is as it was.
template <class T>
::testing::AssertionResult check_block(const Planes<T>& s, const Picture<T>& before, int w, int h, int bx, int by,
                                       int mvx, int mvy, const std::string& ctx) {
    for (int y = 0; y < h + 2; ++y)
        for (int x = 0; x < w + 2; ++x) {
            const int want = x < w && y < h ? predicted(s.ref, bx, by, mvx, mvy, x, y) : before.at(x, y);
            if (s.dst.at(x, y) != want)
                return ::testing::AssertionFailure() << "at " << x << "," << y << ": want " << want << ", got "
                                                     << +s.dst.at(x, y) << "; " << ctx << " mv " << mvx << ","
                                                     << mvy << " " << s.ref.describe() << " dst " << s.dst.describe();
        }
    return ::testing::AssertionSuccess();
}

template <class T>
void call_kernel(const InterpDsp& t, Planes<T>& s, const T* src, int w, int h, int dx, int dy) {
    constexpr int k = sizeof(T);
    if constexpr (k == 1)
        t.chroma8[zep::chroma_class(w)](src, s.ref.step(), s.dst.data(), s.dst.step(), dx, dy, h);
    else
        t.chroma16[zep::chroma_class(w)](src, s.ref.step() / k, s.dst.data(), s.dst.step() / k, dx, dy, h);
}

// Every block size and every eighth position, on random, extreme and
// saturated planes; the block moves by a random whole-sample part too.
template <class T>
void kernels_match(int maxVal, Rng& rng) {
    for (Isa level : all_levels()) {
        const InterpDsp t = zep::build_table(zep::interp_init, level);
        for (int w : kWidths)
            for (int h : kHeights)
                for (int pos = 0; pos < 64; ++pos)
                    for (Pattern pat : {Pattern::Random, Pattern::Extremes, Pattern::Max}) {
                        Planes<T> s(rng, w, h, pat, maxVal);
                        const int mvx = 8 * rng.range(-4, 3) + (pos & 7), mvy = 8 * rng.range(-4, 3) + (pos >> 3);
                        const int bx = 5, by = 5;
                        const Picture<T> before = s.dst;
                        call_kernel(t, s, &s.ref.at(bx + (mvx >> 3), by + (mvy >> 3)), w, h, mvx & 7, mvy & 7);
                        ASSERT_TRUE(check_block(s, before, w, h, bx, by, mvx, mvy,
                                                context(level, pat, std::to_string(w) + "x" + std::to_string(h))));
                    }
    }
}

TEST(ChromaInterpKernels, EveryLevelMatchesTheBlend) {
    Rng rng(41);
    ASSERT_NO_FATAL_FAILURE(kernels_match<Zep8u>(255, rng));
    ASSERT_NO_FATAL_FAILURE(kernels_match<Zep16u>(1023, rng));
    ASSERT_NO_FATAL_FAILURE(kernels_match<Zep16u>(65535, rng));  // the signed-lane bias at full range
}

// The entry points as a decoder calls them: the source pointer moved by the
// vector's whole-sample part, the fractions passed on.
TEST(ChromaInterpEntry, DispatchMatchesTheBlend) {
    Rng rng(8);
    for (int w : kWidths)
        for (int h : kHeights)
            for (int it = 0; it < 12; ++it) {
                const int mvx = rng.range(-32, 31), mvy = rng.range(-32, 31), bx = 4, by = 4;
                Planes<Zep8u> s(rng, w, h, Pattern::Random, 255);
                Picture<Zep8u> before = s.dst;
                ASSERT_EQ(zepiInterpolateChroma_H264_8u_C1R(&s.ref.at(bx + (mvx >> 3), by + (mvy >> 3)), s.ref.step(),
                                                            s.dst.data(), s.dst.step(), mvx & 7, mvy & 7, {w, h}),
                          zepStatusOk);
                ASSERT_TRUE(check_block(s, before, w, h, bx, by, mvx, mvy, "8u entry"));
                Planes<Zep16u> s16(rng, w, h, Pattern::Random, (1 << 12) - 1);
                Picture<Zep16u> before16 = s16.dst;
                const ZepInterpolationParams16u p{&s16.ref.at(bx + (mvx >> 3), by + (mvy >> 3)), s16.ref.step() / 2,
                                                  s16.dst.data(), s16.dst.step() / 2, mvx & 7, mvy & 7, w, h, 12};
                // Negative steps are rows going up; the step check compares them with the width.
                const ZepStatus want = p.srcStep < w || p.dstStep < w ? zepStatusBadStep : zepStatusOk;
                ASSERT_EQ(zepiInterpolateChroma_H264_16u_C1R(&p), want);
                if (want == zepStatusOk) ASSERT_TRUE(check_block(s16, before16, w, h, bx, by, mvx, mvy, "16u entry"));
                else ASSERT_TRUE(check_block(s16, before16, 0, 0, bx, by, mvx, mvy, "16u refused"));
            }
}

TEST(ChromaInterpEntry, EightBitChecksInOrderAndWriteNothing) {
    const std::vector<Zep8u> srcMem(20 * 20, 9);
    Guarded<Zep8u> dst(20 * 20);
    EXPECT_TRUE(null_sweep(zepiInterpolateChroma_H264_8u_C1R, srcMem.data(), 20, dst.data(), 20, 9, 9, ZepSize{3, 3}));
    const struct { int dx, dy, w, h; ZepStatus want; } cases[] = {
        {8, 0, 3, 4, zepStatusBadSize},  // size before fraction
        {0, 0, 16, 4, zepStatusBadSize}, {0, 0, 0, 4, zepStatusBadSize},  {0, 0, 6, 4, zepStatusBadSize},
        {0, 0, 4, 6, zepStatusBadSize},  {0, 0, 4, 32, zepStatusBadSize}, {0, 0, 4, 0, zepStatusBadSize},
        {0, 0, 4, -4, zepStatusBadSize}, {8, 0, 4, 4, zepStatusBadArg},   {0, 8, 8, 16, zepStatusBadArg},
        {-1, 0, 2, 2, zepStatusBadArg},  {0, -8, 2, 2, zepStatusBadArg},
    };
    for (const auto& c : cases)
        EXPECT_EQ(zepiInterpolateChroma_H264_8u_C1R(srcMem.data(), 20, dst.data(), 20, c.dx, c.dy, {c.w, c.h}), c.want)
            << c.dx << "," << c.dy << " " << c.w << "x" << c.h;
    EXPECT_TRUE(dst.untouched());
}

TEST(ChromaInterpEntry, SixteenBitChecksInOrderAndWriteNothing) {
    std::vector<Zep16u> srcMem(20 * 20, 1000);
    Guarded<Zep16u> dst(20 * 20);
    const ZepInterpolationParams16u good{srcMem.data(), 20, dst.data(), 20, 1, 7, 8, 16, 10};
    using P = ZepInterpolationParams16u;
    const struct { const char* what; void (*edit)(P&); ZepStatus want; } cases[] = {
        {"null src", [](P& p) { p.pSrc = nullptr; p.width = 3; }, zepStatusNullPtr},
        {"null dst", [](P& p) { p.pDst = nullptr; p.srcStep = 0; }, zepStatusNullPtr},
        {"src step", [](P& p) { p.srcStep = 7; p.height = 3; }, zepStatusBadStep},
        {"dst step", [](P& p) { p.dstStep = -20; p.dx = 9; }, zepStatusBadStep},
        {"width", [](P& p) { p.width = 16; p.dx = 9; }, zepStatusBadSize},
        {"height", [](P& p) { p.height = 12; }, zepStatusBadSize},
        {"dx", [](P& p) { p.dx = 8; }, zepStatusBadArg},
        {"dy", [](P& p) { p.dy = -1; }, zepStatusBadArg},
    };
    EXPECT_EQ(zepiInterpolateChroma_H264_16u_C1R(nullptr), zepStatusNullPtr);
    for (const auto& c : cases) {
        P p = good;
        c.edit(p);
        EXPECT_EQ(zepiInterpolateChroma_H264_16u_C1R(&p), c.want) << c.what;
    }
    EXPECT_TRUE(dst.untouched());
}

}  // namespace
