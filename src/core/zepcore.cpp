// zepcore: aligned allocation, the worker-thread count and the cache-size query.
#include "zepcore.h"

#include <atomic>
#include <cstdlib>
#include <unistd.h>

#include <omp.h>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define ZEPCORE_X86 1
#endif

namespace {

constexpr std::size_t kAlignment = 64;

// 0 means "not set by the caller": fall back to the OpenMP maximum.
std::atomic<Zep32s> g_threads{0};

#ifdef ZEPCORE_X86
// Walks a deterministic cache-parameters leaf (0x4, or 0x8000001D, which has
// the same layout) and returns the size of the largest data or unified cache,
// 0 if the leaf is absent or describes no cache.
long long largest_cache_from_leaf(unsigned leaf) {
    unsigned maxLeaf = __get_cpuid_max(leaf & 0x80000000u, nullptr);
    if (maxLeaf < leaf) return 0;
    long long best = 0;
    for (unsigned sub = 0; sub < 16; ++sub) {
        unsigned a, b, c, d;
        __cpuid_count(leaf, sub, a, b, c, d);
        unsigned type = a & 0x1f;
        if (type == 0) break;
        if (type != 1 && type != 3) continue;  // 1 data, 3 unified; skip instruction caches
        long long ways = ((b >> 22) & 0x3ff) + 1;
        long long partitions = ((b >> 12) & 0x3ff) + 1;
        long long line = (b & 0xfff) + 1;
        long long sets = static_cast<long long>(c) + 1;
        long long size = ways * partitions * line * sets;
        if (size > best) best = size;
    }
    return best;
}

// The topology-extensions feature (CPUID 0x80000001, ECX bit 22) says that
// leaf 0x8000001D describes the caches.
bool has_topology_extensions() {
    unsigned a, b, c, d;
    if (!__get_cpuid(0x80000001u, &a, &b, &c, &d)) return false;
    return (c >> 22) & 1u;
}

long long largest_cache_cpuid() {
    // Processors that implement leaf 4 describe their caches there; the others
    // leave it empty and, with the topology extensions, use 0x8000001D.
    long long size = largest_cache_from_leaf(4u);
    if (size == 0 && has_topology_extensions()) size = largest_cache_from_leaf(0x8000001Du);
    return size;
}
#endif

long long largest_cache_sysconf() {
    long long best = 0;
#ifdef _SC_LEVEL1_DCACHE_SIZE
    const int names[] = {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE,
                         _SC_LEVEL4_CACHE_SIZE};
    for (int n : names) {
        long v = sysconf(n);
        if (v > best) best = v;
    }
#endif
    return best;
}

}  // namespace

extern "C" {

ZEPVC_API void* zepMalloc(Zep32s length) {
    if (length < 1) return nullptr;
    // Round up so that the size is a multiple of the alignment, as aligned_alloc wants.
    std::size_t bytes = (static_cast<std::size_t>(length) + kAlignment - 1) & ~(kAlignment - 1);
    return std::aligned_alloc(kAlignment, bytes);
}

ZEPVC_API void zepFree(void* ptr) { std::free(ptr); }

ZEPVC_API Zep32s ownGetNumThreads(void) {
    Zep32s n = g_threads.load(std::memory_order_relaxed);
    if (n > 0) return n;
    int m = omp_get_max_threads();
    return m > 0 ? m : 1;
}

ZEPVC_API ZepStatus zepSetNumThreads(Zep32s n) {
    g_threads.store(n > 0 ? n : 0, std::memory_order_relaxed);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepGetMaxCacheSizeB(Zep32s* pSizeByte) {
    if (!pSizeByte) return zepStatusNullPtr;
    long long size = 0;
#ifdef ZEPCORE_X86
    size = largest_cache_cpuid();
#endif
    if (size <= 0) size = largest_cache_sysconf();
    if (size <= 0) return zepStatusNotSupported;
    if (size > 0x7fffffffLL) size = 0x7fffffffLL;
    *pSizeByte = static_cast<Zep32s>(size);
    return zepStatusOk;
}

}  // extern "C"
