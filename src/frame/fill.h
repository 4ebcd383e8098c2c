// Rectangle fill with a byte value. Large fills that would evict the whole cache
// go around it with streaming stores.
#pragma once

#include "zepcore.h"

namespace zep {

using CacheQuery = ZepStatus (*)(Zep32s*);

enum class FillPath { Ordinary, Streaming };

// Fills below this many bytes never ask for the cache size.
inline constexpr long long kStreamingFillThreshold = 524288;

// Checks pDst (NullPtr), then width and height (below 1: BadSize). A step equal
// to the width makes the rectangle one row of width x height bytes. `query` and
// `path` are seams for tests; the library passes the defaults.
ZepStatus fill_rect_8u(Zep8u value, Zep8u* pDst, Zep32s dstStep, Zep32s width, Zep32s height,
                       CacheQuery query = zepGetMaxCacheSizeB, FillPath* path = nullptr);

}  // namespace zep
