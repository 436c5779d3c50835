// Value types shared by every reader: a tagged Value, an insertion-ordered
// Dictionary, Array, Date and Bytes.
//
//   tessivo::Dictionary d;
//   d.set(u"Subject", tessivo::Value(icu::UnicodeString(u"Hello")));
//   if (const auto* s = d.get(u"Subject")->string()) { ... }
//
// Strings are ICU UTF-16 strings; lengths and indexes are in UTF-16 code units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <unicode/unistr.h>

namespace tessivo {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// The bytes of a text, borrowed from it.
inline ByteView asBytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// A point in time: seconds since 1970-01-01 00:00:00 UTC.
struct Date {
    double secondsSince1970 = 0;
    friend bool operator==(const Date&, const Date&) = default;
};

struct UnicodeStringHash {
    std::size_t operator()(const icu::UnicodeString& s) const { return static_cast<std::size_t>(s.hashCode()); }
};

class Value;
using Array = std::vector<Value>;

// A dictionary that keeps its keys in the order they were first set.
// Setting an existing key replaces its value in place.
class Dictionary {
public:
    using Entry = std::pair<icu::UnicodeString, Value>;

    Dictionary();
    Dictionary(const Dictionary&);
    Dictionary(Dictionary&&) noexcept;
    Dictionary& operator=(const Dictionary&);
    Dictionary& operator=(Dictionary&&) noexcept;
    ~Dictionary();

    void set(const icu::UnicodeString& key, Value value);
    // Makes room for count entries, so that setting them moves none.
    void reserve(std::size_t count);
    // The value stored under key, or nullptr; borrowed until the dictionary changes.
    const Value* get(const icu::UnicodeString& key) const;
    Value* get(const icu::UnicodeString& key);
    // The string stored under key, or nullptr when there is none or the value is no string.
    const icu::UnicodeString* string(const icu::UnicodeString& key) const;
    bool contains(const icu::UnicodeString& key) const { return find(key) != kMissing; }
    bool erase(const icu::UnicodeString& key);
    void clear();

    // Defined after Value: the entry type is incomplete here.
    std::size_t size() const;
    bool empty() const;
    const std::vector<Entry>& entries() const { return entries_; }
    std::vector<Entry>::const_iterator begin() const;
    std::vector<Entry>::const_iterator end() const;
    std::vector<icu::UnicodeString> keys() const;

    // Equal when both hold the same keys with equal values, whatever their order.
    friend bool operator==(const Dictionary& a, const Dictionary& b);

private:
    // Small dictionaries (most of them: attachments, addresses) are searched
    // in order; past this many keys a hash index is kept beside the entries.
    static constexpr std::size_t kLinearEntries = 8;
    static constexpr std::size_t kMissing = static_cast<std::size_t>(-1);
    std::size_t find(const icu::UnicodeString& key) const;
    // find's answer, and while the index is kept, the slot where the search
    // ended: the key's, or the free one where it belongs.
    std::pair<std::size_t, std::size_t> locate(const icu::UnicodeString& key) const;
    // Indexes the entries in slots enough for count of them (nothing while that is few).
    void rebuildIndex(std::size_t count);

    std::vector<Entry> entries_;
    // Open addressing with linear probing: each slot holds an entry's
    // position plus one, 0 when free; a power of two in size, at least twice
    // the entries. Empty while small.
    std::vector<std::uint32_t> index_;
};

// The platform's object values: null, boolean, signed, unsigned, double,
// string, bytes, date, array or dictionary.
class Value {
public:
    using Storage = std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, icu::UnicodeString,
                                 Bytes, Date, Array, Dictionary>;

    Value() = default;
    Value(bool v) : v_(v) {}
    Value(int v) : v_(std::int64_t{v}) {}
    Value(long v) : v_(std::int64_t{v}) {}
    Value(long long v) : v_(std::int64_t{v}) {}
    Value(unsigned v) : v_(std::uint64_t{v}) {}
    Value(unsigned long v) : v_(std::uint64_t{v}) {}
    Value(unsigned long long v) : v_(std::uint64_t{v}) {}
    Value(double v) : v_(v) {}
    Value(icu::UnicodeString v) : v_(std::move(v)) {}
    Value(const char16_t* v) : v_(icu::UnicodeString(v)) {}
    Value(Bytes v) : v_(std::move(v)) {}
    Value(Date v) : v_(v) {}
    Value(Array v) : v_(std::move(v)) {}
    Value(Dictionary v) : v_(std::move(v)) {}

    bool isNull() const { return std::holds_alternative<std::monostate>(v_); }
    template <class T> bool is() const { return std::holds_alternative<T>(v_); }
    template <class T> const T* as() const { return std::get_if<T>(&v_); }
    template <class T> T* as() { return std::get_if<T>(&v_); }

    const icu::UnicodeString* string() const { return as<icu::UnicodeString>(); }
    const Bytes* bytes() const { return as<Bytes>(); }
    const Array* array() const { return as<Array>(); }
    const Dictionary* dictionary() const { return as<Dictionary>(); }

    // Any number (bool, signed, unsigned, double) as the given type; 0 otherwise.
    std::int64_t toInt64() const;
    std::uint64_t toUInt64() const;
    double toDouble() const;

    // A readable UTF-8 description, as log placeholders print objects.
    std::string describe() const;

    const Storage& storage() const { return v_; }
    friend bool operator==(const Value& a, const Value& b) { return a.v_ == b.v_; }

private:
    Storage v_;
};

inline std::size_t Dictionary::size() const { return entries_.size(); }
inline bool Dictionary::empty() const { return entries_.empty(); }
inline std::vector<Dictionary::Entry>::const_iterator Dictionary::begin() const { return entries_.begin(); }
inline std::vector<Dictionary::Entry>::const_iterator Dictionary::end() const { return entries_.end(); }

// UTF-8 text of a string, for logs and output.
std::string toUtf8(const icu::UnicodeString& s);
// A string from UTF-8 (invalid sequences become U+FFFD).
icu::UnicodeString fromUtf8(std::string_view s);

}  // namespace tessivo
