// Library frame: version record, core services, allocation helpers, the fill
// helper's store choice, and the parallel stripe driver.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "frame/alloc.h"
#include "frame/fill.h"
#include "frame/parallel.h"
#include "zepcore.h"
#include "zepvc.h"

namespace {

TEST(Version, FixedRecordSamePointer) {
    const ZepLibVersion* v = zepvcGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v, zepvcGetLibVersion());
    EXPECT_EQ(v->major, 6);
    EXPECT_EQ(v->minor, 1);
    EXPECT_EQ(v->buildMajor, 137);
    EXPECT_EQ(v->build, 796);
    EXPECT_STREQ(v->versionText, "6.1 build 137.53");
    EXPECT_STREQ(v->buildDate, "Jan 23 2010");
    EXPECT_EQ(std::strlen(v->cpuCode), 2u);
    EXPECT_EQ(v->cpuCode[3], 0);
    EXPECT_NE(std::string(v->libName).find("zepvc"), std::string::npos);
}

TEST(Core, MallocIsAlignedAndRejectsNonPositive) {
    for (Zep32s n : {1, 3, 64, 65, 1000, 1 << 20}) {
        void* p = zepMalloc(n);
        ASSERT_NE(p, nullptr) << n;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u) << n;
        std::memset(p, 0x5a, static_cast<size_t>(n));  // the whole block is ours (ASan checks)
        zepFree(p);
    }
    EXPECT_EQ(zepMalloc(0), nullptr);
    EXPECT_EQ(zepMalloc(-5), nullptr);
    zepFree(nullptr);
}

TEST(Core, ThreadCountCanBeSetAndRestored) {
    const Zep32s def = ownGetNumThreads();
    EXPECT_GE(def, 1);
    EXPECT_EQ(zepSetNumThreads(3), zepStatusOk);
    EXPECT_EQ(ownGetNumThreads(), 3);
    EXPECT_EQ(zepSetNumThreads(0), zepStatusOk);
    EXPECT_EQ(ownGetNumThreads(), def);
}

TEST(Core, CacheSizeIsAPlausibleAnswer) {
    EXPECT_EQ(zepGetMaxCacheSizeB(nullptr), zepStatusNullPtr);
    Zep32s size = -1;
    ASSERT_EQ(zepGetMaxCacheSizeB(&size), zepStatusOk);
    EXPECT_GE(size, 16 * 1024);          // no data cache is smaller than an L1
    EXPECT_LE(size, 2047 * 1024 * 1024);
}

// A counting stand-in for zepMalloc.
std::atomic<int> g_allocCalls{0};
void* counting_alloc(Zep32s n) {
    ++g_allocCalls;
    return zepMalloc(n);
}

TEST(AllocHelpers, NonPositiveCountsNeverReachTheAllocator) {
    g_allocCalls = 0;
    EXPECT_EQ(zep::alloc_bytes(0, counting_alloc), nullptr);
    EXPECT_EQ(zep::alloc_bytes(-1, counting_alloc), nullptr);
    EXPECT_EQ(zep::alloc_16s(0, counting_alloc), nullptr);
    EXPECT_EQ(zep::alloc_16s(-7, counting_alloc), nullptr);
    EXPECT_EQ(zep::alloc_16s(0x40000000, counting_alloc), nullptr);  // bytes would not fit
    EXPECT_EQ(g_allocCalls, 0);
    Zep16s* p = zep::alloc_16s(10, counting_alloc);
    ASSERT_NE(p, nullptr);
    p[9] = 1;  // 20 bytes were asked for
    EXPECT_EQ(g_allocCalls, 1);
    zep::release(p);
}

std::atomic<int> g_cacheQueries{0};
Zep32s g_fakeCache = 0;
ZepStatus fake_cache(Zep32s* p) {
    ++g_cacheQueries;
    *p = g_fakeCache;
    return zepStatusOk;
}
ZepStatus failing_cache(Zep32s*) {
    ++g_cacheQueries;
    return zepStatusNotSupported;
}

TEST(Fill, StoreChoiceFollowsSizeAndCache) {
    struct Case {
        int width, height, step;
        Zep32s cache;
        zep::CacheQuery query;
        int queries;
        zep::FillPath path;
    } cases[] = {
        {600000, 1, 600000, 512 * 1024, fake_cache, 1, zep::FillPath::Streaming},
        {1000, 600, 1000, 512 * 1024, fake_cache, 1, zep::FillPath::Streaming},      // step == width: one row
        {1000, 600, 1024, 512 * 1024, fake_cache, 1, zep::FillPath::Streaming},      // row by row
        {524288, 1, 524288, 1024, fake_cache, 0, zep::FillPath::Ordinary},           // never asks
        {512, 1024, 600, 1024, fake_cache, 0, zep::FillPath::Ordinary},              // exactly 524288
        {600000, 1, 600000, 600001, fake_cache, 1, zep::FillPath::Ordinary},         // fits the cache
        {600000, 1, 600000, 600000, fake_cache, 1, zep::FillPath::Streaming},        // total == cache
        {600000, 1, 600000, 0, failing_cache, 1, zep::FillPath::Ordinary},           // query failed
    };
    for (const auto& c : cases) {
        const size_t bytes = static_cast<size_t>(c.step) * (c.height - 1) + c.width;
        std::vector<Zep8u> buf(bytes + 32, 0x11);
        g_cacheQueries = 0;
        g_fakeCache = c.cache;
        zep::FillPath path{};
        ASSERT_EQ(zep::fill_rect_8u(0x7e, buf.data() + 3, c.step, c.width, c.height, c.query, &path), zepStatusOk);
        EXPECT_EQ(g_cacheQueries, c.queries) << c.width << "x" << c.height;
        EXPECT_EQ(path, c.path) << c.width << "x" << c.height;
        for (int y = 0; y < c.height; ++y) {
            const Zep8u* row = buf.data() + 3 + static_cast<size_t>(y) * c.step;
            ASSERT_EQ(row[0], 0x7e);
            ASSERT_EQ(row[c.width - 1], 0x7e);
            for (int x = 0; x < c.width; ++x)
                if (row[x] != 0x7e) FAIL() << "row " << y << " col " << x;
            if (c.step > c.width && y + 1 < c.height) {
                ASSERT_EQ(row[c.width], 0x11) << "gap written";
            }
        }
        EXPECT_EQ(buf[2], 0x11);
        EXPECT_EQ(buf[3 + bytes], 0x11);
    }
}

TEST(Fill, BadArgumentsWriteNothing) {
    std::vector<Zep8u> buf(64, 0x11);
    EXPECT_EQ(zep::fill_rect_8u(1, nullptr, 8, 0, 0), zepStatusNullPtr);  // pointer before sizes
    EXPECT_EQ(zep::fill_rect_8u(1, buf.data(), 8, 0, 4), zepStatusBadSize);
    EXPECT_EQ(zep::fill_rect_8u(1, buf.data(), 8, 4, 0), zepStatusBadSize);
    EXPECT_EQ(zep::fill_rect_8u(1, buf.data(), 8, 4, -1), zepStatusBadSize);
    for (Zep8u b : buf) ASSERT_EQ(b, 0x11);
}

Zep32s g_threads = 1;
Zep32s fixed_threads() { return g_threads; }
// Returns 4 the first time and 2 afterwards: the driver must lower its team.
std::atomic<int> g_shrinkCalls{0};
Zep32s shrinking_threads() { return g_shrinkCalls++ == 0 ? 4 : 2; }

// Every row is visited exactly once, by a stripe whose scratch slice is its own.
void check_stripes(int rows, zep::ThreadCountQuery q, bool fork, int maxTeam) {
    std::vector<std::atomic<int>> visits(rows);
    std::set<const Zep8u*> slices;
    std::mutex m;
    ZepStatus st = zep::parallel_stripes(
        rows, 24,
        [&](int b, int e, Zep8u* scratch) {
            ASSERT_NE(scratch, nullptr);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(scratch) % 16, 0u);
            std::memset(scratch, 0xab, 24);  // ASan: the slice is really 24+ bytes
            for (int r = b; r < e; ++r) ++visits[r];
            std::lock_guard<std::mutex> lock(m);
            EXPECT_TRUE(slices.insert(scratch).second) << "two stripes share a slice";
        },
        q, fork);
    ASSERT_EQ(st, zepStatusOk);
    for (int r = 0; r < rows; ++r) ASSERT_EQ(visits[r], 1) << "row " << r;
    EXPECT_LE(static_cast<int>(slices.size()), maxTeam);
}

TEST(Parallel, StripesCoverEveryRowOnce) {
    for (int threads : {1, 2, 3, 5}) {
        g_threads = threads;
        for (int rows : {1, 2, 7, 64, 1001}) {
            check_stripes(rows, fixed_threads, true, threads);
            check_stripes(rows, fixed_threads, false, 1);  // serialised: one stripe
        }
    }
    g_shrinkCalls = 0;
    check_stripes(100, shrinking_threads, true, 2);
}

TEST(Parallel, SameResultWithOneThreadOrMany) {
    // A row-wise computation must not depend on the team size.
    auto run = [](Zep32s threads, bool fork) {
        g_threads = threads;
        std::vector<int> out(333);
        zep::parallel_stripes(
            333, 0, [&](int b, int e, Zep8u*) {
                for (int r = b; r < e; ++r) out[r] = r * r % 97;
            },
            fixed_threads, fork);
        return out;
    };
    EXPECT_EQ(run(1, true), run(4, true));
    EXPECT_EQ(run(4, false), run(3, true));
}

}  // namespace
