// The few CoreFoundation and CFPlugIn calls the plug-in glue uses, for
// platforms without CoreFoundation, so the same glue builds and is tested
// there. Names and signatures follow the platform's C interface.
//
//   CFUUIDRef id = CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR("8B08C4BF-..."));
//   if (CFEqual(id, kMDImporterTypeID)) ...
//   CFRelease(id);
//
// Objects are reference counted for real: an object is freed when its count
// drops to zero. Constant objects (CFSTR, CFUUIDGetConstantUUIDWithBytes)
// live for the whole process. Nothing here is thread-safe, as the glue's own
// counting is not.
#pragma once

#include <cstddef>
#include <cstdint>

// Values, handles and results.
using Boolean = unsigned char;
using UInt8 = std::uint8_t;
using UInt32 = std::uint32_t;
using UniChar = char16_t;
using CFIndex = long;
using HRESULT = std::int32_t;
using ULONG = std::uint32_t;
using LPVOID = void*;
using CFStringEncoding = UInt32;

using CFTypeRef = const void*;
using CFAllocatorRef = const struct CFCompatAllocator*;
using CFUUIDRef = const struct CFCompatObject*;
using CFStringRef = const struct CFCompatObject*;
using CFDictionaryRef = const struct CFCompatObject*;
using CFMutableDictionaryRef = struct CFCompatObject*;

struct CFUUIDBytes {
    UInt8 byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7;
    UInt8 byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15;
};
using REFIID = CFUUIDBytes;

struct CFRange {
    CFIndex location;
    CFIndex length;
};

// Key and value behaviour of a dictionary; only the retaining kind exists here.
struct CFDictionaryKeyCallBacks {
    CFIndex version;
};
struct CFDictionaryValueCallBacks {
    CFIndex version;
};
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

inline constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80000004u);

// Reference counting and comparison.
CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFIndex CFGetRetainCount(CFTypeRef object);
// True for two UUIDs with the same bytes or two strings with the same UTF-16 units.
Boolean CFEqual(CFTypeRef a, CFTypeRef b);

// UUIDs. CFUUIDCreateFromString parses "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX"
// (hex digits in either case) and yields null for anything else.
CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef allocator, CFStringRef text);
CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef allocator, CFUUIDBytes bytes);
CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef allocator, UInt8 b0, UInt8 b1, UInt8 b2, UInt8 b3, UInt8 b4,
                                         UInt8 b5, UInt8 b6, UInt8 b7, UInt8 b8, UInt8 b9, UInt8 b10, UInt8 b11,
                                         UInt8 b12, UInt8 b13, UInt8 b14, UInt8 b15);
CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid);

// Strings, as UTF-16 code units.
CFStringRef CFCompatConstantString(const char* ascii);
#define CFSTR(text) CFCompatConstantString(text)
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar* chars, CFIndex length);
CFIndex CFStringGetLength(CFStringRef text);
void CFStringGetCharacters(CFStringRef text, CFRange range, UniChar* buffer);

// Dictionaries that retain their keys and values.
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);

// The plug-in loader's record of live instances per factory.
void CFPlugInAddInstanceForFactory(CFUUIDRef factoryID);
void CFPlugInRemoveInstanceForFactory(CFUUIDRef factoryID);

// The COM-style base of every plug-in interface, and the metadata importer's.
#define IUNKNOWN_C_GUTS                                                   \
    void* _reserved;                                                      \
    HRESULT (*QueryInterface)(void* thisPointer, REFIID iid, LPVOID* ppv); \
    ULONG (*AddRef)(void* thisPointer);                                   \
    ULONG (*Release)(void* thisPointer)

struct MDImporterInterfaceStruct {
    IUNKNOWN_C_GUTS;
    Boolean (*ImporterImportData)(void* thisInterface, CFMutableDictionaryRef attributes, CFStringRef contentTypeUTI,
                                  CFStringRef pathToFile);
};

#define IUnknownUUID                                                                                              \
    CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC0, 0x00, \
                                   0x00, 0x00, 0x00, 0x00, 0x00, 0x46)
#define kMDImporterTypeID                                                                                         \
    CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 0x8B, 0x08, 0xC4, 0xBF, 0x41, 0x5B, 0x11, 0xD8, 0xB3, 0xF9, \
                                   0x00, 0x03, 0x93, 0x67, 0x26, 0xFC)
#define kMDImporterInterfaceID                                                                                    \
    CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 0x6E, 0xBC, 0x27, 0xC4, 0x89, 0x9C, 0x11, 0xD8, 0x84, 0xAE, \
                                   0x00, 0x03, 0x93, 0x67, 0x26, 0xFC)
// The text-content attribute key.
extern const CFStringRef kMDItemTextContent;

// Inspection for tests: what the loader holds and how many objects are alive.
namespace tessivo::cfcompat {

// Instances registered for factory (by UUID value) and not yet removed.
int registeredInstances(CFUUIDRef factoryID);
// Objects created and not yet freed, constants excluded.
long liveObjects();

}  // namespace tessivo::cfcompat
