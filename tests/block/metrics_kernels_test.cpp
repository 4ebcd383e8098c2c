// Block distortion metrics: every kernel of every ISA level against the scalar
// reference, on random and extreme values, odd alignments and steps.
#include <sys/mman.h>
#include <unistd.h>

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

// Picture::random's geometry, with the step negated (bottom-up rows) one
// time in four.
template <class T>
Picture<T> any_picture(Rng& rng, int w, int h, int border) {
    Picture<T> p = Picture<T>::random(rng, w, h, border);
    if (rng.range(0, 3)) return p;
    const int mis = static_cast<int>(reinterpret_cast<uintptr_t>(p.data()) & 63);
    return Picture<T>(w, h, -p.step(), mis, border);
}

// A source filled with `pat` and a reference (given, or of any geometry)
// filled with the same pattern or another: against an all-min source, all-max
// half the time, which gives the largest sums there are.
template <class T>
struct Pair {
    Picture<T> src, ref;
    Pair(Rng& rng, Pattern pat, int w, int h, int64_t hi, Picture<T> r)
        : src(any_picture<T>(rng, w, h, 0)), ref(std::move(r)) {
        src.fill(pat, rng, 0, hi);
        ref.fill(rng.coin() ? pat : (pat == Pattern::Zero ? Pattern::Max : Pattern::Random), rng, 0, hi);
    }
    Pair(Rng& rng, Pattern pat, int w, int h, int refBorder, int64_t hi)
        : Pair(rng, pat, w, h, hi, any_picture<T>(rng, w, h, refBorder)) {}
    std::string describe() const {
        return "src " + src.describe() + ", ref " + ref.describe() + "\nsrc:\n" + src.dump() + "ref:\n" + ref.dump();
    }
};

// Calls `run(table, out)` with the reference's kernels and with the level's,
// into outputs filled differently (so a value left unwritten shows), and
// compares the n results.
template <class Out, class Run>
::testing::AssertionResult agree(const MetricsDsp& k, int n, Run run, const std::string& ctx) {
    std::vector<Out> e(n, Out(1)), g(n, Out(2));
    run(ref_table(), e.data());
    run(k, g.data());
    return same_array(e, g, ctx);
}

// ---------------------------------------------------------------- metrics of one block
// `outs` results; mode 2 reads `reach` samples to the right (2 for
// interleaved channels).
template <class T>
struct Metric {
    using Sample = T;
    const char* name;
    int w, h, modes;  // modes: 4 half-sample modes, or 1: integer only
    void (*call)(const MetricsDsp&, int mode, const T*, Zep32s, const T*, Zep32s, Zep32s* out);
    int outs = 1, reach = 1;
};

#define MODES(member) [](const MetricsDsp& t, int m, auto... a) { t.member[m](a...); }
#define FIXED(member) [](const MetricsDsp& t, int, auto... a) { t.member(a...); }

const std::vector<Metric<Zep8u>> kEightBit = {
    {"SAD16x16", 16, 16, 4, MODES(sad16x16)}, {"SAD16x8", 16, 8, 4, MODES(sad16x8)},
    {"SAD8x8", 8, 8, 4, MODES(sad8x8)},       {"SAD8x16", 8, 16, 1, FIXED(sad8x16)},
    {"SAD8x4", 8, 4, 1, FIXED(sad8x4)},       {"SAD4x8", 4, 8, 1, FIXED(sad4x8)},
    {"SAD4x4", 4, 4, 1, FIXED(sad4x4)},       {"SATD16x16", 16, 16, 1, FIXED(satd16x16)},
    {"SATD16x8", 16, 8, 1, FIXED(satd16x8)},  {"SATD8x16", 8, 16, 1, FIXED(satd8x16)},
    {"SATD8x8", 8, 8, 1, FIXED(satd8x8)},     {"SATD8x4", 8, 4, 1, FIXED(satd8x4)},
    {"SATD4x8", 4, 8, 1, FIXED(satd4x8)},     {"SATD4x4", 4, 4, 1, FIXED(satd4x4)},
    {"SAT8x8D", 8, 8, 1, FIXED(sat8x8d)},     {"SSD8x8", 8, 8, 4, MODES(ssd8x8)},
    {"SSD4x4", 4, 4, 4, MODES(ssd4x4)},       {"SqrDiff16x16", 16, 16, 4, MODES(sqrdiff16x16)},
    {"SAD8x8_C2", 16, 8, 4,  // two interleaved channels of 8x8
     [](const MetricsDsp& t, int m, const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* o) {
         t.sad8x8_c2[m](s, ss, r, rs, o, o + 1);
     },
     2, 2},
};

const std::vector<Metric<Zep16u>> kSixteenBit = {
    {"SAD16x16_16u", 16, 16, 4, MODES(sad16x16_16u)}, {"SAD8x8_16u", 8, 8, 4, MODES(sad8x8_16u)},
    {"SAD4x4_16u", 4, 4, 4, MODES(sad4x4_16u)},       {"SAT8x8D_16u", 8, 8, 1, FIXED(sat8x8d_16u)},
};

template <class T>
void check_metrics(const std::vector<Metric<T>>& cases, int64_t maxValue) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        for (const auto& c : cases)
            for (int mode = 0; mode < c.modes; ++mode) {
                Pair<T> p(rng, pat, c.w, c.h, c.reach, maxValue);
                auto run = [&](const MetricsDsp& t, Zep32s* o) {
                    c.call(t, mode, p.src.data(), p.src.step(), p.ref.data(), p.ref.step(), o);
                };
                const std::string what = std::string(c.name) + " mode " + std::to_string(mode) + ", " + p.describe();
                ASSERT_TRUE(agree<Zep32s>(k, c.outs, run, context(level, pat, what)));
            }
    });
}

TEST(MetricsKernels, EightBitMetricsMatchReference) { check_metrics(kEightBit, 255); }
TEST(MetricsKernels, SixteenBitMetricsMatchReference) { check_metrics(kSixteenBit, 65535); }

TEST(MetricsKernels, SubBlockSadsMatchReference) {
    auto check = [](auto member, int n, int64_t hi, auto sample, auto result) {
        for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
            Pair<decltype(sample)> p(rng, pat, 16, 16, 0, hi);
            auto run = [&](const MetricsDsp& t, auto* o) {
                (t.*member)(p.src.data(), p.src.step(), p.ref.data(), p.ref.step(), o);
            };
            const std::string what = std::to_string(n) + " blocks, " + p.describe();
            ASSERT_TRUE(agree<decltype(result)>(k, n, run, context(level, pat, what)));
        });
    };
    check(&MetricsDsp::blocks8x8_8u, 4, 255, Zep8u{}, Zep16u{});
    check(&MetricsDsp::blocks4x4_8u, 16, 255, Zep8u{}, Zep16u{});
    check(&MetricsDsp::blocks8x8_16u, 4, 65535, Zep16u{}, Zep32u{});
    check(&MetricsDsp::blocks4x4_16u, 16, 65535, Zep16u{}, Zep32u{});
}

TEST(MetricsKernels, BidirectionalSqrDiffMatchesReference) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        Pair<Zep8u> p(rng, pat, 16, 16, 1, 255);
        auto b = any_picture<Zep8u>(rng, 16, 16, 1);
        b.fill(Pattern::Random, rng, 0, 255);
        for (int mf = 0; mf < 4; ++mf)
            for (int mb = 0; mb < 4; ++mb) {
                auto run = [&](const MetricsDsp& t, Zep32s* o) {
                    t.sqrdiff16x16b[mf][mb](p.src.data(), p.src.step(), p.ref.data(), p.ref.step(), b.data(), b.step(),
                                            o);
                };
                const std::string what = std::to_string(mf) + "/" + std::to_string(mb) + ", " + p.describe();
                ASSERT_TRUE(agree<Zep32s>(k, 1, run, context(level, pat, "modes " + what + "backward:\n" + b.dump())));
            }
    });
}

TEST(MetricsKernels, SubSadMatchesReference) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        Pair<Zep8u> p(rng, pat, 8, 8, 0, 255);
        const int dstStep = 16 + 2 * rng.range(0, 12);
        Picture<Zep16s> de(8, 8, dstStep, 0, 0), dg(8, 8, dstStep, 2 * rng.range(0, 7), 0);
        Zep32s e = -1, g = -2;
        ref_table().subsad8x8(p.src.data(), p.src.step(), p.ref.data(), p.ref.step(), de.data(), de.step(), &e);
        k.subsad8x8(p.src.data(), p.src.step(), p.ref.data(), p.ref.step(), dg.data(), dg.step(), &g);
        const std::string ctx = context(level, pat, p.describe());
        ASSERT_TRUE(same_array(&e, &g, 1, ctx));
        ASSERT_TRUE(same_array(de.block(), dg.block(), ctx));
    });
}

TEST(MetricsKernels, FrameFieldActivityMatchesReference) {
    auto check = [](auto member, auto sample, int64_t lo, int64_t hi) {
        for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
            auto src = any_picture<decltype(sample)>(rng, 16, 16, 0);
            src.fill(pat, rng, lo, hi);
            auto run = [&](const MetricsDsp& t, Zep32s* o) { (t.*member)(src.data(), src.step(), o, o + 1); };
            ASSERT_TRUE(agree<Zep32s>(k, 2, run, context(level, pat, src.describe() + "\n" + src.dump())));
        });
    };
    check(&MetricsDsp::framefield_8u, Zep8u{}, 0, 255);
    check(&MetricsDsp::framefield_16s, Zep16s{}, -32768, 32767);
}

// ---------------------------------------------------------------- candidate runs
struct RunCase {
    int w, h;
    zep::RunTable<zep::RunFn> MetricsDsp::*run;
    zep::RunTable<zep::RunMinFn> MetricsDsp::*runMin;  // null when there is no xNI form
};

const RunCase kRuns[] = {
    {16, 16, &MetricsDsp::run16x16, &MetricsDsp::runmin16x16},
    {8, 8, &MetricsDsp::run8x8, &MetricsDsp::runmin8x8},
    {4, 4, &MetricsDsp::run4x4, &MetricsDsp::runmin4x4},
    {2, 2, &MetricsDsp::run2x2, nullptr},
};

// Every misalignment entry with a step that keeps it, and the general kernel
// with any geometry; outputs guard-checked past the count.
TEST(MetricsKernels, CandidateRunsMatchReference) {
    for_levels([&](const MetricsDsp& k, Isa level, Pattern pat, Rng& rng) {
        for (const RunCase& c : kRuns) {
            const int count = 8 * rng.range(1, 6), width = c.w + count - 1, mis = rng.range(0, 15);
            const bool aligned = rng.coin();
            Pair<Zep8u> p(rng, pat, c.w, c.h, 255,
                          aligned ? Picture<Zep8u>(width, c.h, ((width + 15) & ~15) + 16 * rng.range(0, 2), mis, 0)
                                  : any_picture<Zep8u>(rng, width, c.h, 0));
            alignas(16) Zep16u e[64 + 8], g[64 + 8];
            std::fill(std::begin(e), std::end(e), 0xBEEF);
            std::fill(std::begin(g), std::end(g), 0xBEEF);
            auto pick = [&](const auto& table) { return aligned ? table.aligned[mis] : table.general; };
            (ref_table().*c.run).general(p.src.data(), p.src.step(), p.ref.data(), p.ref.step(), e, count);
            pick(k.*c.run)(p.src.data(), p.src.step(), p.ref.data(), p.ref.step(), g, count);
            const std::string ctx = context(level, pat,
                                            std::to_string(c.w) + (aligned ? " aligned" : " general") + " count " +
                                                std::to_string(count) + ", " + p.describe());
            ASSERT_TRUE(same_array(e, g, 64 + 8, ctx));
            if (!c.runMin) continue;
            Zep32s me = -1, mg = -2;
            (ref_table().*c.runMin).general(p.src.data(), p.src.step(), p.ref.data(), p.ref.step(), e, count, &me);
            pick(k.*c.runMin)(p.src.data(), p.src.step(), p.ref.data(), p.ref.step(), g, count, &mg);
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
// Random bytes between two inaccessible pages: a kernel that reads one byte
// before or after what its block needs crashes the test.
class Fenced {
public:
    explicit Fenced(size_t bytes) : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        size_ = (bytes + page_ - 1) / page_ * page_;
        mem_ = static_cast<Zep8u*>(
            mmap(nullptr, size_ + 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(mem_, page_, PROT_NONE);
        mprotect(mem_ + page_ + size_, page_, PROT_NONE);
        Rng rng(5);
        for (size_t i = 0; i < size_; ++i) mem_[page_ + i] = static_cast<Zep8u>(rng.u32());
    }
    ~Fenced() { munmap(mem_, size_ + 2 * page_); }
    // A picture of `rowBytes` x `rows` (step > 0) at the start, or ending at the fence.
    const Zep8u* place(bool atEnd, int rowBytes, int rows, int step) const {
        return mem_ + page_ + (atEnd ? size_ - (static_cast<ptrdiff_t>(rows - 1) * step + rowBytes) : 0);
    }

private:
    size_t page_, size_ = 0;
    Zep8u* mem_ = nullptr;
};

// Fixed-size kernels in every mode, and candidate runs (aligned table with a
// 16-byte step, or general kernel) of every count, each with its block at the
// start or ending at the fence.
TEST(MetricsKernels, KernelsReadOnlyTheirBlock) {
    Fenced src(8192), refp(8192);
    for (Isa level : all_levels()) {
        const MetricsDsp k = zep::build_table(zep::metrics_init, level);
        for (bool atEnd : {false, true}) {
            const int step = 80 + 2 * atEnd;
            auto fixed = [&](const auto& cases) {
                using T = typename std::decay_t<decltype(cases)>::value_type::Sample;
                for (const auto& c : cases)
                    for (int mode = 0; mode < c.modes; ++mode) {
                        Zep32s out[2];
                        const int refBytes = (c.w + ((mode & 2) ? c.reach : 0)) * sizeof(T);
                        const auto* sp = reinterpret_cast<const T*>(src.place(atEnd, c.w * sizeof(T), c.h, step));
                        const auto* rp =
                            reinterpret_cast<const T*>(refp.place(atEnd, refBytes, c.h + (mode & 1), step));
                        c.call(k, mode, sp, step, rp, step, out);
                    }
            };
            fixed(kEightBit);
            fixed(kSixteenBit);
            auto ref = [&](int mode) { return refp.place(atEnd, 16 + ((mode & 2) ? 1 : 0), 16 + (mode & 1), 48); };
            Zep32s out;
            for (int mf = 0; mf < 4; ++mf)
                for (int mb = 0; mb < 4; ++mb)
                    k.sqrdiff16x16b[mf][mb](src.place(atEnd, 16, 16, 48), 48, ref(mf), 48, ref(mb), 48, &out);
            for (const RunCase& c : kRuns)
                for (int count = 8; count <= 40; count += 8)
                    for (bool aligned : {false, true}) {
                        const int rowBytes = c.w + count - 1;
                        const int step = aligned ? ((rowBytes + 15) & ~15) : rowBytes + 3;
                        const Zep8u* r = refp.place(atEnd, rowBytes, c.h, step);
                        const Zep8u* s = src.place(atEnd, c.w, c.h, 32);
                        auto pick = [&](const auto& t) { return aligned ? t.aligned[uintptr_t(r) & 15] : t.general; };
                        alignas(16) Zep16u sads[40];
                        pick(k.*c.run)(s, 32, r, step, sads, count);
                        if (c.runMin) pick(k.*c.runMin)(s, 32, r, step, sads, count, &out);
                    }
        }
    }
}

}  // namespace
