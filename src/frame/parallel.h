// The library's one parallel region: a picture split into horizontal stripes,
// one per OpenMP thread, each with its own slice of one scratch block.
#pragma once

#include <cstddef>

#include <omp.h>

#include "frame/alloc.h"

namespace zep {

using ThreadCountQuery = Zep32s (*)();

// Runs body(rowBegin, rowEnd, scratch) once per thread of the team over
// disjoint stripes that cover rows [0, rows). Stripes differ by at most one
// row; the first rows % team stripes take the extra rows. Returns NoMemory
// when the scratch block cannot be had, else Ok. `threads` and `allowFork`
// are seams for tests; the library passes the defaults.
template <class Body>
ZepStatus parallel_stripes(int rows, std::size_t scratchPerThread, Body&& body,
                           ThreadCountQuery threads = ownGetNumThreads, bool allowFork = true) {
    int n = threads();
    if (n < 1) n = 1;
    const std::size_t slice = (scratchPerThread + 15) & ~static_cast<std::size_t>(15);
    Zep8u* scratch = nullptr;
    if (slice > 0) {
        const std::size_t total = slice * static_cast<std::size_t>(n);
        if (total > 0x7fffffff) return zepStatusNoMemory;
        scratch = static_cast<Zep8u*>(alloc_bytes(static_cast<Zep32s>(total)));
        if (!scratch) return zepStatusNoMemory;
    }
    // The count may have dropped meanwhile; the block is never too small for fewer threads.
    const int again = threads();
    if (again >= 1 && again < n) n = again;

    const bool fork = allowFork && (!omp_in_parallel() || omp_get_active_level() < omp_get_max_active_levels());
    int team = 1;
#pragma omp parallel num_threads(n) if (fork) shared(team)
    {
#pragma omp master
        team = omp_get_num_threads();
#pragma omp barrier
        const int t = omp_get_thread_num();
        const int base = rows / team, extra = rows % team;
        const int begin = t * base + (t < extra ? t : extra);
        const int end = begin + base + (t < extra ? 1 : 0);
        if (end > begin) body(begin, end, scratch ? scratch + slice * static_cast<std::size_t>(t) : nullptr);
    }
    release(scratch);
    return zepStatusOk;
}

}  // namespace zep
