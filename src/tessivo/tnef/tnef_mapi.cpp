#include "tessivo/tnef/tnef_mapi.h"

#include <cstddef>
#include <limits>

#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/limits.h"

namespace tessivo {
namespace {

// MAPI property types, as the low 16 bits of a tag.
enum PropertyType : std::uint16_t {
    kUnspecified = 0x0000,
    kNull = 0x0001,
    kShort = 0x0002,
    kLong = 0x0003,
    kFloat = 0x0004,
    kDouble = 0x0005,
    kCurrency = 0x0006,
    kAppTime = 0x0007,
    kError = 0x000A,
    kBoolean = 0x000B,
    kObject = 0x000D,
    kLongLong = 0x0014,
    kString8 = 0x001E,
    kUnicode = 0x001F,
    kSysTime = 0x0040,
    kBinary = 0x0102,
};
constexpr std::uint32_t kMultiValueFlag = 0x1000;

std::uint64_t padded(std::uint64_t size) { return (size + 3) & ~std::uint64_t{3}; }

unsigned long ul(std::uint64_t v) { return static_cast<unsigned long>(v); }

// One walk over a block: a step decodes one value (or finishes a property
// that has none left), so a block of N properties takes N steps only when no
// property needs more than one.
class BlockWalk {
public:
    BlockWalk(LoadedTNEF& message, ByteView data, std::uint32_t count)
        : message_(message), reader_(data), count_(count), properties_(count) {}

    // The decoded properties, or nothing when the walk stops early.
    std::optional<std::vector<MAPIProperty>> run() {
        for (step_ = 0; step_ < count_; ++step_) {
            if (reader_.atEnd()) {
                log("TNEF: Buffer exhausted at property %lu of %u", ul(step_), count_);
                break;
            }
            if (reader_.remaining() < 4) {
                log("TNEF: Insufficient data for property identifier");
                break;
            }
            if (valueIndex_ == kNewProperty && !startProperty()) break;
            if (!decodeValue()) break;
            advance();
        }
        if (finished_ < count_) return std::nullopt;
        return std::move(properties_);
    }

private:
    static constexpr std::int64_t kSingleValue = -1;
    static constexpr std::int64_t kNewProperty = -2;

    bool startProperty() {
        MAPIProperty& p = properties_[started_++];
        current_ = &p;
        p.tag = *reader_.u32le();
        p.valueCount = 1;
        if (static_cast<std::int32_t>(p.tag) < 0 && !readName(p)) return false;
        if (p.tag & kMultiValueFlag) {
            p.tag &= ~kMultiValueFlag;
            const auto values = reader_.u32le();
            if (!values) {
                log("TNEF: Insufficient data for MV count");
                return false;
            }
            if (*values >= tnef::kMaxPropertyCount) {
                log("TNEF: Unreasonable property count: %u, aborting parse", *values);
                return false;
            }
            p.valueCount = static_cast<std::uint16_t>(*values);
            valueIndex_ = 0;
        } else {
            valueIndex_ = kSingleValue;
        }
        return true;
    }

    // The property set and the names of a named property; the names' bytes are
    // skipped. Without names, a numeric name replaces the ID half of the tag.
    bool readName(MAPIProperty& p) {
        if (!reader_.skip(tnef::kPropertySetBytes)) {
            log("TNEF: Insufficient data for UUID");
            return false;
        }
        const auto names = reader_.u32le();
        if (!names) {
            log("TNEF: Insufficient data for property length");
            return false;
        }
        if (*names != 0) {
            p.nameCount = *names;
            for (std::uint32_t i = 0; i < *names; ++i) {
                const auto length = reader_.u32le();
                if (!length) break;
                if (*length > std::numeric_limits<std::uint32_t>::max() - 3) {
                    log("TNEF: Integer overflow in named property padding");
                    break;
                }
                if (!reader_.skip(padded(*length))) break;
            }
        } else {
            const auto id = reader_.u32le();
            if (!id) {
                log("TNEF: Insufficient data for type field");
                return false;
            }
            p.tag = (p.tag & 0xFFFF) | ((*id & 0xFFFF) << 16);
        }
        p.named = true;
        return true;
    }

    bool decodeValue() {
        // A multi-valued property of no values has nothing to decode here.
        if (valueIndex_ >= current_->valueCount) return true;
        const std::uint16_t type = current_->type();
        switch (type) {
        case kUnspecified:
        case kNull:
            return true;
        case kShort:
            return fixed(4, 2, "TNEF: Insufficient data for signed16Type");
        case kLong:
        case kFloat:
        case kError:
        case kBoolean:
            return fixed(4, 4, "TNEF: Insufficient data for 32-bit type");
        case kDouble:
        case kCurrency:
        case kAppTime:
        case kLongLong:
        case kSysTime:
            return fixed(8, 8, "TNEF: Insufficient data for 64-bit type");
        case kObject:
        case kString8:
        case kUnicode:
        case kBinary:
            return counted(type);
        default:
            log("TNEF: Unknown property type 0x%04X at property %lu", type, ul(step_));
            return true;
        }
    }

    bool fixed(std::size_t consumed, std::size_t kept, const char* shortMessage) {
        const auto bytes = reader_.bytes(consumed);
        if (!bytes) {
            log("%s", shortMessage);
            return false;
        }
        keep(bytes->first(kept));
        return true;
    }

    bool counted(std::uint16_t type) {
        if (valueIndex_ == kSingleValue && !reader_.u32le()) {
            log("TNEF: Insufficient data for variable-length property first size");
            return false;
        }
        const auto size = reader_.u32le();
        if (!size) {
            log("TNEF: Insufficient data for variable-length property data size");
            return false;
        }
        if (*size >= tnef::kMaxPropertyDataBytes) {
            log("TNEF: Rejecting unreasonably large data size: %lu", ul(*size));
            return false;
        }
        const std::uint64_t needed = padded(*size);
        if (needed > reader_.remaining()) {
            log("TNEF: Buffer overrun detected - need %lu bytes but only %lu available", ul(needed),
                ul(reader_.remaining()));
            return false;
        }
        const ByteView data = *reader_.bytes(needed);
        if (*size == 0) return true;
        if (type == kUnicode) {
            const auto text = makeUTF8(data.first(*size), message_.text);
            if (!text) {
                log("TNEF: makeUTF8 failed to allocate %lu bytes", ul(*size));
                return false;
            }
            keep(*text);
        } else {
            keep(data.first(*size));
        }
        return true;
    }

    void keep(ByteView value) {
        if (valueIndex_ > 0) return;
        current_->valueData = value.data();
        current_->valueSize = static_cast<std::uint32_t>(value.size());
    }

    // The next value of the property, or a new property. The last value of a
    // multi-valued property is never reached: the walk moves on when the next
    // index would be the last one, and its bytes are read as a new property.
    void advance() {
        if (valueIndex_ != kSingleValue) {
            const std::int64_t next = valueIndex_ + 1;
            if (next != current_->valueCount - 1 && next < current_->valueCount) {
                valueIndex_ = next;
                return;
            }
        }
        ++finished_;
        valueIndex_ = kNewProperty;
    }

    LoadedTNEF& message_;
    ByteReader reader_;
    const std::uint32_t count_;
    std::vector<MAPIProperty> properties_;
    MAPIProperty* current_ = nullptr;
    std::size_t started_ = 0;
    std::uint32_t finished_ = 0;
    std::uint64_t step_ = 0;
    std::int64_t valueIndex_ = kNewProperty;
};

}  // namespace

void TNEFFillMapi(LoadedTNEF& message, ByteView data, MAPIPropertyList& list) {
    list.properties = {};
    const auto count = readU32le(data, 0);
    if (!count) {
        log("TNEF: Invalid parameters to TNEFFillMapi");
        return;
    }
    if (*count >= tnef::kMaxPropertyCount) {
        log("TNEF: Unreasonable property count: %u", *count);
        return;
    }
    if (8 * std::uint64_t{*count} + 4 > data.size()) {
        log("TNEF: Insufficient data for %u properties (have %lu bytes)", *count, ul(data.size()));
        return;
    }
    if (*count == 0) return;
    if (auto properties = BlockWalk(message, data.subspan(4), *count).run()) list.properties = std::move(*properties);
}

const MAPIProperty* GetProperty(const MAPIPropertyList& list, std::uint32_t tag) {
    for (const MAPIProperty& p : list.properties)
        if (p.tag == tag && !p.named) return &p;
    return nullptr;
}

std::optional<ByteView> makeUTF8(ByteView utf16, TNEFTextStore& store) {
    if (utf16.size() < 2) return std::nullopt;
    const std::size_t limit = utf16.size() / 2 * 3;
    const std::span<std::uint8_t> out = store.allocate(limit + 4);
    std::size_t o = 0;
    for (std::size_t i = 0; i + 1 < utf16.size() && o < limit; i += 2) {
        const unsigned unit = utf16[i] | (utf16[i + 1] << 8);
        if (unit < 0x80) {
            out[o++] = static_cast<std::uint8_t>(unit);
        } else if (unit < 0x800) {
            out[o++] = static_cast<std::uint8_t>(0xC0 | (unit >> 6));
            out[o++] = static_cast<std::uint8_t>(0x80 | (unit & 0x3F));
        } else {
            out[o++] = static_cast<std::uint8_t>(0xE0 | (unit >> 12));
            out[o++] = static_cast<std::uint8_t>(0x80 | ((unit >> 6) & 0x3F));
            out[o++] = static_cast<std::uint8_t>(0x80 | (unit & 0x3F));
        }
    }
    return ByteView(out.data(), o);
}

}  // namespace tessivo
