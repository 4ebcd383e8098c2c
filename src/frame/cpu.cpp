#include "frame/cpu.h"

namespace zep {

const char* isa_name(Isa level) {
    switch (level) {
        case Isa::Ref: return "ref";
        case Isa::SSSE3: return "ssse3";
        case Isa::SSE41: return "sse4.1";
        case Isa::AVX2: return "avx2";
        case Isa::AVX512: return "avx512";
    }
    return "?";
}

namespace {
Isa detect() {
#if defined(__x86_64__) || defined(__i386__)
    // Needed when this runs from a constructor, before libgcc has filled its model.
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("ssse3")) return Isa::Ref;
    if (!__builtin_cpu_supports("sse4.1")) return Isa::SSSE3;
    // The compiler's check includes the OS state (XCR0) for the AVX families.
    if (!(__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") &&
          __builtin_cpu_supports("popcnt")))
        return Isa::SSE41;
    if (!(__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
          __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq")))
        return Isa::AVX2;
    return Isa::AVX512;
#else
    return Isa::Ref;
#endif
}
}  // namespace

Isa cpu_max_isa() {
    static const Isa level = detect();
    return level;
}

}  // namespace zep
