// The two bit-stream positions every decoder shares.
//
// Word stream: a pointer to the current native 32-bit word and the index 31..0
// of the next bit in it (31 = most significant). A read that crosses a word
// boundary takes the low bits of this word and the high bits of the next; the
// next word is touched only when a read actually needs it, so a decoder never
// reads more than one word past the last bit it consumed.
//
// Byte stream: a pointer to the current byte and the count 0..7 of its bits
// already consumed, most significant first. Bytes are touched only as far as
// the bits asked for reach.
//
// Both readers work on a copy of the caller's position and write it back only
// through commit(), so a decoder that fails can leave the caller's position as
// it was, or store a position of its choosing.
#pragma once

#include <cstdint>

#include "zepvc_types.h"

namespace zep {

class WordReader {
public:
    WordReader(const Zep32u* word, int bit) : p_(word), bit_(bit) {}

    // The next n bits (1..32) as an unsigned value, first bit most significant.
    [[gnu::always_inline]] uint32_t peek(int n) const {
        uint64_t v = static_cast<uint64_t>(p_[0]) << 32;
        if (n > bit_ + 1) v |= p_[1];
        return static_cast<uint32_t>((v << (31 - bit_)) >> (64 - n));
    }
    [[gnu::always_inline]] void skip(int n) {
        bit_ -= n;
        while (bit_ < 0) {
            bit_ += 32;
            ++p_;
        }
    }
    [[gnu::always_inline]] uint32_t read(int n) {
        uint32_t v = peek(n);
        skip(n);
        return v;
    }
    [[gnu::always_inline]] uint32_t read_bit() { return read(1); }
    // Returns bits a lookup peeked but the code did not use: the index rises,
    // stepping back one word when it passes 31.
    [[gnu::always_inline]] void give_back(int n) {
        bit_ += n;
        while (bit_ > 31) {
            bit_ -= 32;
            --p_;
        }
    }

    const Zep32u* word() const { return p_; }
    int bit() const { return bit_; }
    void commit(const Zep32u** ppWord, Zep32s* pBit) const {
        *ppWord = p_;
        *pBit = bit_;
    }
    // Same for callers that hold a mutable word pointer.
    void commit(Zep32u** ppWord, Zep32s* pBit) const {
        *ppWord = const_cast<Zep32u*>(p_);
        *pBit = bit_;
    }

private:
    const Zep32u* p_;
    int bit_;
};

class ByteReader {
public:
    ByteReader(const Zep8u* byte, int used) : p_(byte), used_(used) {}

    // The next n bits (1..32), first bit most significant.
    [[gnu::always_inline]] uint32_t peek(int n) const {
        const int bytes = (used_ + n + 7) >> 3;
        uint64_t v = 0;
        for (int i = 0; i < bytes; ++i) v = (v << 8) | p_[i];
        const int have = bytes * 8;
        return static_cast<uint32_t>((v >> (have - used_ - n)) & ((uint64_t{1} << n) - 1));
    }
    [[gnu::always_inline]] void skip(int n) {
        used_ += n;
        p_ += used_ >> 3;
        used_ &= 7;
    }
    [[gnu::always_inline]] uint32_t read(int n) {
        uint32_t v = peek(n);
        skip(n);
        return v;
    }
    [[gnu::always_inline]] uint32_t read_bit() { return read(1); }
    [[gnu::always_inline]] void give_back(int n) {
        used_ -= n;
        while (used_ < 0) {
            used_ += 8;
            --p_;
        }
    }

    const Zep8u* byte() const { return p_; }
    int used() const { return used_; }
    void commit(const Zep8u** ppByte, Zep32s* pUsed) const {
        *ppByte = p_;
        *pUsed = used_;
    }
    void commit(Zep8u** ppByte, Zep32s* pUsed) const {
        *ppByte = const_cast<Zep8u*>(p_);
        *pUsed = used_;
    }

private:
    const Zep8u* p_;
    int used_;
};

// A byte-stream offset must be 0..7 on entry.
[[gnu::always_inline]] inline bool bit_offset_ok(Zep32s used) { return used >= 0 && used <= 7; }

}  // namespace zep
