// MPEG-4 quarter-sample luma interpolation: the entry point against the
// format's equations written out on their own, every kernel level against the
// reference, the memory the kernels reach, and the argument checks.
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "mpeg4/qpel_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;

constexpr int kSizes[] = {8, 16};

// The prediction as the format states it. The reference area (n + 1 samples
// a side) is first extended by three mirrored samples at each end of every
// line; half samples are (160 (A + A') - 48 (B + B') + 24 (C + C') - 8 (D + D')
// + 128 - rc) / 256, clipped, with the diagonal ones filtered vertically from
// the clipped horizontal ones; quarter samples interpolate the half-sample
// grid bilinearly.
struct Model {
    int n, rc;
    std::vector<std::vector<int>> F, H, V, HV;  // [row][column]

    static std::vector<int> extend(const std::vector<int>& line) {
        const int n = static_cast<int>(line.size()) - 1;
        std::vector<int> e = {line[2], line[1], line[0]};
        e.insert(e.end(), line.begin(), line.end());
        for (int i : {n, n - 1, n - 2}) e.push_back(line[static_cast<size_t>(i)]);
        return e;
    }
    // The n half samples of a line of n + 1 samples.
    std::vector<int> halves(const std::vector<int>& line) const {
        const std::vector<int> e = extend(line);
        std::vector<int> out;
        for (int i = 0; i < n; ++i) {
            const auto p = [&](int k) { return e[static_cast<size_t>(i + 3 + k)]; };
            const int v = (160 * (p(0) + p(1)) - 48 * (p(-1) + p(2)) + 24 * (p(-2) + p(3)) - 8 * (p(-3) + p(4)) +
                           128 - rc) / 256;
            out.push_back(v < 0 ? 0 : v > 255 ? 255 : v);
        }
        return out;
    }
    // Vertical halves of every column of a plane of n + 1 rows.
    std::vector<std::vector<int>> vertical(const std::vector<std::vector<int>>& plane) const {
        std::vector<std::vector<int>> out(static_cast<size_t>(n), std::vector<int>(plane[0].size()));
        for (size_t c = 0; c < plane[0].size(); ++c) {
            std::vector<int> col;
            for (const auto& row : plane) col.push_back(row[c]);
            const std::vector<int> h = halves(col);
            for (int y = 0; y < n; ++y) out[static_cast<size_t>(y)][c] = h[static_cast<size_t>(y)];
        }
        return out;
    }
    Model(const Picture<Zep8u>& src, int size, int rounding) : n(size), rc(rounding) {
        for (int y = 0; y <= n; ++y) {
            F.emplace_back();
            for (int x = 0; x <= n; ++x) F.back().push_back(src.at(x, y));
            H.push_back(halves(F.back()));
        }
        V = vertical(F);
        HV = vertical(H);
    }
    // Half-sample grid at (gx, gy), in half samples from the block's corner.
    int grid(int gx, int gy) const {
        const auto& plane = gy % 2 ? (gx % 2 ? HV : V) : (gx % 2 ? H : F);
        return plane[static_cast<size_t>(gy / 2)][static_cast<size_t>(gx / 2)];
    }
    // Sample at (qx, qy), in quarter samples.
    int at(int qx, int qy) const {
        const int x0 = qx / 2, y0 = qy / 2, x1 = x0 + qx % 2, y1 = y0 + qy % 2;
        if (qx % 2 && qy % 2) return (grid(x0, y0) + grid(x1, y0) + grid(x0, y1) + grid(x1, y1) + 2 - rc) / 4;
        return (grid(x0, y0) + grid(x1, y1) + 1 - rc) / 2;  // one sample twice when on the grid
    }
};

TEST(QPel, MatchesTheEquationsAtEveryPositionRoundingAndSize) {
    Rng rng(1714);
    for (int n : kSizes)
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 4; ++it) {
                Picture<Zep8u> src = Picture<Zep8u>::random(rng, n, n, 1);
                src.fill(pat, rng, 0, 255);
                for (int rc = 0; rc < 2; ++rc) {
                    const Model m(src, n, rc);
                    for (int pos = 0; pos < 16; ++pos) {
                        const int dx = pos & 3, dy = pos >> 2;
                        Picture<Zep8u> dst = Picture<Zep8u>::random(rng, n, n, 0);
                        // Only bit 0 of the rounding control counts.
                        ASSERT_EQ(zepiInterpolateLumaQP_MPEG4_8u_C1R(src.data(), src.step(), dst.data(), dst.step(), dx,
                                                                     dy, {n, n}, rc + 2 * rng.range(0, 3)),
                                  zepStatusOk);
                        for (int y = 0; y < n; ++y)
                            for (int x = 0; x < n; ++x)
                                ASSERT_EQ(dst.at(x, y), m.at(4 * x + dx, 4 * y + dy))
                                    << n << "x" << n << " dx " << dx << " dy " << dy << " rc " << rc << " at " << x
                                    << "," << y << " " << pattern_name(pat) << "\n" << src.dump();
                    }
                }
            }
}

TEST(QPelKernels, EveryLevelMatchesReference) {
    const zep::QpelDsp ref = zep::build_table(zep::qpel_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::QpelDsp k = zep::build_table(zep::qpel_init, level);
        Rng rng(1715);
        for (int n : kSizes)
            for (Pattern pat : kAllPatterns)
                for (int it = 0; it < 6; ++it) {
                    Picture<Zep8u> src = Picture<Zep8u>::random(rng, n, n, 1);
                    src.fill(pat, rng, 0, 255);
                    for (int pos = 0; pos < 16; ++pos)
                        for (int rc = 0; rc < 2; ++rc) {
                            Picture<Zep8u> a = Picture<Zep8u>::random(rng, n, n, 0), b = a;
                            ref.luma[zep::qpel_size_class(n)][pos](src.data(), src.step(), a.data(), a.step(), rc);
                            k.luma[zep::qpel_size_class(n)][pos](src.data(), src.step(), b.data(), b.step(), rc);
                            ASSERT_TRUE(same_array(a.block(), b.block(),
                                                   context(level, pat, std::to_string(n) + " pos " +
                                                                           std::to_string(pos) + " rc " +
                                                                           std::to_string(rc) + " " + src.describe())));
                        }
                }
    }
}

// Bytes right after (front) or right before (back) a page without access.
class Fenced {
public:
    Fenced(size_t n, bool back) : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        total_ = ((n + page_ - 1) / page_ + 2) * page_;
        base_ = static_cast<Zep8u*>(mmap(nullptr, total_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        EXPECT_NE(base_, MAP_FAILED);
        mprotect(base_, page_, PROT_NONE);
        mprotect(base_ + total_ - page_, page_, PROT_NONE);
        data_ = back ? base_ + total_ - page_ - n : base_ + page_;
        Rng rng(n);
        for (size_t i = 0; i < n; ++i) data_[i] = static_cast<Zep8u>(rng.u32());
    }
    ~Fenced() { munmap(base_, total_); }
    Fenced(const Fenced&) = delete;
    Fenced& operator=(const Fenced&) = delete;
    Zep8u* data() { return data_; }

private:
    size_t page_, total_;
    Zep8u* base_;
    Zep8u* data_;
};

// The (n + 1) x (n + 1) area and the n x n block are all a kernel touches.
TEST(QPelKernels, ReachOnlyTheAreaAndTheBlock) {
    for (Isa level : all_levels()) {
        const zep::QpelDsp t = zep::build_table(zep::qpel_init, level);
        for (int n : kSizes)
            for (int pos = 0; pos < 16; ++pos)
                for (bool back : {false, true}) {
                    Fenced src(static_cast<size_t>(n + 1) * (n + 1), back), dst(static_cast<size_t>(n) * n, back);
                    t.luma[zep::qpel_size_class(n)][pos](src.data(), n + 1, dst.data(), n, 1);
                }
    }
}

TEST(QPel, ChecksInOrderAndWritesNothing) {
    const std::vector<Zep8u> src(17 * 17, 77);
    const Zep8u* s = src.data();
    Guarded<Zep8u> g(16 * 16);
    EXPECT_TRUE(null_sweep(zepiInterpolateLumaQP_MPEG4_8u_C1R, s, 0, g.data(), 0, 9, 9, ZepSize{4, 4}, 0));
    struct Case {
        Zep32s srcStep, dstStep, dx, dy;
        ZepSize size;
        ZepStatus want;
    };
    const Case cases[] = {
        {16, 16, 0, 0, {16, 16}, zepStatusBadStep},  // no room for the extra column
        {8, 8, 0, 0, {8, 8}, zepStatusBadStep},
        {17, 15, 0, 0, {16, 16}, zepStatusBadStep},
        {0, 16, 0, 0, {4, 4}, zepStatusBadStep},
        {17, -16, 0, 0, {16, 16}, zepStatusBadStep},
        {16, 16, 9, 9, {32, 32}, zepStatusBadStep},  // steps come before sizes
        {33, 32, 0, 0, {32, 32}, zepStatusBadSize},
        {17, 16, 0, 0, {16, 8}, zepStatusBadSize},
        {17, 16, 0, 0, {8, 16}, zepStatusBadSize},
        {17, 16, 4, 0, {4, 4}, zepStatusBadSize},  // sizes before fractions
        {17, 16, 0, 0, {0, 0}, zepStatusBadSize},
        {17, 16, 4, 0, {16, 16}, zepStatusBadArg},
        {17, 16, 0, -1, {16, 16}, zepStatusBadArg},
        {9, 8, -4, 3, {8, 8}, zepStatusBadArg},
    };
    for (const Case& c : cases)
        EXPECT_EQ(zepiInterpolateLumaQP_MPEG4_8u_C1R(s, c.srcStep, g.data(), c.dstStep, c.dx, c.dy, c.size, 0), c.want)
            << c.srcStep << " " << c.dstStep << " " << c.dx << " " << c.dy << " " << c.size.width << "x"
            << c.size.height;
    EXPECT_TRUE(g.untouched());
}

}  // namespace
