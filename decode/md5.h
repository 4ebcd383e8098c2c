// MD5 (RFC 1321), to compare decoded output with recorded sums.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zdec {

class Md5 {
public:
    Md5();
    void update(const void* data, size_t n);
    std::string hex();  // finishes the digest

private:
    void block(const uint8_t* p);
    uint32_t h_[4];
    uint8_t buf_[64];
    uint64_t len_ = 0;
};

}  // namespace zdec
