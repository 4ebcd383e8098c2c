// Deep copy of a harness picture: copying a Picture object copies its data
// pointer, so the copy would alias the original's samples.
#pragma once

#include <cstdint>

#include "harness/harness.h"

namespace vc1t {

template <class T>
zt::Picture<T> clone(const zt::Picture<T>& p, int border = 1) {
    const int misalign = static_cast<int>(reinterpret_cast<uintptr_t>(p.data()) & 63);
    zt::Picture<T> c(p.width(), p.height(), p.step(), misalign, border);
    for (int y = 0; y < p.height() + border; ++y)
        for (int x = 0; x < p.width() + border; ++x) c.at(x, y) = p.at(x, y);
    return c;
}

}  // namespace vc1t
