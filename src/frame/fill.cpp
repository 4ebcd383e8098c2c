#include "frame/fill.h"

#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace zep {
namespace {

#if defined(__x86_64__)
using Pattern = __m128i;
inline Pattern make_pattern(Zep8u v) { return _mm_set1_epi8(static_cast<char>(v)); }

void fill_row_ordinary(Zep8u* d, long long n, Pattern p) {
    long long i = 0;
    for (; i + 16 <= n; i += 16) _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), p);
    if (i < n) std::memset(d + i, _mm_cvtsi128_si32(p) & 0xff, static_cast<size_t>(n - i));
}

void fill_row_streaming(Zep8u* d, long long n, Pattern p) {
    // Streaming stores need 16-byte alignment: ordinary stores for the head and tail.
    long long head = static_cast<long long>((16 - (reinterpret_cast<std::uintptr_t>(d) & 15)) & 15);
    if (head > n) head = n;
    std::memset(d, _mm_cvtsi128_si32(p) & 0xff, static_cast<size_t>(head));
    long long i = head;
    for (; i + 16 <= n; i += 16) _mm_stream_si128(reinterpret_cast<__m128i*>(d + i), p);
    if (i < n) std::memset(d + i, _mm_cvtsi128_si32(p) & 0xff, static_cast<size_t>(n - i));
}
inline void fence() { _mm_sfence(); }
#else
using Pattern = Zep8u;
inline Pattern make_pattern(Zep8u v) { return v; }
void fill_row_ordinary(Zep8u* d, long long n, Pattern p) { std::memset(d, p, static_cast<size_t>(n)); }
void fill_row_streaming(Zep8u* d, long long n, Pattern p) { fill_row_ordinary(d, n, p); }
inline void fence() {}
#endif

}  // namespace

ZepStatus fill_rect_8u(Zep8u value, Zep8u* pDst, Zep32s dstStep, Zep32s width, Zep32s height,
                       CacheQuery query, FillPath* path) {
    if (!pDst) return zepStatusNullPtr;
    if (width < 1 || height < 1) return zepStatusBadSize;

    long long rowBytes = width;
    long long rows = height;
    if (dstStep == width) {
        rowBytes = static_cast<long long>(width) * height;
        rows = 1;
    }
    const long long total = static_cast<long long>(width) * height;

    bool streaming = false;
    if (total > kStreamingFillThreshold) {
        Zep32s cache = 0;
        streaming = query(&cache) == zepStatusOk && total >= cache;
    }
    if (path) *path = streaming ? FillPath::Streaming : FillPath::Ordinary;

    const Pattern pattern = make_pattern(value);
    Zep8u* row = pDst;
    for (long long y = 0; y < rows; ++y, row += dstStep) {
        if (streaming) fill_row_streaming(row, rowBytes, pattern);
        else fill_row_ordinary(row, rowBytes, pattern);
    }
    if (streaming) fence();
    return zepStatusOk;
}

}  // namespace zep
