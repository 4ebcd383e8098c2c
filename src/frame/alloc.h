// Allocation helpers: the only way library code obtains memory.
#pragma once

#include "zepcore.h"

namespace zep {

using Allocator = void* (*)(Zep32s);
using Releaser = void (*)(void*);

// Null for a count below 1, without asking the allocator.
inline void* alloc_bytes(Zep32s count, Allocator allocate = zepMalloc) {
    return count < 1 ? nullptr : allocate(count);
}

// Null for a count below 1, or one whose byte size does not fit the allocator's argument.
inline Zep16s* alloc_16s(Zep32s count, Allocator allocate = zepMalloc) {
    if (count < 1 || count > 0x3fffffff) return nullptr;
    return static_cast<Zep16s*>(allocate(count * 2));
}

inline void release(void* p, Releaser free = zepFree) { free(p); }

}  // namespace zep
