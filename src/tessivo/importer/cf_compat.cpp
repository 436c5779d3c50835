#include "tessivo/importer/cf_compat.h"

#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// Every object is one CFCompatObject: a kind, a count and the payload of its kind.
struct CFCompatObject {
    enum class Kind { UUID, String, Dictionary };

    explicit CFCompatObject(Kind k) : kind(k) {}

    Kind kind;
    CFIndex count = 1;
    bool constant = false;
    std::array<UInt8, 16> uuid{};
    std::u16string text;
    std::vector<std::pair<CFTypeRef, CFTypeRef>> entries;  // retained keys and values
};

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{0};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{0};
const CFStringRef kMDItemTextContent = CFSTR("kMDItemTextContent");

namespace {

long gLiveObjects = 0;

CFCompatObject* object(CFTypeRef ref) { return const_cast<CFCompatObject*>(static_cast<const CFCompatObject*>(ref)); }

CFCompatObject* create(CFCompatObject::Kind kind) {
    ++gLiveObjects;
    return new CFCompatObject(kind);
}

// Constants are created once per value and live until the process ends; the
// counts of CFRetain and CFRelease do not apply to them.
std::unique_ptr<CFCompatObject> constant(CFCompatObject::Kind kind) {
    auto o = std::make_unique<CFCompatObject>(kind);
    o->constant = true;
    return o;
}

std::map<std::array<UInt8, 16>, int>& registry() {
    static std::map<std::array<UInt8, 16>, int> instances;
    return instances;
}

int hexDigit(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

CFUUIDRef uuidFrom(const std::array<UInt8, 16>& bytes) {
    auto* o = create(CFCompatObject::Kind::UUID);
    o->uuid = bytes;
    return o;
}

std::array<UInt8, 16> toArray(const CFUUIDBytes& b) {
    std::array<UInt8, 16> out;
    std::memcpy(out.data(), &b, out.size());
    return out;
}

}  // namespace

CFTypeRef CFRetain(CFTypeRef ref) {
    if (auto* o = object(ref); o && !o->constant) ++o->count;
    return ref;
}

void CFRelease(CFTypeRef ref) {
    auto* o = object(ref);
    if (!o || o->constant || --o->count > 0) return;
    for (auto& [key, value] : o->entries) {
        CFRelease(key);
        CFRelease(value);
    }
    --gLiveObjects;
    delete o;
}

CFIndex CFGetRetainCount(CFTypeRef ref) {
    const auto* o = object(ref);
    return o ? o->count : 0;
}

Boolean CFEqual(CFTypeRef a, CFTypeRef b) {
    const auto* x = object(a);
    const auto* y = object(b);
    if (x == y) return true;
    if (!x || !y || x->kind != y->kind) return false;
    switch (x->kind) {
    case CFCompatObject::Kind::UUID: return x->uuid == y->uuid;
    case CFCompatObject::Kind::String: return x->text == y->text;
    case CFCompatObject::Kind::Dictionary: return false;
    }
    return false;
}

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef, CFStringRef text) {
    const auto* s = object(text);
    if (!s || s->kind != CFCompatObject::Kind::String || s->text.size() != 36) return nullptr;
    std::array<UInt8, 16> bytes{};
    std::size_t n = 0;
    for (std::size_t i = 0; i < 36;) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (s->text[i] != u'-') return nullptr;
            ++i;
            continue;
        }
        const int hi = hexDigit(s->text[i]);
        const int lo = hexDigit(s->text[i + 1]);
        if (hi < 0 || lo < 0) return nullptr;
        bytes[n++] = static_cast<UInt8>(hi * 16 + lo);
        i += 2;
    }
    return uuidFrom(bytes);
}

CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef, CFUUIDBytes bytes) { return uuidFrom(toArray(bytes)); }

CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef, UInt8 b0, UInt8 b1, UInt8 b2, UInt8 b3, UInt8 b4, UInt8 b5,
                                         UInt8 b6, UInt8 b7, UInt8 b8, UInt8 b9, UInt8 b10, UInt8 b11, UInt8 b12,
                                         UInt8 b13, UInt8 b14, UInt8 b15) {
    static std::map<std::array<UInt8, 16>, std::unique_ptr<CFCompatObject>> constants;
    const std::array<UInt8, 16> bytes{b0, b1, b2, b3, b4, b5, b6, b7, b8, b9, b10, b11, b12, b13, b14, b15};
    auto& slot = constants[bytes];
    if (!slot) {
        slot = constant(CFCompatObject::Kind::UUID);
        slot->uuid = bytes;
    }
    return slot.get();
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid) {
    CFUUIDBytes out{};
    if (const auto* o = object(uuid); o && o->kind == CFCompatObject::Kind::UUID)
        std::memcpy(&out, o->uuid.data(), sizeof out);
    return out;
}

CFStringRef CFCompatConstantString(const char* ascii) {
    static std::map<std::string, std::unique_ptr<CFCompatObject>> constants;
    auto& slot = constants[ascii];
    if (!slot) {
        slot = constant(CFCompatObject::Kind::String);
        for (const char* p = ascii; *p; ++p) slot->text.push_back(static_cast<char16_t>(static_cast<unsigned char>(*p)));
    }
    return slot.get();
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* chars, CFIndex length) {
    auto* o = create(CFCompatObject::Kind::String);
    if (chars && length > 0) o->text.assign(chars, static_cast<std::size_t>(length));
    return o;
}

CFIndex CFStringGetLength(CFStringRef text) {
    const auto* o = object(text);
    return o && o->kind == CFCompatObject::Kind::String ? static_cast<CFIndex>(o->text.size()) : 0;
}

void CFStringGetCharacters(CFStringRef text, CFRange range, UniChar* buffer) {
    const auto* o = object(text);
    if (!o || o->kind != CFCompatObject::Kind::String || range.location < 0 || range.length < 0) return;
    const auto size = static_cast<CFIndex>(o->text.size());
    if (range.location > size || range.length > size - range.location) return;
    std::memcpy(buffer, o->text.data() + range.location, static_cast<std::size_t>(range.length) * sizeof(UniChar));
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex, const CFDictionaryKeyCallBacks*,
                                                 const CFDictionaryValueCallBacks*) {
    return create(CFCompatObject::Kind::Dictionary);
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    if (!dictionary || dictionary->kind != CFCompatObject::Kind::Dictionary) return;
    CFRetain(value);
    for (auto& entry : dictionary->entries) {
        if (CFEqual(entry.first, key)) {
            CFRelease(std::exchange(entry.second, value));
            return;
        }
    }
    dictionary->entries.emplace_back(CFRetain(key), value);
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const auto* d = object(dictionary);
    if (!d || d->kind != CFCompatObject::Kind::Dictionary) return nullptr;
    for (const auto& [k, v] : d->entries)
        if (CFEqual(k, key)) return v;
    return nullptr;
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
    const auto* d = object(dictionary);
    return d && d->kind == CFCompatObject::Kind::Dictionary ? static_cast<CFIndex>(d->entries.size()) : 0;
}

void CFPlugInAddInstanceForFactory(CFUUIDRef factoryID) {
    if (const auto* o = object(factoryID)) ++registry()[o->uuid];
}

void CFPlugInRemoveInstanceForFactory(CFUUIDRef factoryID) {
    const auto* o = object(factoryID);
    if (!o) return;
    auto it = registry().find(o->uuid);
    if (it != registry().end() && --it->second == 0) registry().erase(it);
}

namespace tessivo::cfcompat {

int registeredInstances(CFUUIDRef factoryID) {
    const auto* o = object(factoryID);
    if (!o) return 0;
    auto it = registry().find(o->uuid);
    return it == registry().end() ? 0 : it->second;
}

long liveObjects() { return gLiveObjects; }

}  // namespace tessivo::cfcompat
