// Argument-check helpers for entry points. Entry points check in this order and
// return at the first failure: pointers (argument order), steps, sizes, modes,
// numeric ranges. Kernels never check.
#pragma once

#include "zepvc_types.h"

namespace zep {

// True when any of the pointers is null. All pointer failures share one status,
// so "first null in argument order" and "any null" return the same thing.
template <class... P>
[[gnu::always_inline]] inline bool any_null(const P*... p) {
    return (... || (p == nullptr));
}

// Half-sample mode code -> table index: only bits 2 and 3 matter; undocumented
// values are folded onto the four documented ones instead of being reported.
[[gnu::always_inline]] inline unsigned hp_index(Zep32s mcType) {
    return (static_cast<unsigned>(mcType) >> 2) & 3u;
}

}  // namespace zep

#define ZEP_CHECK_PTRS(...)                                   \
    do {                                                      \
        if (::zep::any_null(__VA_ARGS__)) return zepStatusNullPtr; \
    } while (0)
