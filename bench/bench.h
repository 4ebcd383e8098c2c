// Benchmark registry: every family registers its kernels once; the tool runs
// each at every ISA level the CPU has, checks that every level produces the
// reference's output on the benchmark's inputs, and prints ns per call and the
// speed-up of the best level over the reference.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "frame/cpu.h"

namespace zb {

using zep::Isa;

struct Case {
    std::function<void()> run;                 // one call (or a fixed batch, see `calls`)
    std::function<uint64_t()> digest = nullptr;  // hash of the outputs after run(); null: no check
    int calls = 1;                             // calls made by one run()
};

struct Entry {
    std::string family;
    std::string name;
    std::function<Case(Isa)> make;
};

std::vector<Entry>& registry();

struct Register {
    Register(std::string family, std::string name, std::function<Case(Isa)> make) {
        registry().push_back({std::move(family), std::move(name), std::move(make)});
    }
};

// FNV-1a over a byte range, for digests.
inline uint64_t hash_bytes(const void* p, size_t n, uint64_t h = 1469598103934665603ull) {
    const auto* b = static_cast<const unsigned char*>(p);
    for (size_t i = 0; i < n; ++i) h = (h ^ b[i]) * 1099511628211ull;
    return h;
}

// A 64-byte aligned buffer of deterministic random bytes, kept alive by the
// closures that use it; the same seed gives the same contents at any address.
class Buffer {
public:
    Buffer(size_t n, uint32_t seed) : n_(n), p_(static_cast<uint8_t*>(std::aligned_alloc(64, (n + 63) & ~size_t{63}))) {
        std::mt19937 g(seed);
        for (size_t i = 0; i < n; ++i) p_[i] = static_cast<uint8_t>(g());
    }
    ~Buffer() { std::free(p_); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    template <class T = uint8_t>
    T* at(size_t byteOffset = 0) { return reinterpret_cast<T*>(p_ + byteOffset); }
    size_t size() const { return n_; }

private:
    size_t n_;
    uint8_t* p_;
};

inline std::shared_ptr<Buffer> random_buffer(size_t n, uint32_t seed = 1) { return std::make_shared<Buffer>(n, seed); }

}  // namespace zb
