// AVX2 kernels of the MPEG-4 quarter-sample interpolation: the SSSE3 kernels'
// arithmetic on 256-bit registers. The horizontal pass filters a 16-wide row
// (or two 8-wide ones) per register, the vertical pass 16 columns of two
// output rows, and the final averages cover two 16-wide or four 8-wide rows.
#include <type_traits>

#include "mpeg4/qpel_dsp.h"
#include "mpeg4/x86/qpel_simd.h"

namespace zep {
namespace {

using namespace qpel_x86;

inline __m256i both(__m128i lo, __m128i hi) { return _mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1); }
inline __m256i tap_pair256(int j) { return _mm256_set1_epi16(kTapPair[j]); }

struct V256 {
    using T = __m256i;
    static constexpr int kBytes = 32;
    static T load_plane(const Zep8u* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    template <int N>
    static T load_rows(const Zep8u* p, ptrdiff_t s) {
        if constexpr (N == 16) return both(ld16(p), ld16(p + s));
        else
            return both(_mm_unpacklo_epi64(ld8(p), ld8(p + s)), _mm_unpacklo_epi64(ld8(p + 2 * s), ld8(p + 3 * s)));
    }
    template <int N>
    static void store_rows(Zep8u* p, ptrdiff_t s, T v) {
        const __m128i lo = _mm256_castsi256_si128(v), hi = _mm256_extracti128_si256(v, 1);
        if constexpr (N == 16) {
            st16(p, lo), st16(p + s, hi);
        } else {
            st8(p, lo), _mm_storeh_pi(reinterpret_cast<__m64*>(p + s), _mm_castsi128_ps(lo));
            st8(p + 2 * s, hi), _mm_storeh_pi(reinterpret_cast<__m64*>(p + 3 * s), _mm_castsi128_ps(hi));
        }
    }
    static T set8(int v) { return _mm256_set1_epi8(static_cast<char>(v)); }
    static T set16(int v) { return _mm256_set1_epi16(static_cast<short>(v)); }
    static T avg2(T a, T b, T rcBytes) {
        return _mm256_sub_epi8(_mm256_avg_epu8(a, b), _mm256_and_si256(_mm256_xor_si256(a, b), rcBytes));
    }
    static T avg4(T a, T b, T c, T d, T rnd4) {
        const T z = _mm256_setzero_si256();
        const T lo = _mm256_add_epi16(_mm256_add_epi16(_mm256_unpacklo_epi8(a, z), _mm256_unpacklo_epi8(b, z)),
                                      _mm256_add_epi16(_mm256_unpacklo_epi8(c, z), _mm256_unpacklo_epi8(d, z)));
        const T hi = _mm256_add_epi16(_mm256_add_epi16(_mm256_unpackhi_epi8(a, z), _mm256_unpackhi_epi8(b, z)),
                                      _mm256_add_epi16(_mm256_unpackhi_epi8(c, z), _mm256_unpackhi_epi8(d, z)));
        return _mm256_packus_epi16(_mm256_srli_epi16(_mm256_add_epi16(lo, rnd4), 2),
                                   _mm256_srli_epi16(_mm256_add_epi16(hi, rnd4), 2));
    }
};

// Rounded filter sums (16-bit, before clipping) of a register of sample rows
// laid out as the shuffle controls of size N expect.
template <int N>
inline __m256i hfilter(__m256i v, __m256i rnd) {
    const auto pair = [v](auto j) {
        constexpr int J = decltype(j)::value;
        const __m256i c = _mm256_load_si256(reinterpret_cast<const __m256i*>(kHShuffle<N, J>.b));
        return _mm256_maddubs_epi16(_mm256_shuffle_epi8(v, c), tap_pair256(J));
    };
    const __m256i s = _mm256_add_epi16(
        _mm256_add_epi16(pair(std::integral_constant<int, 0>{}), pair(std::integral_constant<int, 1>{})),
        _mm256_add_epi16(pair(std::integral_constant<int, 2>{}), pair(std::integral_constant<int, 3>{})));
    return _mm256_srai_epi16(_mm256_add_epi16(s, rnd), 5);
}

struct Avx2 {
    // Eight-wide planes come out of the vertical pass two rows to a store,
    // and a load that spans two stores would wait for both to leave the store
    // buffer: their averaging reads two rows at a time too.
    template <int N>
    using Vec = std::conditional_t<N == 16, V256, V128>;

    // Horizontal half samples: a 16-wide row per register ([s0..s15 |
    // s1..s16]) and two to a store, or two 8-wide rows per register and four to
    // a store; a leftover row goes through the 128-bit pass.
    template <int N>
    static void hpass(const Zep8u* src, ptrdiff_t s, int rows, Zep8u (*out)[N], int rc) {
        const __m256i rnd = _mm256_set1_epi16(static_cast<short>(16 - rc));
        constexpr int kStep = 32 / N;
        int y = 0;
        for (; y + kStep <= rows; y += kStep) {
            const Zep8u* q = src + y * s;
            __m256i a, b;
            if constexpr (N == 16) {
                a = hfilter<16>(both(ld16(q), ld16(q + 1)), rnd);
                b = hfilter<16>(both(ld16(q + s), ld16(q + s + 1)), rnd);
            } else {
                const auto two = [&](const Zep8u* r) {
                    return both(_mm_unpacklo_epi64(ld8(r), ld8(r + 1)), _mm_unpacklo_epi64(ld8(r + s), ld8(r + s + 1)));
                };
                a = hfilter<8>(two(q), rnd);
                b = hfilter<8>(two(q + 2 * s), rnd);
            }
            // packus interleaves the lanes' quarters: a0 b0 a1 b1 -> a0 a1 b0 b1.
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out[y]),
                                _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8));
        }
        if (y < rows) Sse::hpass<N>(src + y * s, s, rows - y, out + y, rc);
    }

    // Vertical half samples of N + 1 rows of 16 columns, two output rows at a
    // time: row(i) gives row i, out(y, r) takes rows y and y + 1 as packed
    // (row y's columns 0..7, row y + 1's 0..7, row y's 8..15, row y + 1's
    // 8..15). Each register holds columns 0..7 in its low lane and 8..15 in
    // its high one, so in-lane interleaves pair rows as the 128-bit pass does.
    template <int N, class Row, class Out>
    static void vpass16(Row row, Out out, int rc) {
        const __m256i rnd = _mm256_set1_epi16(static_cast<short>(16 - rc));
        __m256i r[N + 1], pairs[N + 7];  // pairs (j, j + 1) at j + 3
        for (int i = 0; i <= N; ++i) r[i] = _mm256_permute4x64_epi64(_mm256_castsi128_si256(row(i)), 0x50);
#pragma GCC unroll 32
        for (int j = -3; j <= N + 3; ++j)
            pairs[j + 3] = _mm256_unpacklo_epi8(r[qpel_mirror(j, N)], r[qpel_mirror(j + 1, N)]);
        const auto sum = [&](int y) {
            const __m256i* p = pairs + y;
            const auto tap = [p](int j) { return _mm256_maddubs_epi16(p[2 * j], tap_pair256(j)); };
            const __m256i t = _mm256_add_epi16(_mm256_add_epi16(tap(0), tap(1)), _mm256_add_epi16(tap(2), tap(3)));
            return _mm256_srai_epi16(_mm256_add_epi16(t, rnd), 5);
        };
#pragma GCC unroll 8
        for (int y = 0; y < N; y += 2) out(y, _mm256_packus_epi16(sum(y), sum(y + 1)));
    }

    template <int N, int DX>
    static void vertical(Planes<N>& p, const Zep8u* src, ptrdiff_t s, int rc) {
        const Zep8u* col = src + (DX == 3);
        Zep8u(*vOut)[N] = DX == 3 ? p.v1 : p.v;
        if constexpr (N == 8) {
            if constexpr (DX % 2 == 1) {
                // [h | source] side by side: the packed pair of rows is already
                // two centre rows followed by two rows of vertical halves.
                vpass16<N>([&](int i) { return _mm_unpacklo_epi64(ld8(p.h[i]), ld8(col + i * s)); },
                           [&](int y, __m256i r) {
                               st16(p.hv[y], _mm256_castsi256_si128(r));
                               st16(vOut[y], _mm256_extracti128_si256(r, 1));
                           },
                           rc);
            } else {
                Sse::vertical<N, DX>(p, src, s, rc);
            }
        } else {
            const auto to = [](Zep8u(*plane)[N]) {
                return [plane](int y, __m256i r) {
                    _mm256_storeu_si256(reinterpret_cast<__m256i*>(plane[y]), _mm256_permute4x64_epi64(r, 0xD8));
                };
            };
            if constexpr (DX != 0) vpass16<N>([&](int i) { return ld16(p.h[i]); }, to(p.hv), rc);
            if constexpr (DX != 2) vpass16<N>([&](int i) { return ld16(col + i * s); }, to(vOut), rc);
        }
    }
};

}  // namespace

void qpel_install_avx2(QpelDsp& t) {
    install<Avx2, 8>(t.luma[qpel_size_class(8)], std::make_integer_sequence<int, 16>{});
    install<Avx2, 16>(t.luma[qpel_size_class(16)], std::make_integer_sequence<int, 16>{});
}

}  // namespace zep
