#include "tessivo/foundation/value.h"

#include <cstdio>

namespace tessivo {

Dictionary::Dictionary() = default;
Dictionary::Dictionary(const Dictionary&) = default;
Dictionary::Dictionary(Dictionary&&) noexcept = default;
Dictionary& Dictionary::operator=(const Dictionary&) = default;
Dictionary& Dictionary::operator=(Dictionary&&) noexcept = default;
Dictionary::~Dictionary() = default;

std::size_t Dictionary::find(const icu::UnicodeString& key) const { return locate(key).first; }

std::pair<std::size_t, std::size_t> Dictionary::locate(const icu::UnicodeString& key) const {
    if (index_.empty()) {
        for (std::size_t i = 0; i < entries_.size(); ++i)
            if (entries_[i].first == key) return {i, 0};
        return {kMissing, 0};
    }
    const std::size_t mask = index_.size() - 1;
    std::size_t slot = UnicodeStringHash{}(key) & mask;
    for (; index_[slot] != 0; slot = (slot + 1) & mask)
        if (entries_[index_[slot] - 1].first == key) return {index_[slot] - 1, slot};
    return {kMissing, slot};
}

void Dictionary::rebuildIndex(std::size_t count) {
    index_.clear();
    if (count <= kLinearEntries) return;
    std::size_t slots = 4 * kLinearEntries;
    while (slots < 2 * count) slots *= 2;
    index_.assign(slots, 0);
    const std::size_t mask = slots - 1;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        std::size_t slot = UnicodeStringHash{}(entries_[i].first) & mask;
        while (index_[slot] != 0) slot = (slot + 1) & mask;
        index_[slot] = static_cast<std::uint32_t>(i + 1);
    }
}

void Dictionary::set(const icu::UnicodeString& key, Value value) {
    const auto [at, freeSlot] = locate(key);
    if (at != kMissing) {
        entries_[at].second = std::move(value);
        return;
    }
    if (entries_.empty()) entries_.reserve(4);
    entries_.emplace_back(key, std::move(value));
    if (!index_.empty() && 2 * entries_.size() <= index_.size())
        index_[freeSlot] = static_cast<std::uint32_t>(entries_.size());
    else if (entries_.size() > kLinearEntries)
        rebuildIndex(entries_.size());
}

void Dictionary::reserve(std::size_t count) {
    entries_.reserve(count);
    if (count > kLinearEntries && index_.size() < 2 * count) rebuildIndex(count);
}

const Value* Dictionary::get(const icu::UnicodeString& key) const {
    const std::size_t at = find(key);
    return at == kMissing ? nullptr : &entries_[at].second;
}

Value* Dictionary::get(const icu::UnicodeString& key) {
    const std::size_t at = find(key);
    return at == kMissing ? nullptr : &entries_[at].second;
}

const icu::UnicodeString* Dictionary::string(const icu::UnicodeString& key) const {
    const Value* value = get(key);
    return value ? value->string() : nullptr;
}

bool Dictionary::erase(const icu::UnicodeString& key) {
    const std::size_t at = find(key);
    if (at == kMissing) return false;
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(at));
    rebuildIndex(entries_.size());
    return true;
}

void Dictionary::clear() {
    entries_.clear();
    index_.clear();
}

std::vector<icu::UnicodeString> Dictionary::keys() const {
    std::vector<icu::UnicodeString> out;
    out.reserve(entries_.size());
    for (const auto& e : entries_) out.push_back(e.first);
    return out;
}

bool operator==(const Dictionary& a, const Dictionary& b) {
    if (a.size() != b.size()) return false;
    for (const auto& [key, value] : a.entries_) {
        const Value* other = b.get(key);
        if (!other || !(*other == value)) return false;
    }
    return true;
}

namespace {
template <class T> T numberAs(const Value::Storage& v) {
    if (auto p = std::get_if<bool>(&v)) return static_cast<T>(*p);
    if (auto p = std::get_if<std::int64_t>(&v)) return static_cast<T>(*p);
    if (auto p = std::get_if<std::uint64_t>(&v)) return static_cast<T>(*p);
    if (auto p = std::get_if<double>(&v)) return static_cast<T>(*p);
    return T{};
}
}  // namespace

std::int64_t Value::toInt64() const { return numberAs<std::int64_t>(v_); }
std::uint64_t Value::toUInt64() const { return numberAs<std::uint64_t>(v_); }
double Value::toDouble() const { return numberAs<double>(v_); }

std::string Value::describe() const {
    struct Visitor {
        std::string operator()(std::monostate) const { return "<null>"; }
        std::string operator()(bool b) const { return b ? "1" : "0"; }
        std::string operator()(std::int64_t i) const { return std::to_string(i); }
        std::string operator()(std::uint64_t u) const { return std::to_string(u); }
        std::string operator()(double d) const {
            char buf[32];
            std::snprintf(buf, sizeof buf, "%g", d);
            return buf;
        }
        std::string operator()(const icu::UnicodeString& s) const { return toUtf8(s); }
        std::string operator()(const Bytes& b) const { return "{length = " + std::to_string(b.size()) + "}"; }
        std::string operator()(Date d) const {
            char buf[32];
            std::snprintf(buf, sizeof buf, "%.3f", d.secondsSince1970);
            return buf;
        }
        std::string operator()(const Array& a) const {
            std::string out = "(";
            for (std::size_t i = 0; i < a.size(); ++i) out += (i ? ", " : "") + a[i].describe();
            return out + ")";
        }
        std::string operator()(const Dictionary& d) const {
            std::string out = "{";
            bool first = true;
            for (const auto& [k, v] : d) {
                out += (first ? "" : "; ") + toUtf8(k) + " = " + v.describe();
                first = false;
            }
            return out + "}";
        }
    };
    return std::visit(Visitor{}, v_);
}

std::string toUtf8(const icu::UnicodeString& s) {
    std::string out;
    s.toUTF8String(out);
    return out;
}

icu::UnicodeString fromUtf8(std::string_view s) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
}

}  // namespace tessivo
