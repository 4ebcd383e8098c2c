// H.264 intra prediction: every predictor against a test-side reading of the
// standard written differently from the library's (directional modes as
// filters along one edge array running from the bottom-left sample up the
// left column, through the corner, along the row above), every kernel level
// against the reference, and the checks (-117 writes nothing).
#include <algorithm>
#include <functional>

#include "h264/intrapred_dsp.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "zepvc.h"

namespace {

using namespace zt;

constexpr Zep8u kLeft = 1, kTop = 4, kTopLeft = 16, kTopRight = 32;

// A picture with the block at (16, 16) and neighbours all around it.
struct Scene {
    Picture<Zep8u> pic;
    Zep8u* blk;
    Scene(Rng& rng, Pattern pat) : pic(48, 48, 64 + 16 * rng.range(0, 2), rng.range(0, 3) * 4, 0) {
        pic.fill(pat, rng, 0, 255);
        blk = &pic.at(16, 16);
    }
    int p(int x, int y) const { return pic.at(16 + x, 16 + y); }
};

// ---- 4x4 / 8x8: the edge array E (4N + 1 samples) and its availability.
struct EdgeArray {
    int N;
    std::vector<int> e;
    std::vector<bool> have;
    int corner() const { return N; }
    int top(int x) const { return N + 1 + x; }   // index of p[x, -1]
    int left(int y) const { return N - 1 - y; }  // index of p[-1, y]
};

EdgeArray edges(const Scene& s, int N, Zep8u flags) {
    EdgeArray a{N, std::vector<int>(4 * N + 1), std::vector<bool>(4 * N + 1)};
    const bool L = !(flags & kLeft), T = !(flags & kTop), Q = !(flags & kTopLeft), R = !(flags & kTopRight);
    for (int y = 0; y < N; ++y) a.e[a.left(y)] = s.p(-1, y), a.have[a.left(y)] = L;
    a.e[a.corner()] = s.p(-1, -1), a.have[a.corner()] = Q;
    for (int x = 0; x < 2 * N; ++x) {
        // A missing above-right half repeats the last sample above.
        a.e[a.top(x)] = x < N || R ? s.p(x, -1) : s.p(N - 1, -1);
        a.have[a.top(x)] = T;
    }
    return a;
}

// [1 2 1] along the array; a neighbour that is missing (or past an end)
// counts as the sample itself.
EdgeArray filtered(const EdgeArray& a) {
    EdgeArray f = a;
    const int n = static_cast<int>(a.e.size());
    for (int i = 0; i < n; ++i) {
        if (!a.have[i]) continue;
        const int lo = i > 0 && a.have[i - 1] ? a.e[i - 1] : a.e[i];
        const int hi = i + 1 < n && a.have[i + 1] ? a.e[i + 1] : a.e[i];
        f.e[i] = (lo + 2 * a.e[i] + hi + 2) >> 2;
    }
    return f;
}

// Expected block for mode m, or nothing when the mode needs a missing side.
bool oracle_nxn(const EdgeArray& a, int m, std::vector<int>& out) {
    const int N = a.N;
    const bool L = a.have[a.left(0)], T = a.have[a.top(0)], Q = a.have[a.corner()];
    const auto& E = a.e;
    auto f2 = [&](int i) { return (E[i] + E[i + 1] + 1) >> 1; };  // between i and i + 1
    auto f3 = [&](int i) { return (E[i - 1] + 2 * E[i] + E[i + 1] + 2) >> 2; };
    const bool need[9][3] = {{0, 1, 0}, {1, 0, 0}, {0, 0, 0}, {0, 1, 0}, {1, 1, 1},
                             {1, 1, 1}, {1, 1, 1}, {0, 1, 0}, {1, 0, 0}};  // left, top, corner
    if ((need[m][0] && !L) || (need[m][1] && !T) || (need[m][2] && !Q)) return false;
    out.assign(N * N, 0);
    for (int y = 0; y < N; ++y)
        for (int x = 0; x < N; ++x) {
            int v = 0;
            switch (m) {
                case 0: v = E[a.top(x)]; break;
                case 1: v = E[a.left(y)]; break;
                case 2: {
                    int st = 0, sl = 0;
                    for (int i = 0; i < N; ++i) st += E[a.top(i)], sl += E[a.left(i)];
                    v = T && L ? (st + sl + N) / (2 * N) : T ? (st + N / 2) / N : L ? (sl + N / 2) / N : 128;
                    break;
                }
                case 3:
                    v = x == N - 1 && y == N - 1 ? (E[3 * N - 1] + 3 * E[3 * N] + 2) >> 2 : f3(N + 2 + x + y);
                    break;
                case 4: v = f3(N + x - y); break;
                case 5: {
                    const int z = 2 * x - y;
                    v = z < -1 ? f3(N + 1 + 2 * x - y) : z == -1 ? f3(N) : z % 2 ? f3(N + x - y / 2) : f2(N + x - y / 2);
                    break;
                }
                case 6: {
                    const int z = 2 * y - x;
                    v = z < -1 ? f3(N - 1 + x - 2 * y) : z == -1 ? f3(N) : z % 2 ? f3(N - y + x / 2) : f2(N - 1 - y + x / 2);
                    break;
                }
                case 7: v = y % 2 ? f3(N + 2 + x + y / 2) : f2(N + 1 + x + y / 2); break;
                default: {
                    const int z = x + 2 * y;
                    v = z > 2 * N - 3 ? E[0] : z == 2 * N - 3 ? (E[1] + 3 * E[0] + 2) >> 2
                                         : z % 2 ? f3(N - 2 - y - x / 2) : f2(N - 2 - y - x / 2);
                    break;
                }
            }
            out[y * N + x] = v;
        }
    return true;
}

// ---- 16x16 and chroma, straight from the equations
int clip1(int v) { return std::clamp(v, 0, 255); }

bool oracle_big(const Scene& s, int W, int H, bool chroma, int m, Zep8u flags, std::vector<int>& out) {
    const bool L = !(flags & kLeft), T = !(flags & kTop), Q = !(flags & kTopLeft);
    // Chroma numbers its modes DC, horizontal, vertical, plane; map to 16x16's.
    const int mode = chroma ? (m == 0 ? 2 : m == 1 ? 1 : m == 2 ? 0 : 3) : m;
    if ((mode == 0 && !T) || (mode == 1 && !L) || (mode == 3 && !(T && L && Q))) return false;
    out.assign(W * H, 0);
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            int v = 0;
            if (mode == 0) v = s.p(x, -1);
            else if (mode == 1) v = s.p(-1, y);
            else if (mode == 3) {
                const int xCF = 0, yCF = chroma && H == 16 ? 4 : 0;
                int hh = 0, vv = 0;
                const int xs = chroma ? 3 + xCF : 7, ys = chroma ? 3 + yCF : 7;
                for (int i = 0; i <= xs; ++i) hh += (i + 1) * (s.p(xs + 1 + i, -1) - s.p(xs - 1 - i, -1));
                for (int j = 0; j <= ys; ++j) vv += (j + 1) * (s.p(-1, ys + 1 + j) - s.p(-1, ys - 1 - j));
                const int a = 16 * (s.p(-1, H - 1) + s.p(W - 1, -1));
                const int b = chroma ? (34 * hh + 32) >> 6 : (5 * hh + 32) >> 6;
                const int c = chroma ? ((yCF ? 5 : 34) * vv + 32) >> 6 : (5 * vv + 32) >> 6;
                v = clip1((a + b * (x - xs) + c * (y - ys) + 16) >> 5);
            } else if (!chroma) {
                int st = 0, sl = 0;
                for (int i = 0; i < 16; ++i) st += s.p(i, -1), sl += s.p(-1, i);
                v = T && L ? (st + sl + 16) >> 5 : T ? (st + 8) >> 4 : L ? (sl + 8) >> 4 : 128;
            } else {
                const int xO = x & ~3, yO = y & ~3;
                int st = 0, sl = 0;
                for (int i = 0; i < 4; ++i) st += s.p(xO + i, -1), sl += s.p(-1, yO + i);
                const int both = (st + sl + 4) >> 3, top = (st + 2) >> 2, left = (sl + 2) >> 2;
                if ((xO == 0 && yO == 0) || (xO > 0 && yO > 0)) v = T && L ? both : L ? left : T ? top : 128;
                else if (xO > 0) v = T ? top : L ? left : 128;
                else v = L ? left : T ? top : 128;
            }
            out[y * W + x] = v;
        }
    return true;
}

using PredFn = ZepStatus (*)(Zep8u*, Zep32u, Zep32u, Zep8u);
struct Form {
    const char* name;
    PredFn fn;
    int w, h, modes;
};
const Form kForms[] = {{"4x4", zepiPredictIntra4x4_H264_8u_C1IR, 4, 4, 9},
                       {"8x8", zepiPredictIntra8x8_H264_8u_C1IR, 8, 8, 9},
                       {"16x16", zepiPredictIntra16x16_H264_8u_C1IR, 16, 16, 4},
                       {"chroma 8x8", zepiPredictIntraChroma8x8_H264_8u_C1IR, 8, 8, 4},
                       {"chroma 8x16", zepiPredictIntraChroma8x16_H264_8u_C1IR, 8, 16, 4}};

bool expected(const Form& f, const Scene& s, int m, Zep8u flags, std::vector<int>& out) {
    if (f.w == 4) return oracle_nxn(edges(s, 4, flags), m, out);
    if (f.fn == zepiPredictIntra8x8_H264_8u_C1IR) return oracle_nxn(filtered(edges(s, 8, flags)), m, out);
    return oracle_big(s, f.w, f.h, f.modes == 4 && f.fn != zepiPredictIntra16x16_H264_8u_C1IR, m, flags, out);
}

// Every form, mode and neighbour combination on random scenes; where the mode
// cannot be formed, -117 and an untouched picture.
TEST(IntraPredEntry, MatchesStandardEquationsForEveryModeAndNeighbourSet) {
    Rng rng(81);
    for (const Form& f : kForms)
        for (int m = 0; m < f.modes; ++m)
            for (int flags = 0; flags < 64; ++flags) {
                if (flags & 0x0A) continue;  // bits the predictors do not read
                for (Pattern pat : {Pattern::Random, Pattern::Extremes, Pattern::Max, Pattern::SmallNoise}) {
                    Scene s(rng, pat);
                    const Picture<Zep8u> before = s.pic;
                    std::vector<int> want;
                    const bool ok = expected(f, s, m, static_cast<Zep8u>(flags), want);
                    const ZepStatus st = f.fn(s.blk, static_cast<Zep32u>(s.pic.step()), static_cast<Zep32u>(m),
                                              static_cast<Zep8u>(flags));
                    const std::string ctx = std::string(f.name) + " mode " + std::to_string(m) + " flags " +
                                            std::to_string(flags) + " " + pattern_name(pat);
                    if (!ok) {
                        ASSERT_EQ(st, zepStatusNeighborUnavailable) << ctx;
                        ASSERT_TRUE(same_array(before.block(), s.pic.block(), ctx + " wrote"));
                        continue;
                    }
                    ASSERT_EQ(st, zepStatusOk) << ctx;
                    for (int y = -1; y <= f.h; ++y)
                        for (int x = -1; x <= f.w; ++x) {
                            const bool inside = x >= 0 && y >= 0 && x < f.w && y < f.h;
                            const int got = s.p(x, y), exp = inside ? want[y * f.w + x] : before.at(16 + x, 16 + y);
                            ASSERT_EQ(got, exp) << ctx << " at " << x << "," << y;
                        }
                }
            }
}

TEST(IntraPredKernels, EveryLevelMatchesReference) {
    const zep::IntraPredDsp ref = zep::build_table(zep::intrapred_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::IntraPredDsp k = zep::build_table(zep::intrapred_init, level);
        Rng rng(82);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 20; ++it)
                for (int form = 0; form < 3; ++form)
                    for (int m = 0; m < 4; ++m) {
                        Scene a(rng, pat);
                        Scene b = a;
                        b.blk = &b.pic.at(16, 16);
                        const unsigned avail = static_cast<unsigned>(rng.range(0, 3));
                        const zep::IntraPredFn fr = form == 0 ? ref.luma16[m] : ref.chroma[form - 1][m];
                        const zep::IntraPredFn fk = form == 0 ? k.luma16[m] : k.chroma[form - 1][m];
                        fr(a.blk, a.pic.step(), avail);
                        fk(b.blk, b.pic.step(), avail);
                        ASSERT_TRUE(same_array(a.pic.block(), b.pic.block(),
                                               context(level, pat, "form " + std::to_string(form) + " mode " +
                                                                       std::to_string(m) + " avail " +
                                                                       std::to_string(avail))));
                    }
    }
}

TEST(IntraPredEntry, ChecksInOrder) {
    Rng rng(83);
    for (const Form& f : kForms) {
        Scene s(rng, Pattern::Random);
        const Picture<Zep8u> before = s.pic;
        const Zep32u step = static_cast<Zep32u>(s.pic.step());
        // Null first (step and mode wrong too), then step, then mode, then neighbours.
        EXPECT_EQ(f.fn(nullptr, 0, 99, 0xFF), zepStatusNullPtr) << f.name;
        EXPECT_EQ(f.fn(s.blk, static_cast<Zep32u>(f.w - 1), 99, 0xFF), zepStatusBadStep) << f.name;
        EXPECT_EQ(f.fn(s.blk, 0x80000000u, 0, 0), zepStatusBadStep) << f.name;
        EXPECT_EQ(f.fn(s.blk, step, static_cast<Zep32u>(f.modes), 0xFF), zepStatusBadArg) << f.name;
        EXPECT_EQ(f.fn(s.blk, step, 0xFFFFFFFFu, 0), zepStatusBadArg) << f.name;
        EXPECT_TRUE(same_array(before.block(), s.pic.block(), f.name));
    }
}

}  // namespace
