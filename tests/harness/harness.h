// Shared kernel-checking harness: random pictures with chosen misalignment,
// step and value pattern; a loop over every ISA level the CPU has; comparisons
// that report the first mismatch together with the inputs that caused it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zt {

using zep::Isa;

class Rng {
public:
    explicit Rng(uint64_t seed = 0x5eedC0de) : g_(seed) {}
    uint32_t u32() { return static_cast<uint32_t>(g_()); }
    // Uniform in [lo, hi].
    int range(int lo, int hi) { return lo + static_cast<int>(g_() % static_cast<uint64_t>(hi - lo + 1)); }
    bool coin() { return g_() & 1; }

private:
    std::mt19937_64 g_;
};

// Value patterns every kernel is checked on.
enum class Pattern { Random, Zero, Max, Alternating, Extremes, SmallNoise };
inline constexpr Pattern kAllPatterns[] = {Pattern::Random,      Pattern::Zero,     Pattern::Max,
                                           Pattern::Alternating, Pattern::Extremes, Pattern::SmallNoise};
const char* pattern_name(Pattern p);

// Value for position i of a pattern over [lo, hi].
int64_t pattern_value(Pattern p, Rng& rng, size_t i, int64_t lo, int64_t hi);

// Fills n values of T from a pattern over [lo, hi].
template <class T>
void fill(T* p, size_t n, Pattern pat, Rng& rng, int64_t lo, int64_t hi) {
    for (size_t i = 0; i < n; ++i) p[i] = static_cast<T>(pattern_value(pat, rng, i, lo, hi));
}

// A picture of T samples inside a larger buffer: `misalign` bytes off a 64-byte
// boundary, step in bytes (may exceed the row, may be negative: then the first
// row sits at the bottom of the buffer), `border` spare samples to the right
// and below for kernels that read beyond the block. The rest of the buffer is
// guard-filled so overreads of uninitialised memory stay deterministic.
template <class T>
class Picture {
public:
    Picture(int width, int height, int stepBytes, int misalign = 0, int border = 1)
        : width_(width), height_(height), rows_(height + border), step_(stepBytes) {
        const int absStep = step_ < 0 ? -step_ : step_;
        const size_t bytes = static_cast<size_t>(absStep) * rows_ + (width + border) * sizeof(T) + 128;
        mem_.assign(bytes + 64, 0xA5);
        uint8_t* base = mem_.data();
        base += (64 - (reinterpret_cast<uintptr_t>(base) & 63)) & 63;
        base += misalign;
        if (step_ < 0) base += static_cast<size_t>(absStep) * (rows_ - 1);
        data_ = reinterpret_cast<T*>(base);
    }
    // Copies are deep: the copy's samples live in its own buffer, at the same
    // offset (so the same alignment and step).
    Picture(const Picture& o) : width_(o.width_), height_(o.height_), rows_(o.rows_), step_(o.step_), mem_(o.mem_) {
        rebase(o);
    }
    Picture& operator=(const Picture& o) {
        if (this != &o) {
            width_ = o.width_, height_ = o.height_, rows_ = o.rows_, step_ = o.step_;
            mem_ = o.mem_;
            rebase(o);
        }
        return *this;
    }
    Picture(Picture&&) noexcept = default;  // a moved vector keeps its buffer
    Picture& operator=(Picture&&) noexcept = default;

    // Random geometry: misalignment 0..15 (0 half the time), step of the row
    // plus 0..3 times 16 bytes plus an odd extra a third of the time.
    static Picture random(Rng& rng, int width, int height, int border = 1) {
        int misalign = rng.coin() ? 0 : rng.range(1, 15) & ~static_cast<int>(sizeof(T) - 1);
        int step = static_cast<int>((width + border) * sizeof(T)) + 16 * rng.range(0, 3);
        if (rng.range(0, 2) == 0) step += static_cast<int>(sizeof(T)) * rng.range(1, 7);
        return Picture(width, height, step, misalign, border);
    }
    T* data() { return data_; }
    const T* data() const { return data_; }
    int step() const { return step_; }
    int width() const { return width_; }
    int height() const { return height_; }
    T& at(int x, int y) { return *reinterpret_cast<T*>(reinterpret_cast<uint8_t*>(data_) + static_cast<ptrdiff_t>(y) * step_ + x * static_cast<int>(sizeof(T))); }
    const T& at(int x, int y) const { return const_cast<Picture*>(this)->at(x, y); }
    // Fills the block and its border from a pattern.
    void fill(Pattern pat, Rng& rng, int64_t lo, int64_t hi) {
        size_t i = 0;
        for (int y = 0; y < rows_; ++y)
            for (int x = 0; x < width_ + border(); ++x) at(x, y) = static_cast<T>(pattern_value(pat, rng, i++, lo, hi));
    }
    // The block's samples (row by row, without the border).
    std::vector<T> block() const {
        std::vector<T> v;
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) v.push_back(at(x, y));
        return v;
    }
    std::string describe() const {
        std::ostringstream s;
        s << width_ << "x" << height_ << " step " << step_ << " misalign "
          << (reinterpret_cast<uintptr_t>(data_) & 63);
        return s.str();
    }
    // Rows and columns including the border, for dumping inputs.
    std::string dump() const {
        std::ostringstream s;
        for (int y = 0; y < rows_; ++y) {
            for (int x = 0; x < width_ + border(); ++x) s << static_cast<int64_t>(at(x, y)) << ' ';
            s << '\n';
        }
        return s.str();
    }

private:
    int border() const { return rows_ - height_; }
    static uint8_t* align64(uint8_t* p) { return p + ((64 - (reinterpret_cast<uintptr_t>(p) & 63)) & 63); }
    // Moves the copied bytes so that the samples sit at the original's offset
    // from a 64-byte boundary (the buffer has 64 spare bytes for this).
    void rebase(const Picture& o) {
        uint8_t* oBase = align64(const_cast<uint8_t*>(o.mem_.data()));
        uint8_t* nBase = align64(mem_.data());
        const size_t used = o.mem_.size() - 64;
        std::memcpy(nBase, oBase, used);
        data_ = reinterpret_cast<T*>(nBase + (reinterpret_cast<const uint8_t*>(o.data_) - oBase));
    }
    int width_, height_, rows_, step_;
    std::vector<uint8_t> mem_;
    T* data_ = nullptr;
};

// ISA levels above the reference that this CPU has (the levels to check).
std::vector<Isa> simd_levels();
// Every level this CPU has, the reference first.
std::vector<Isa> all_levels();

// Compares two arrays; on mismatch reports the first differing index, both
// values and the context (level, pattern, geometry, inputs).
template <class T>
::testing::AssertionResult same_array(const T* expect, const T* got, size_t n, const std::string& context) {
    for (size_t i = 0; i < n; ++i) {
        if (!(expect[i] == got[i])) {
            std::ostringstream s;
            s << "first mismatch at [" << i << "]: reference " << +expect[i] << ", kernel " << +got[i]
              << "\n  " << context;
            return ::testing::AssertionFailure() << s.str();
        }
    }
    return ::testing::AssertionSuccess();
}

template <class T>
::testing::AssertionResult same_array(const std::vector<T>& expect, const std::vector<T>& got,
                                      const std::string& context) {
    if (expect.size() != got.size())
        return ::testing::AssertionFailure() << "size " << expect.size() << " vs " << got.size() << "\n  " << context;
    return same_array(expect.data(), got.data(), expect.size(), context);
}

// Guard-filled output: a buffer of n elements surrounded by guard elements;
// untouched() is true while no element (inside or around) changed.
template <class T>
class Guarded {
public:
    explicit Guarded(size_t n, uint8_t guardByte = 0xCD, size_t pad = 64) : n_(n), pad_(pad) {
        mem_.assign((n + 2 * pad) * sizeof(T), guardByte);
        copy_ = mem_;
    }
    T* data() { return reinterpret_cast<T*>(mem_.data()) + pad_; }
    bool untouched() const { return mem_ == copy_; }

private:
    size_t n_, pad_;
    std::vector<uint8_t> mem_, copy_;
};

std::string context(Isa level, Pattern pat, const std::string& extra);

}  // namespace zt
