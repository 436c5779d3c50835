// A read-only memory mapping of a whole file.
//
//   auto file = tessivo::MappedFile::open(path);
//   if (!file) { std::cerr << file.error(); ... }
//   tessivo::ByteView bytes = file->bytes();   // valid while the MappedFile lives
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>

namespace tessivo {

class MappedFile {
public:
    // Maps path; on failure the result holds the reason (strerror text, or
    // "is a directory"). An empty file maps to an empty view.
    static std::variant<MappedFile, std::string> open(const std::string& path);

    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile();

    std::span<const std::uint8_t> bytes() const { return {data_, size_}; }

private:
    MappedFile(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    void release();

    const std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace tessivo
