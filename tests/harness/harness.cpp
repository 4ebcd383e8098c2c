#include "harness.h"

namespace zt {

const char* pattern_name(Pattern p) {
    switch (p) {
        case Pattern::Random: return "random";
        case Pattern::Zero: return "all-min";
        case Pattern::Max: return "all-max";
        case Pattern::Alternating: return "alternating";
        case Pattern::Extremes: return "random-extremes";
        case Pattern::SmallNoise: return "small-noise";
    }
    return "?";
}

int64_t pattern_value(Pattern p, Rng& rng, size_t i, int64_t lo, int64_t hi) {
    const uint64_t span = static_cast<uint64_t>(hi - lo) + 1;
    switch (p) {
        case Pattern::Random: return lo + static_cast<int64_t>(rng.u32() % span);
        case Pattern::Zero: return lo;
        case Pattern::Max: return hi;
        case Pattern::Alternating: return ((i ^ (i >> 4)) & 1) ? hi : lo;
        case Pattern::Extremes: return rng.coin() ? hi : lo;
        case Pattern::SmallNoise: {
            int64_t mid = lo + static_cast<int64_t>(span / 2);
            return mid + rng.range(-3, 3);
        }
    }
    return lo;
}

std::vector<Isa> simd_levels() {
    std::vector<Isa> v;
    for (int l = 1; l <= static_cast<int>(zep::cpu_max_isa()); ++l) v.push_back(static_cast<Isa>(l));
    return v;
}

std::vector<Isa> all_levels() {
    std::vector<Isa> v{Isa::Ref};
    for (Isa l : simd_levels()) v.push_back(l);
    return v;
}

std::string context(Isa level, Pattern pat, const std::string& extra) {
    return std::string("level ") + zep::isa_name(level) + ", pattern " + pattern_name(pat) + ", " + extra;
}

}  // namespace zt
