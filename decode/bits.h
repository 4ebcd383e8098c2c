// Bit reading over one unit of a stream (an H.264 NAL unit's payload, an
// MPEG slice), in the library's word-stream form: the bytes are packed
// big-endian into 32-bit words so that the library's variable-length decoders
// can run on them directly. Fixed-length fields are read here; everything
// variable-length goes through the library.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "zepvc.h"

namespace zdec {

// Every malformed or unsupported stream ends in one of these; the message
// says what was wrong.
struct DecodeError : std::runtime_error {
    explicit DecodeError(const std::string& what) : std::runtime_error(what) {}
};
struct Unsupported : DecodeError {
    explicit Unsupported(const std::string& what) : DecodeError("not supported: " + what) {}
};

[[noreturn]] inline void fail(const std::string& what) { throw DecodeError(what); }

class Bits {
public:
    // Words of one bits after the payload: the library's readers may look a
    // word ahead, a corrupt block may read past the end before the caller's
    // next position check notices, and a run of zeros (level_prefix, an
    // Exp-Golomb prefix) must end soon after the payload does.
    static constexpr size_t kPadWords = 128;

    // Loads a NAL unit's payload (after the NAL header byte), removing
    // emulation-prevention bytes; the payload ends at its stop bit.
    void load(const uint8_t* p, size_t n) {
        bytes_.clear();
        bytes_.reserve(n);
        int zeros = 0;
        for (size_t i = 0; i < n; ++i) {
            if (zeros >= 2 && p[i] == 3) {
                zeros = 0;
                continue;
            }
            zeros = p[i] == 0 ? zeros + 1 : 0;
            bytes_.push_back(p[i]);
        }
        while (!bytes_.empty() && bytes_.back() == 0) bytes_.pop_back();
        size_t nbits = bytes_.size() * 8;
        if (!bytes_.empty()) nbits -= static_cast<size_t>(__builtin_ctz(bytes_.back())) + 1;  // the stop bit
        pack(nbits);
    }

    void pack(size_t nbits) {
        nbits_ = nbits;
        const size_t payload_words = (bytes_.size() + 3) / 4;
        words_.assign(payload_words + kPadWords, 0);
        std::fill(words_.begin() + static_cast<ptrdiff_t>(payload_words), words_.end(), ~Zep32u{0});
        for (size_t i = 0; i < bytes_.size(); ++i) words_[i / 4] |= static_cast<Zep32u>(bytes_[i]) << (24 - 8 * (i % 4));
        // The byte view gets the same one-bit padding (a block of codes read past the end stays bounded).
        bytes_.resize(payload_words * 4, 0);
        bytes_.resize(bytes_.size() + 4 * kPadWords, 0xFF);
        p_ = words_.data();
        off_ = 31;
    }

    // Moves to a bit position (clamped into the padding's start).
    void set_pos(size_t bit) {
        const size_t max = (words_.size() - 4) * 32;
        if (bit > max) bit = max;
        p_ = words_.data() + bit / 32;
        off_ = 31 - static_cast<Zep32s>(bit % 32);
    }

    // Runs a library decoder that reads a byte stream (pointer to the byte
    // holding the next bit and the bits of it already used, 0..7) from the
    // current position, then continues after what it consumed.
    template <class F>
    ZepStatus bytes_call(F f) {
        const size_t at = pos();
        Zep8u* p = bytes_.data() + at / 8;
        Zep32s off = static_cast<Zep32s>(at % 8);
        const ZepStatus st = f(&p, &off);
        if (st >= 0) set_pos(static_cast<size_t>(p - bytes_.data()) * 8 + static_cast<size_t>(off));
        guard();
        return st;
    }

    // Loads bytes as they are (MPEG start-code delimited data): every bit counts.
    void load_plain(const uint8_t* p, size_t n) {
        bytes_.assign(p, p + n);
        pack(n * 8);
    }

    size_t pos() const { return static_cast<size_t>(p_ - words_.data()) * 32 + static_cast<size_t>(31 - off_); }
    size_t size() const { return nbits_; }
    bool overrun() const { return pos() > nbits_; }
    void check() const {
        if (overrun()) fail("slice data runs past the end of its NAL unit");
    }
    bool more_rbsp_data() const { return pos() < nbits_; }
    bool byte_aligned() const { return (off_ & 7) == 7; }

    // The next n bits (1..32) without consuming them.
    Zep32u peek(int n) const {
        const uint64_t w = (static_cast<uint64_t>(p_[0]) << 32) | p_[1];
        return static_cast<Zep32u>((w << (31 - off_)) >> (64 - n));
    }
    Zep32u u(int n) {
        if (n == 0) return 0;
        const Zep32u v = peek(n);
        skip(n);
        return v;
    }
    bool flag() { return u(1) != 0; }
    void skip(int n) {
        const int t = (31 - off_) + n;
        p_ += t / 32;
        off_ = 31 - t % 32;
        if (p_ >= words_.data() + words_.size() - 2) fail("read past the end of a NAL unit");
    }
    Zep32u ue() {
        Zep32s v = 0;
        if (zepiDecodeExpGolombOne_H264_1u32s(&p_, &off_, &v, 0) != zepStatusOk) fail("bad Exp-Golomb code");
        guard();
        return static_cast<Zep32u>(v);
    }
    // ue(v) with an upper bound; larger values are a stream error naming the field.
    Zep32u ue(Zep32u max, const char* what) {
        const Zep32u v = ue();
        if (v > max) fail(std::string("value out of range: ") + what);
        return v;
    }
    Zep32s se() {
        Zep32s v = 0;
        if (zepiDecodeExpGolombOne_H264_1u32s(&p_, &off_, &v, 1) != zepStatusOk) fail("bad Exp-Golomb code");
        guard();
        return v;
    }
    Zep32s se(Zep32s lo, Zep32s hi, const char* what) {
        const Zep32s v = se();
        if (v < lo || v > hi) fail(std::string("value out of range: ") + what);
        return v;
    }

    // The library's word-stream position, for the CAVLC decoders.
    Zep32u** word() { return &p_; }
    Zep32s* offset() { return &off_; }
    void guard() const {
        if (p_ >= words_.data() + words_.size() - 4) fail("read past the end of a NAL unit");
    }

private:
    std::vector<uint8_t> bytes_;
    std::vector<Zep32u> words_;
    size_t nbits_ = 0;
    Zep32u* p_ = nullptr;
    Zep32s off_ = 31;
};

// Calls f(code, unit, size) for every unit of an MPEG-style byte stream: the
// bytes after each 00 00 01 xx start code up to the next one. Returns whether
// there was any start code.
template <class F>
bool for_each_start_code(const uint8_t* data, size_t size, F f) {
    size_t i = 0;
    bool found = false;
    while (i + 3 < size) {
        if (!(data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1)) {
            ++i;
            continue;
        }
        found = true;
        size_t end = i + 4;
        while (end + 2 < size && !(data[end] == 0 && data[end + 1] == 0 && data[end + 2] == 1)) ++end;
        if (end + 2 >= size) end = size;
        f(static_cast<int>(data[i + 3]), data + i + 4, end - (i + 4));
        i = end;
    }
    return found;
}

}  // namespace zdec
