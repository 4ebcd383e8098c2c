// Null-pointer sweep for entry points: calls the function once per pointer
// argument with that argument (alone) replaced by null, and expects
// zepStatusNullPtr each time. Combine with Guarded outputs to show nothing
// was written.
//
//   EXPECT_TRUE(zt::null_sweep(zepiSAD16x16_8u32s, src, 16, ref, 17, out.data(), 0));
//   EXPECT_TRUE(zt::null_sweep_except({5}, f, ...));   // argument 5 may be null
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "zepvc_types.h"

namespace zt {

namespace detail {
template <class F, class Tuple, size_t... I>
::testing::AssertionResult sweep(std::initializer_list<size_t> optional, F&& f, const Tuple& args,
                                 std::index_sequence<I...>) {
    std::string bad;
    auto one = [&](auto index) {
        constexpr size_t i = decltype(index)::value;
        using A = std::tuple_element_t<i, Tuple>;
        if constexpr (std::is_pointer_v<A>) {
            for (size_t o : optional)
                if (o == i) return;
            Tuple nulled = args;
            std::get<i>(nulled) = nullptr;
            const ZepStatus st = std::apply(f, nulled);
            if (st != zepStatusNullPtr) bad += " argument " + std::to_string(i) + " -> " + std::to_string(st) + ";";
        }
    };
    (one(std::integral_constant<size_t, I>{}), ...);
    if (bad.empty()) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "null pointer not refused:" << bad;
}
}  // namespace detail

template <class F, class... A>
::testing::AssertionResult null_sweep_except(std::initializer_list<size_t> optional, F&& f, A... args) {
    return detail::sweep(optional, f, std::tuple<A...>(args...), std::index_sequence_for<A...>{});
}

template <class F, class... A>
::testing::AssertionResult null_sweep(F&& f, A... args) {
    return null_sweep_except({}, f, args...);
}

}  // namespace zt
