// zepvc_bench: per-kernel ns per call at each ISA level, the speed-up of the
// best level over the scalar reference, and a check that every level gives the
// reference's output on the benchmark inputs.
//
//   zepvc_bench [--quick] [--filter TEXT]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include "bench.h"

namespace zb {
std::vector<Entry>& registry() {
    static std::vector<Entry> r;
    return r;
}
}  // namespace zb

namespace {

using Clock = std::chrono::steady_clock;

double ns_per_call(const zb::Case& c, double budgetSeconds) {
    // Calibrate a batch that takes about a millisecond, then keep the best of
    // several batches: the minimum is the least noisy estimate on a busy machine.
    long batch = 1;
    for (;;) {
        auto t0 = Clock::now();
        for (long i = 0; i < batch; ++i) c.run();
        double s = std::chrono::duration<double>(Clock::now() - t0).count();
        if (s > 1e-3 || batch > (1L << 26)) break;
        batch *= 2;
    }
    double best = 1e30;
    auto start = Clock::now();
    int reps = 0;
    while (reps < 3 || std::chrono::duration<double>(Clock::now() - start).count() < budgetSeconds) {
        auto t0 = Clock::now();
        for (long i = 0; i < batch; ++i) c.run();
        double s = std::chrono::duration<double>(Clock::now() - t0).count();
        best = std::min(best, s * 1e9 / (static_cast<double>(batch) * c.calls));
        if (++reps > 200) break;
    }
    return best;
}

}  // namespace

int main(int argc, char** argv) {
    bool quick = false;
    std::string filter;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--quick")) quick = true;
        else if (!std::strcmp(argv[i], "--filter") && i + 1 < argc) filter = argv[++i];
        else {
            std::printf("usage: %s [--quick] [--filter TEXT]\n", argv[0]);
            return 2;
        }
    }
    const double budget = quick ? 0.005 : 0.05;
    const zep::Isa top = zep::cpu_max_isa();
    std::printf("zepvc benchmark: CPU level %s; ns per call (best of repeated batches)\n\n", zep::isa_name(top));
    std::printf("%-12s %-44s", "family", "function");
    for (int l = 0; l <= static_cast<int>(top); ++l) std::printf(" %9s", zep::isa_name(static_cast<zep::Isa>(l)));
    std::printf(" %8s\n", "speed-up");

    auto entries = zb::registry();
    std::stable_sort(entries.begin(), entries.end(),
                     [](const zb::Entry& a, const zb::Entry& b) { return a.family < b.family; });
    int mismatches = 0;
    for (const auto& e : entries) {
        if (!filter.empty() && (e.family + " " + e.name).find(filter) == std::string::npos) continue;
        std::printf("%-12s %-44s", e.family.c_str(), e.name.c_str());
        double ref = 0, best = 1e30;
        uint64_t refDigest = 0;
        std::string bad;
        for (int l = 0; l <= static_cast<int>(top); ++l) {
            zb::Case c = e.make(static_cast<zep::Isa>(l));
            double ns = ns_per_call(c, budget);
            if (c.digest) {
                // Digest of one fresh call, so every level sees the same inputs.
                zb::Case fresh = e.make(static_cast<zep::Isa>(l));
                fresh.run();
                uint64_t d = fresh.digest();
                if (l == 0) refDigest = d;
                else if (d != refDigest) bad += std::string(" ") + zep::isa_name(static_cast<zep::Isa>(l));
            }
            if (l == 0) ref = ns;
            best = std::min(best, ns);
            std::printf(" %9.2f", ns);
            std::fflush(stdout);
        }
        std::printf(" %7.2fx%s\n", ref / best, bad.empty() ? "" : ("  MISMATCH:" + bad).c_str());
        if (!bad.empty()) ++mismatches;
    }
    if (mismatches) {
        std::printf("\n%d function(s) disagree with the reference\n", mismatches);
        return 1;
    }
    std::printf("\nall levels agree with the reference on the benchmark inputs\n");
    return 0;
}
