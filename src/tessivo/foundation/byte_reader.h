// Bounded little-endian reads over untrusted bytes.
//
//   tessivo::ByteReader r(data);
//   auto size = r.u32le();          // std::nullopt when fewer than 4 bytes remain
//   auto name = r.bytes(64);        // a view into data, valid while data lives
//
// Every read is checked; a short read yields nothing and leaves the position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

namespace tessivo {

// The little-endian value at offset, or nothing when it does not fit.
inline std::optional<std::uint16_t> readU16le(std::span<const std::uint8_t> d, std::size_t offset) {
    if (offset > d.size() || d.size() - offset < 2) return std::nullopt;
    return static_cast<std::uint16_t>(d[offset] | (d[offset + 1] << 8));
}

inline std::optional<std::uint32_t> readU32le(std::span<const std::uint8_t> d, std::size_t offset) {
    if (offset > d.size() || d.size() - offset < 4) return std::nullopt;
    return static_cast<std::uint32_t>(d[offset]) | (static_cast<std::uint32_t>(d[offset + 1]) << 8) |
           (static_cast<std::uint32_t>(d[offset + 2]) << 16) | (static_cast<std::uint32_t>(d[offset + 3]) << 24);
}

inline std::optional<std::uint64_t> readU64le(std::span<const std::uint8_t> d, std::size_t offset) {
    auto lo = readU32le(d, offset);
    auto hi = offset <= std::numeric_limits<std::size_t>::max() - 4 ? readU32le(d, offset + 4) : std::nullopt;
    if (!lo || !hi) return std::nullopt;
    return static_cast<std::uint64_t>(*lo) | (static_cast<std::uint64_t>(*hi) << 32);
}

// Loads from a pointer the caller has already bounds-checked.
inline std::uint16_t loadU16le(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | (p[1] << 8)); }
inline std::uint32_t loadU32le(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

class ByteReader {
public:
    explicit ByteReader(std::span<const std::uint8_t> data) : data_(data) {}

    std::size_t position() const { return pos_; }
    std::size_t remaining() const { return data_.size() - pos_; }
    bool atEnd() const { return pos_ == data_.size(); }

    std::optional<std::uint8_t> u8() {
        if (remaining() < 1) return std::nullopt;
        return data_[pos_++];
    }
    std::optional<std::uint16_t> u16le() { return advance(readU16le(data_, pos_), 2); }
    std::optional<std::uint32_t> u32le() { return advance(readU32le(data_, pos_), 4); }
    std::optional<std::uint64_t> u64le() { return advance(readU64le(data_, pos_), 8); }

    std::optional<std::span<const std::uint8_t>> bytes(std::size_t n) {
        if (remaining() < n) return std::nullopt;
        auto out = data_.subspan(pos_, n);
        pos_ += n;
        return out;
    }
    bool skip(std::size_t n) {
        if (remaining() < n) return false;
        pos_ += n;
        return true;
    }
    bool seek(std::size_t offset) {
        if (offset > data_.size()) return false;
        pos_ = offset;
        return true;
    }

private:
    template <class T> std::optional<T> advance(std::optional<T> v, std::size_t n) {
        if (v) pos_ += n;
        return v;
    }

    std::span<const std::uint8_t> data_;
    std::size_t pos_ = 0;
};

// Overflow-checked arithmetic for sizes taken from files.
template <class T> std::optional<T> checkedAdd(T a, T b) {
    T r;
    if (__builtin_add_overflow(a, b, &r)) return std::nullopt;
    return r;
}
template <class T> std::optional<T> checkedMul(T a, T b) {
    T r;
    if (__builtin_mul_overflow(a, b, &r)) return std::nullopt;
    return r;
}

}  // namespace tessivo
