// Building blocks of the MPEG-4 quarter-sample interpolation kernels shared by
// the SSSE3 and AVX2 translation units. Include only from SIMD translation
// units; all of it has internal linkage, so each unit keeps the code built
// with its own flags.
//
// A kernel fills the planes of the block's half-sample grid that its fraction
// reaches (horizontal halves h, vertical halves v of the columns x and x + 1,
// centres hv), and then forms the output from at most four grid samples per
// position. The passes that fill the planes come from an ISA policy (the
// 128-bit ones are here), and the final averaging works on as many rows at a
// time as the policy's vector holds.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "mpeg4/qpel_dsp.h"

namespace zep::qpel_x86 {
namespace {

inline __m128i ld8(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
inline __m128i ld16(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline void st8(void* p, __m128i v) { _mm_storel_epi64(static_cast<__m128i*>(p), v); }
inline void st16(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

template <int N>
inline __m128i load_row(const Zep8u* p) {
    if constexpr (N == 8) return ld8(p);
    else return ld16(p);
}
template <int N>
inline void store_row(Zep8u* p, __m128i v) {
    if constexpr (N == 8) st8(p, v);
    else st16(p, v);
}

// The taps in order, -1 3 | -6 20 | 20 -6 | 3 -1, as the byte pairs that
// multiply two consecutive samples in one pmaddubsw.
inline constexpr short kTapPair[4] = {(3 << 8) | 0xFF, (20 << 8) | 0xFA, (-6 * 256) | 20, (-1 * 256) | 3};
inline __m128i tap_pair(int j) { return _mm_set1_epi16(kTapPair[j]); }

struct alignas(32) Shuffle {
    int8_t b[32];
};

// pshufb controls of the horizontal filter: for the eight outputs x from
// 8 * half, tap pair j takes samples (x - 3 + 2j, x - 2 + 2j), mirrored at the
// ends of the row of N + 1 samples. An 8-wide row is loaded as [s0..s7 |
// s1..s8] (s8 in byte 15); a 16-wide one as s0..s15 for outputs 0..7 and as
// s1..s16 for outputs 8..15. Neither load leaves the row. The second 16 bytes
// hold the next half's control (the same half again at N = 8), for a 256-bit
// register with a row in each lane.
constexpr int hbyte(int n, int half, int i) { return n == 8 ? (i <= 7 ? i : 15) : (half == 0 ? i : i - 1); }
template <int N, int J>
constexpr Shuffle make_hshuffle() {
    Shuffle s{};
    for (int lane = 0; lane < 2; ++lane) {
        const int half = N == 8 ? 0 : lane;
        for (int k = 0; k < 8; ++k) {
            const int x = 8 * half + k;
            s.b[16 * lane + 2 * k] = static_cast<int8_t>(hbyte(N, half, qpel_mirror(x - 3 + 2 * J, N)));
            s.b[16 * lane + 2 * k + 1] = static_cast<int8_t>(hbyte(N, half, qpel_mirror(x - 2 + 2 * J, N)));
        }
    }
    return s;
}
template <int N, int J>
inline constexpr Shuffle kHShuffle = make_hshuffle<N, J>();

// 16-bit filter sums of the eight outputs 8 * Half.. of a row loaded as v.
template <int N, int Half>
inline __m128i hsum(__m128i v) {
    const auto pair = [v](auto j) {
        constexpr int J = decltype(j)::value;
        const __m128i c = _mm_load_si128(reinterpret_cast<const __m128i*>(kHShuffle<N, J>.b + 16 * Half));
        return _mm_maddubs_epi16(_mm_shuffle_epi8(v, c), tap_pair(J));
    };
    return _mm_add_epi16(_mm_add_epi16(pair(std::integral_constant<int, 0>{}), pair(std::integral_constant<int, 1>{})),
                         _mm_add_epi16(pair(std::integral_constant<int, 2>{}), pair(std::integral_constant<int, 3>{})));
}

// Rounded, clipped half samples of 16-bit filter sums (16 - rc in rnd).
inline __m128i round_pack(__m128i lo, __m128i hi, __m128i rnd) {
    return _mm_packus_epi16(_mm_srai_epi16(_mm_add_epi16(lo, rnd), 5), _mm_srai_epi16(_mm_add_epi16(hi, rnd), 5));
}

// The grid planes a kernel fills, N bytes a row with no gaps, so that a
// vector reads consecutive rows in one load.
template <int N>
struct Planes {
    alignas(32) Zep8u h[N + 1][N];  // horizontal halves, rows 0..N
    alignas(32) Zep8u v[N][N];      // vertical halves of columns 0..N-1
    alignas(32) Zep8u v1[N][N];     // vertical halves of columns 1..N
    alignas(32) Zep8u hv[N][N];     // centres
};

// Vectors of the final averaging: V128 holds one 16-wide row or two 8-wide
// ones, V256 twice that.
struct V128 {
    using T = __m128i;
    static constexpr int kBytes = 16;
    // Plane rows from p on, as many as the vector holds; source or
    // destination rows s apart.
    static T load_plane(const Zep8u* p) { return ld16(p); }
    template <int N>
    static T load_rows(const Zep8u* p, ptrdiff_t s) {
        if constexpr (N == 16) return ld16(p);
        else return _mm_unpacklo_epi64(ld8(p), ld8(p + s));
    }
    template <int N>
    static void store_rows(Zep8u* p, ptrdiff_t s, T v) {
        if constexpr (N == 16) st16(p, v);
        else st8(p, v), _mm_storeh_pi(reinterpret_cast<__m64*>(p + s), _mm_castsi128_ps(v));
    }
    static T set8(int v) { return _mm_set1_epi8(static_cast<char>(v)); }
    static T set16(int v) { return _mm_set1_epi16(static_cast<short>(v)); }
    // Rounded averages with the rounding control: rc in every byte of rcBytes,
    // 2 - rc in every 16-bit lane of rnd4.
    static T avg2(T a, T b, T rcBytes) {
        return _mm_sub_epi8(_mm_avg_epu8(a, b), _mm_and_si128(_mm_xor_si128(a, b), rcBytes));
    }
    static T avg4(T a, T b, T c, T d, T rnd4) {
        const T z = _mm_setzero_si128();
        const T lo = _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi8(a, z), _mm_unpacklo_epi8(b, z)),
                                   _mm_add_epi16(_mm_unpacklo_epi8(c, z), _mm_unpacklo_epi8(d, z)));
        const T hi = _mm_add_epi16(_mm_add_epi16(_mm_unpackhi_epi8(a, z), _mm_unpackhi_epi8(b, z)),
                                   _mm_add_epi16(_mm_unpackhi_epi8(c, z), _mm_unpackhi_epi8(d, z)));
        return _mm_packus_epi16(_mm_srli_epi16(_mm_add_epi16(lo, rnd4), 2), _mm_srli_epi16(_mm_add_epi16(hi, rnd4), 2));
    }
};

struct Sse {
    template <int N>
    using Vec = V128;

    // Horizontal half samples of `rows` source rows. Eight-wide rows are
    // stored two at a time, the way the averaging reads them back.
    template <int N>
    static void hpass(const Zep8u* src, ptrdiff_t step, int rows, Zep8u (*out)[N], int rc) {
        const __m128i rnd = _mm_set1_epi16(static_cast<short>(16 - rc));
        const auto row8 = [](const Zep8u* q) { return hsum<8, 0>(_mm_unpacklo_epi64(ld8(q), ld8(q + 1))); };
        int y = 0;
        if constexpr (N == 8)
            for (; y + 2 <= rows; y += 2)
                st16(out[y], round_pack(row8(src + y * step), row8(src + (y + 1) * step), rnd));
        for (; y < rows; ++y) {
            const Zep8u* q = src + y * step;
            if constexpr (N == 8) st8(out[y], round_pack(row8(q), row8(q), rnd));
            else st16(out[y], round_pack(hsum<16, 0>(ld16(q)), hsum<16, 1>(ld16(q + 1)), rnd));
        }
    }

    // Vertical half samples of N + 1 rows of W = 8 or 16 columns, two output
    // rows at a time: row(i) gives row i, out(y, a, b) takes rows y and y + 1
    // (the low W bytes of a and b). The taps pair consecutive rows, (y - 3,
    // y - 2) .. (y + 3, y + 4), so each interleaved pair of rows is made once
    // and serves four output rows.
    template <int N, int W, class Row, class Out>
    static void vpass(Row row, Out out, int rc) {
        const __m128i rnd = _mm_set1_epi16(static_cast<short>(16 - rc));
        __m128i r[N + 1], lo[N + 7], hi[N + 7];  // pairs (j, j + 1) at j + 3
        for (int i = 0; i <= N; ++i) r[i] = row(i);
#pragma GCC unroll 32
        for (int j = -3; j <= N + 3; ++j) {
            const __m128i a = r[qpel_mirror(j, N)], b = r[qpel_mirror(j + 1, N)];
            lo[j + 3] = _mm_unpacklo_epi8(a, b);
            if constexpr (W == 16) hi[j + 3] = _mm_unpackhi_epi8(a, b);
        }
        const auto sum = [](const __m128i* pairs) {
            return _mm_add_epi16(
                _mm_add_epi16(_mm_maddubs_epi16(pairs[0], tap_pair(0)), _mm_maddubs_epi16(pairs[2], tap_pair(1))),
                _mm_add_epi16(_mm_maddubs_epi16(pairs[4], tap_pair(2)), _mm_maddubs_epi16(pairs[6], tap_pair(3))));
        };
#pragma GCC unroll 8
        for (int y = 0; y < N; y += 2) {
            if constexpr (W == 16) {
                out(y, round_pack(sum(lo + y), sum(hi + y), rnd), round_pack(sum(lo + y + 1), sum(hi + y + 1), rnd));
            } else {
                const __m128i r2 = round_pack(sum(lo + y), sum(lo + y + 1), rnd);
                out(y, r2, _mm_srli_si128(r2, 8));
            }
        }
    }

    // The vertical planes a fraction DX needs (with a vertical fraction):
    // centres unless DX = 0, halves of the columns x when DX < 2 and of the
    // columns x + 1 when DX = 3. Each plane gets whole 16-byte stores, the
    // size the averaging reads back right after.
    template <int N, int DX>
    static void vertical(Planes<N>& p, const Zep8u* src, ptrdiff_t s, int rc) {
        const Zep8u* col = src + (DX == 3);
        Zep8u(*vOut)[N] = DX == 3 ? p.v1 : p.v;
        const auto to = [](Zep8u(*plane)[N]) {
            return [plane](int y, __m128i a, __m128i b) {
                if constexpr (N == 8) st16(plane[y], _mm_unpacklo_epi64(a, b));
                else st16(plane[y], a), st16(plane[y + 1], b);
            };
        };
        if constexpr (N == 8 && DX % 2 == 1) {
            // Eight columns of each plane side by side, [h | source]: one pass.
            vpass<N, 16>([&](int i) { return _mm_unpacklo_epi64(ld8(p.h[i]), ld8(col + i * s)); },
                         [&](int y, __m128i a, __m128i b) {
                             st16(p.hv[y], _mm_unpacklo_epi64(a, b));
                             st16(vOut[y], _mm_unpackhi_epi64(a, b));
                         },
                         rc);
        } else {
            if constexpr (DX != 0) vpass<N, N>([&](int i) { return load_row<N>(p.h[i]); }, to(p.hv), rc);
            if constexpr (DX != 2) vpass<N, N>([&](int i) { return load_row<N>(col + i * s); }, to(vOut), rc);
        }
    }
};

// Grid rows y.. (as many as a vector of V holds) at grid row offset GY (0 the
// integer row y, 1 the half below it, 2 the integer row y + 1) and column
// offset GX (likewise).
template <class V, int N, int GX, int GY>
inline typename V::T grid(const Planes<N>& p, const Zep8u* src, ptrdiff_t s, int y) {
    if constexpr (GY == 1) return V::load_plane(GX == 0 ? p.v[y] : GX == 1 ? p.hv[y] : p.v1[y]);
    else if constexpr (GX == 1) return V::load_plane(p.h[y + GY / 2]);
    else return V::template load_rows<N>(src + (y + GY / 2) * s + GX / 2, s);
}

// The kernel of one block size and fraction, with the passes of policy P.
template <class P, int N, int DX, int DY>
void qpel(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int rc) {
    using V = typename P::template Vec<N>;
    const ptrdiff_t s = srcStep;
    // Output x lies between grid columns 2x + GX0 and 2x + GX1 (the same one
    // when the fraction falls on the grid); rows likewise.
    constexpr int GX0 = DX >> 1, GX1 = (DX + 1) >> 1, GY0 = DY >> 1, GY1 = (DY + 1) >> 1;
    Planes<N> p;
    if constexpr (DX != 0) P::template hpass<N>(src, s, DY == 0 ? N : N + 1, p.h, rc);
    if constexpr (DY != 0) P::template vertical<N, DX>(p, src, s, rc);
    const typename V::T rcBytes = V::set8(rc), rnd4 = V::set16(2 - rc);
    constexpr int kRows = V::kBytes / N;
    for (int y = 0; y < N; y += kRows) {
        const auto g = [&](auto gx, auto gy) {
            return grid<V, N, decltype(gx)::value, decltype(gy)::value>(p, src, s, y);
        };
        const std::integral_constant<int, GX0> x0;
        const std::integral_constant<int, GX1> x1;
        const std::integral_constant<int, GY0> y0;
        const std::integral_constant<int, GY1> y1;
        typename V::T r;
        if constexpr (GX0 == GX1 && GY0 == GY1) r = g(x0, y0);
        else if constexpr (GY0 == GY1) r = V::avg2(g(x0, y0), g(x1, y0), rcBytes);
        else if constexpr (GX0 == GX1) r = V::avg2(g(x0, y0), g(x0, y1), rcBytes);
        else r = V::avg4(g(x0, y0), g(x1, y0), g(x0, y1), g(x1, y1), rnd4);
        V::template store_rows<N>(dst + static_cast<ptrdiff_t>(y) * dstStep, dstStep, r);
    }
}

// Fills one block size's row of the table with policy P's kernels.
template <class P, int N, int... Pos>
void install(QpelFn (&t)[16], std::integer_sequence<int, Pos...>) {
    ((t[Pos] = qpel<P, N, (Pos & 3), (Pos >> 2)>), ...);
}

}  // namespace
}  // namespace zep::qpel_x86
