// Block distortion metrics: every kernel of every ISA level against the scalar
// reference, on random and extreme values, odd alignments and steps.
#include <sys/mman.h>
#include <unistd.h>

#include <functional>

#include "block/metrics_dsp.h"
#include "harness/harness.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::MetricsDsp;

constexpr int kIters = 24;

const MetricsDsp& ref_table() {
    static const MetricsDsp t = zep::build_table(zep::metrics_init, Isa::Ref);
    return t;
}

// Runs `check(kernels, level, pattern, rng)` for every SIMD level and pattern.
template <class Check>
void for_levels(Check check) {
    for (Isa level : simd_levels()) {
        const MetricsDsp k = zep::build_table(zep::metrics_init, level);
        Rng rng(11 + static_cast<int>(level));
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < kIters; ++it) check(k, level, pat, rng);
    }
}

// The reference's pattern: the source's, or random; against an all-min
// source, all-max half the time, which gives the largest sums there are.
Pattern ref_pattern(Pattern pat, Rng& rng) {
    if (rng.coin()) return pat;
    return pat == Pattern::Zero ? Pattern::Max : Pattern::Random;
}

// Picture::random's geometry, with the step negated (bottom-up rows) one
// time in four.
template <class T>
Picture<T> any_picture(Rng& rng, int w, int h, int border) {
    Picture<T> p = Picture<T>::random(rng, w, h, border);
    if (rng.range(0, 3)) return p;
    const int mis = static_cast<int>(reinterpret_cast<uintptr_t>(p.data()) & 63);
    return Picture<T>(w, h, -p.step(), mis, border);
}

template <class T>
std::string describe(const Picture<T>& src, const Picture<T>& refp) {
    return "src " + src.describe() + ", ref " + refp.describe() + "\nsrc:\n" + src.dump() + "ref:\n" + refp.dump();
}

// ---------------------------------------------------------------- one-result metrics
template <class T, class Fn>
struct OneResult {
    const char* name;
    int w, h;   // in samples
    int modes;  // 4: the half-sample modes, 1: integer only
    std::function<Fn(const MetricsDsp&, int mode)> get;
};

template <class T, class Fn>
void check_one_result(const std::vector<OneResult<T, Fn>>& cases, int64_t maxValue) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        for (const auto& c : cases)
            for (int mode = 0; mode < c.modes; ++mode) {
                auto src = any_picture<T>(rng, c.w, c.h, 0);
                auto refp = any_picture<T>(rng, c.w, c.h, 1);
                src.fill(pat, rng, 0, maxValue);
                refp.fill(ref_pattern(pat, rng), rng, 0, maxValue);
                Zep32s e = -1, g = -2;
                c.get(ref_table(), mode)(src.data(), src.step(), refp.data(), refp.step(), &e);
                c.get(k, mode)(src.data(), src.step(), refp.data(), refp.step(), &g);
                ASSERT_TRUE(same_array(
                    &e, &g, 1,
                    context(level, pat,
                            std::string(c.name) + " mode " + std::to_string(mode) + ", " + describe(src, refp))));
            }
    });
}

#define MODES(member) [](const MetricsDsp& t, int m) { return t.member[m]; }
#define FIXED(member) [](const MetricsDsp& t, int) { return t.member; }

const std::vector<OneResult<Zep8u, zep::SadFn>>& eight_bit_cases() {
    static const std::vector<OneResult<Zep8u, zep::SadFn>> cases = {
            {"SAD16x16", 16, 16, 4, MODES(sad16x16)},
            {"SAD16x8", 16, 8, 4, MODES(sad16x8)},
            {"SAD8x8", 8, 8, 4, MODES(sad8x8)},
            {"SAD8x16", 8, 16, 1, FIXED(sad8x16)},
            {"SAD8x4", 8, 4, 1, FIXED(sad8x4)},
            {"SAD4x8", 4, 8, 1, FIXED(sad4x8)},
            {"SAD4x4", 4, 4, 1, FIXED(sad4x4)},
            {"SATD16x16", 16, 16, 1, FIXED(satd16x16)},
            {"SATD16x8", 16, 8, 1, FIXED(satd16x8)},
            {"SATD8x16", 8, 16, 1, FIXED(satd8x16)},
            {"SATD8x8", 8, 8, 1, FIXED(satd8x8)},
            {"SATD8x4", 8, 4, 1, FIXED(satd8x4)},
            {"SATD4x8", 4, 8, 1, FIXED(satd4x8)},
            {"SATD4x4", 4, 4, 1, FIXED(satd4x4)},
            {"SAT8x8D", 8, 8, 1, FIXED(sat8x8d)},
            {"SSD8x8", 8, 8, 4, MODES(ssd8x8)},
            {"SSD4x4", 4, 4, 4, MODES(ssd4x4)},
            {"SqrDiff16x16", 16, 16, 4, MODES(sqrdiff16x16)},
    };
    return cases;
}

const std::vector<OneResult<Zep16u, zep::Sad16uFn>>& sixteen_bit_cases() {
    static const std::vector<OneResult<Zep16u, zep::Sad16uFn>> cases = {
            {"SAD16x16_16u", 16, 16, 4, MODES(sad16x16_16u)},
            {"SAD8x8_16u", 8, 8, 4, MODES(sad8x8_16u)},
            {"SAD4x4_16u", 4, 4, 4, MODES(sad4x4_16u)},
            {"SAT8x8D_16u", 8, 8, 1, FIXED(sat8x8d_16u)},
    };
    return cases;
}

TEST(MetricsKernels, EightBitMetricsMatchReference) { check_one_result(eight_bit_cases(), 255); }
TEST(MetricsKernels, SixteenBitMetricsMatchReference) { check_one_result(sixteen_bit_cases(), 65535); }

// ---------------------------------------------------------------- several results
TEST(MetricsKernels, InterleavedChannelsMatchReference) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        for (int mode = 0; mode < 4; ++mode) {
            auto src = any_picture<Zep8u>(rng, 16, 8, 0);
            auto refp = any_picture<Zep8u>(rng, 16, 8, 2);
            src.fill(pat, rng, 0, 255);
            refp.fill(ref_pattern(pat, rng), rng, 0, 255);
            Zep32s e[2] = {-1, -1}, g[2] = {-2, -2};
            ref_table().sad8x8_c2[mode](src.data(), src.step(), refp.data(), refp.step(), &e[0], &e[1]);
            k.sad8x8_c2[mode](src.data(), src.step(), refp.data(), refp.step(), &g[0], &g[1]);
            ASSERT_TRUE(same_array(
                e, g, 2, context(level, pat, "C2 mode " + std::to_string(mode) + ", " + describe(src, refp))));
        }
    });
}

template <class T, class Out, class Fn>
void check_blocks(Fn MetricsDsp::*member, int n, int64_t maxValue, const char* name) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        auto src = any_picture<T>(rng, 16, 16, 0);
        auto refp = any_picture<T>(rng, 16, 16, 0);
        src.fill(pat, rng, 0, maxValue);
        refp.fill(ref_pattern(pat, rng), rng, 0, maxValue);
        std::vector<Out> e(n, 1), g(n, 2);
        (ref_table().*member)(src.data(), src.step(), refp.data(), refp.step(), e.data());
        (k.*member)(src.data(), src.step(), refp.data(), refp.step(), g.data());
        ASSERT_TRUE(same_array(e, g, context(level, pat, std::string(name) + ", " + describe(src, refp))));
    });
}

TEST(MetricsKernels, SubBlockSadsMatchReference) {
    check_blocks<Zep8u, Zep16u>(&MetricsDsp::blocks8x8_8u, 4, 255, "Blocks8x8_8u");
    check_blocks<Zep8u, Zep16u>(&MetricsDsp::blocks4x4_8u, 16, 255, "Blocks4x4_8u");
    check_blocks<Zep16u, Zep32u>(&MetricsDsp::blocks8x8_16u, 4, 65535, "Blocks8x8_16u");
    check_blocks<Zep16u, Zep32u>(&MetricsDsp::blocks4x4_16u, 16, 65535, "Blocks4x4_16u");
}

TEST(MetricsKernels, BidirectionalSqrDiffMatchesReference) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        auto src = any_picture<Zep8u>(rng, 16, 16, 0);
        auto f = any_picture<Zep8u>(rng, 16, 16, 1);
        auto b = any_picture<Zep8u>(rng, 16, 16, 1);
        src.fill(pat, rng, 0, 255);
        f.fill(ref_pattern(pat, rng), rng, 0, 255);
        b.fill(Pattern::Random, rng, 0, 255);
        for (int mf = 0; mf < 4; ++mf)
            for (int mb = 0; mb < 4; ++mb) {
                Zep32s e = -1, g = -2;
                ref_table().sqrdiff16x16b[mf][mb](src.data(), src.step(), f.data(), f.step(), b.data(), b.step(), &e);
                k.sqrdiff16x16b[mf][mb](src.data(), src.step(), f.data(), f.step(), b.data(), b.step(), &g);
                ASSERT_TRUE(same_array(
                    &e, &g, 1,
                    context(level, pat,
                            "modes " + std::to_string(mf) + "/" + std::to_string(mb) + ", " + describe(src, f))));
            }
    });
}

TEST(MetricsKernels, SubSadMatchesReference) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        auto src = any_picture<Zep8u>(rng, 8, 8, 0);
        auto refp = any_picture<Zep8u>(rng, 8, 8, 0);
        src.fill(pat, rng, 0, 255);
        refp.fill(ref_pattern(pat, rng), rng, 0, 255);
        const int dstStep = 16 + 2 * rng.range(0, 12);
        Picture<Zep16s> de(8, 8, dstStep, 0, 0), dg(8, 8, dstStep, 2 * rng.range(0, 7), 0);
        Zep32s e = -1, g = -2;
        ref_table().subsad8x8(src.data(), src.step(), refp.data(), refp.step(), de.data(), de.step(), &e);
        k.subsad8x8(src.data(), src.step(), refp.data(), refp.step(), dg.data(), dg.step(), &g);
        const std::string ctx = context(level, pat, describe(src, refp));
        ASSERT_TRUE(same_array(&e, &g, 1, ctx));
        ASSERT_TRUE(same_array(de.block(), dg.block(), ctx));
    });
}

template <class T>
void check_frame_field(zep::FrameField8uFn MetricsDsp::*m8, zep::FrameField16sFn MetricsDsp::*m16, int64_t lo,
                       int64_t hi) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        auto src = any_picture<T>(rng, 16, 16, 0);
        src.fill(pat, rng, lo, hi);
        Zep32s e[2] = {-1, -1}, g[2] = {-2, -2};
        if constexpr (sizeof(T) == 1) {
            (ref_table().*m8)(src.data(), src.step(), &e[0], &e[1]);
            (k.*m8)(src.data(), src.step(), &g[0], &g[1]);
        } else {
            (ref_table().*m16)(src.data(), src.step(), &e[0], &e[1]);
            (k.*m16)(src.data(), src.step(), &g[0], &g[1]);
        }
        ASSERT_TRUE(same_array(e, g, 2, context(level, pat, src.describe() + "\n" + src.dump())));
    });
}

TEST(MetricsKernels, FrameFieldActivityMatchesReference) {
    check_frame_field<Zep8u>(&MetricsDsp::framefield_8u, nullptr, 0, 255);
    check_frame_field<Zep16s>(nullptr, &MetricsDsp::framefield_16s, -32768, 32767);
}

// ---------------------------------------------------------------- candidate runs
struct RunCase {
    const char* name;
    int w, h;
    zep::RunTable<zep::RunFn> MetricsDsp::*run;
    zep::RunTable<zep::RunMinFn> MetricsDsp::*runMin;  // null when there is no xNI form
};

const RunCase kRuns[] = {
    {"16x16", 16, 16, &MetricsDsp::run16x16, &MetricsDsp::runmin16x16},
    {"8x8", 8, 8, &MetricsDsp::run8x8, &MetricsDsp::runmin8x8},
    {"4x4", 4, 4, &MetricsDsp::run4x4, &MetricsDsp::runmin4x4},
    {"2x2", 2, 2, &MetricsDsp::run2x2, nullptr},
};

// Every misalignment entry with a step that keeps it, and the general kernel
// with any geometry; outputs guard-checked past the count.
TEST(MetricsKernels, CandidateRunsMatchReference) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        for (const RunCase& c : kRuns) {
            const int count = 8 * rng.range(1, 6);
            const int width = c.w + count - 1;
            const int mis = rng.range(0, 15);
            const bool aligned = rng.coin();
            auto src = any_picture<Zep8u>(rng, c.w, c.h, 0);
            auto refp = aligned ? Picture<Zep8u>(width, c.h, ((width + 15) & ~15) + 16 * rng.range(0, 2), mis, 0)
                                : any_picture<Zep8u>(rng, width, c.h, 0);
            src.fill(pat, rng, 0, 255);
            refp.fill(ref_pattern(pat, rng), rng, 0, 255);
            alignas(16) Zep16u e[64 + 8], g[64 + 8];
            std::fill(std::begin(e), std::end(e), 0xBEEF);
            std::fill(std::begin(g), std::end(g), 0xBEEF);
            const auto& kr = k.*c.run;
            zep::RunFn fn = aligned ? kr.aligned[mis] : kr.general;
            (ref_table().*c.run).general(src.data(), src.step(), refp.data(), refp.step(), e, count);
            fn(src.data(), src.step(), refp.data(), refp.step(), g, count);
            const std::string ctx = context(level, pat,
                                            std::string(c.name) + (aligned ? " aligned" : " general") + " count " +
                                                std::to_string(count) + ", " + describe(src, refp));
            ASSERT_TRUE(same_array(e, g, 64 + 8, ctx));
            if (!c.runMin) continue;
            const auto& km = k.*c.runMin;
            Zep32s me = -1, mg = -2;
            (ref_table().*c.runMin).general(src.data(), src.step(), refp.data(), refp.step(), e, count, &me);
            (aligned ? km.aligned[mis] : km.general)(src.data(), src.step(), refp.data(), refp.step(), g, count, &mg);
            ASSERT_TRUE(same_array(e, g, 64 + 8, ctx));
            ASSERT_TRUE(same_array(&me, &mg, 1, ctx + " (index of the minimum)"));
        }
    });
}

// The run table picks the misalignment entry only when every row shares it.
TEST(MetricsKernels, RunTablePicksByAlignment) {
    alignas(16) Zep16u out[16];
    alignas(16) Zep8u pic[64];
    zep::RunTable<zep::RunFn> t{};
    for (int m = 0; m < 16; ++m) t.aligned[m] = reinterpret_cast<zep::RunFn>(m + 1);
    t.general = reinterpret_cast<zep::RunFn>(100);
    for (int m = 0; m < 16; ++m) EXPECT_EQ(t.pick(pic + m, 32, out), t.aligned[m]) << "misalignment " << m;
    EXPECT_EQ(t.pick(pic + 3, 24, out), t.general);
    EXPECT_EQ(t.pick(pic, -32, out), t.aligned[0]);
    EXPECT_EQ(t.pick(pic, 32, out + 1), t.general);
}

// The SSSE3 baseline replaces every reference kernel: the table is nothing
// but kernel pointers, so compare it slot by slot.
TEST(MetricsKernels, BaselineLevelReplacesEveryReferenceKernel) {
    if (zep::cpu_max_isa() < Isa::SSSE3) GTEST_SKIP() << "no SSSE3";
    static_assert(sizeof(MetricsDsp) % sizeof(void*) == 0);
    const MetricsDsp base = zep::build_table(zep::metrics_init, Isa::SSSE3);
    void* r[sizeof(MetricsDsp) / sizeof(void*)];
    void* b[sizeof(MetricsDsp) / sizeof(void*)];
    std::memcpy(r, &ref_table(), sizeof r);
    std::memcpy(b, &base, sizeof b);
    for (size_t i = 0; i < std::size(r); ++i) EXPECT_NE(r[i], b[i]) << "slot " << i << " still holds the reference";
}

// ---------------------------------------------------------------- reads stay inside the block
// Readable memory between two inaccessible pages: a kernel that reads one
// byte before or after what its block needs crashes the test.
class Fenced {
public:
    explicit Fenced(size_t bytes) {
        page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        size_ = (bytes + page_ - 1) / page_ * page_;
        mem_ = static_cast<Zep8u*>(
            mmap(nullptr, size_ + 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(mem_, page_, PROT_NONE);
        mprotect(mem_ + page_ + size_, page_, PROT_NONE);
        Rng rng(5);
        for (size_t i = 0; i < size_; ++i) begin()[i] = static_cast<Zep8u>(rng.u32());
    }
    ~Fenced() { munmap(mem_, size_ + 2 * page_); }
    Zep8u* begin() { return mem_ + page_; }
    Zep8u* end() { return begin() + size_; }
    // A picture of `rowBytes` x `rows` (step `step` > 0) placed at the start,
    // or ending at the fence.
    Zep8u* place(bool atEnd, int rowBytes, int rows, int step) {
        return atEnd ? end() - (static_cast<ptrdiff_t>(rows - 1) * step + rowBytes) : begin();
    }

private:
    size_t page_ = 0, size_ = 0;
    Zep8u* mem_ = nullptr;
};

TEST(MetricsKernels, FixedSizeKernelsReadOnlyTheirBlock) {
    Fenced src(8192), refp(8192);
    for (Isa level : all_levels()) {
        const MetricsDsp k = zep::build_table(zep::metrics_init, level);
        for (int atEnd = 0; atEnd < 2; ++atEnd) {
            auto run = [&](const auto& cases, int bytesPerSample) {
                for (const auto& c : cases)
                    for (int mode = 0; mode < c.modes; ++mode) {
                        const int srcBytes = c.w * bytesPerSample;
                        const int refBytes = srcBytes + ((mode & 2) ? bytesPerSample : 0);
                        const int refRows = c.h + (mode & 1);
                        const int step = 80 + 2 * atEnd;
                        Zep32s out;
                        const Zep8u* sp = src.place(atEnd, srcBytes, c.h, step);
                        const Zep8u* rp = refp.place(atEnd, refBytes, refRows, step);
                        if constexpr (std::is_same_v<std::decay_t<decltype(c)>, OneResult<Zep8u, zep::SadFn>>)
                            c.get(k, mode)(sp, step, rp, step, &out);
                        else
                            c.get(k, mode)(reinterpret_cast<const Zep16u*>(sp), step,
                                           reinterpret_cast<const Zep16u*>(rp), step, &out);
                    }
            };
            run(eight_bit_cases(), 1);
            run(sixteen_bit_cases(), 2);
            for (int mode = 0; mode < 4; ++mode) {
                Zep32s a, b;
                k.sad8x8_c2[mode](src.place(atEnd, 16, 8, 48), 48,
                                  refp.place(atEnd, 16 + ((mode & 2) ? 2 : 0), 8 + (mode & 1), 48), 48, &a, &b);
                for (int mb = 0; mb < 4; ++mb)
                    k.sqrdiff16x16b[mode][mb](src.place(atEnd, 16, 16, 48), 48,
                                              refp.place(atEnd, 16 + ((mode & 2) ? 1 : 0), 16 + (mode & 1), 48), 48,
                                              refp.place(atEnd, 16 + ((mb & 2) ? 1 : 0), 16 + (mb & 1), 48), 48, &a);
            }
        }
    }
}

TEST(MetricsKernels, CandidateRunsReadOnlyTheirCandidates) {
    Fenced src(8192), refp(8192);
    for (Isa level : all_levels()) {
        const MetricsDsp k = zep::build_table(zep::metrics_init, level);
        for (const RunCase& c : kRuns)
            for (int count = 8; count <= 40; count += 8)
                for (int variant = 0; variant < 4; ++variant) {
                    // Aligned table (16-byte step) or general kernel, block at
                    // the start or ending at the fence.
                    const bool aligned = variant & 1, atEnd = variant & 2;
                    const int rowBytes = c.w + count - 1;
                    const int step = aligned ? ((rowBytes + 15) & ~15) : rowBytes + 3;
                    const Zep8u* r = refp.place(atEnd, rowBytes, c.h, step);
                    const Zep8u* s = src.place(atEnd, c.w, c.h, 32);
                    alignas(16) Zep16u out[40];
                    const unsigned m = reinterpret_cast<uintptr_t>(r) & 15;
                    (aligned ? (k.*c.run).aligned[m] : (k.*c.run).general)(s, 32, r, step, out, count);
                    if (!c.runMin) continue;
                    Zep32s pMin;
                    (aligned ? (k.*c.runMin).aligned[m] : (k.*c.runMin).general)(s, 32, r, step, out, count, &pMin);
                }
    }
}

}  // namespace
