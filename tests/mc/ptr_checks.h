// Pointer checks of a list of entry points sharing one signature, with the
// outputs guard-filled: every pointer argument null in turn (but the optional
// ones) is refused and writes nothing; the valid call succeeds and writes, so
// the guards do see the outputs.
#pragma once

#include <string>
#include <tuple>

#include "harness/null_sweep.h"

namespace zt {

// Outs: default-constructible guards with untouched(); args(Outs&): the
// argument tuple, output pointers taken from the guards.
template <class Outs, class Args, class... F>
void check_ptrs(std::initializer_list<size_t> optional, Args args, F... fns) {
    int n = 0;
    auto one = [&](auto f) {
        SCOPED_TRACE("function " + std::to_string(n++) + " of the list");
        Outs o;
        std::apply(
            [&](auto... a) {
                EXPECT_TRUE(null_sweep_except(optional, f, a...));
                EXPECT_TRUE(o.untouched()) << "a refused call wrote";
                EXPECT_EQ(f(a...), zepStatusOk);
            },
            args(o));
        EXPECT_FALSE(o.untouched()) << "the valid call wrote nothing";
    };
    (one(fns), ...);
}

}  // namespace zt
