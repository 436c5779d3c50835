#include "tessivo/importer/plugin_glue.h"

#include <cstdlib>
#include <string>

#include "tessivo/importer/importer.h"

namespace {

// The interface table shared by every instance, in the loader's slot order.
MDImporterInterfaceStruct importerInterfaceTable = {
    nullptr,
    MetadataImporterQueryInterface,
    MetadataImporterPluginAddRef,
    MetadataImporterPluginRelease,
    GetMetadataForFile,
};

icu::UnicodeString toUnicode(CFStringRef text) {
    const CFIndex length = CFStringGetLength(text);
    icu::UnicodeString out;
    if (length <= 0 || length > INT32_MAX) return out;
    const auto units = static_cast<int32_t>(length);
    char16_t* buffer = out.getBuffer(units);
    if (!buffer) return out;
    CFStringGetCharacters(text, CFRange{0, length}, reinterpret_cast<UniChar*>(buffer));
    out.releaseBuffer(units);
    return out;
}

}  // namespace

extern "C" {

void* MetadataImporterPluginFactory(CFAllocatorRef, CFUUIDRef typeID) {
    if (!CFEqual(typeID, kMDImporterTypeID)) return nullptr;
    CFUUIDRef factoryID = CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR(TESSIVO_IMPORTER_FACTORY_UUID));
    MetadataImporterPluginType* instance = AllocMetadataImporterPluginType(factoryID);
    CFRelease(factoryID);
    return instance;
}

MetadataImporterPluginType* AllocMetadataImporterPluginType(CFUUIDRef factoryID) {
    auto* instance = static_cast<MetadataImporterPluginType*>(std::calloc(1, sizeof(MetadataImporterPluginType)));
    if (!instance) return nullptr;
    instance->conduitInterface = &importerInterfaceTable;
    instance->factoryID = static_cast<CFUUIDRef>(CFRetain(factoryID));
    CFPlugInAddInstanceForFactory(factoryID);
    instance->refCount = 1;
    return instance;
}

void DeallocMetadataImporterPluginType(MetadataImporterPluginType* instance) {
    CFUUIDRef factoryID = instance->factoryID;
    std::free(instance);
    if (factoryID) {
        CFPlugInRemoveInstanceForFactory(factoryID);
        CFRelease(factoryID);
    }
}

HRESULT MetadataImporterQueryInterface(void* instance, REFIID iid, LPVOID* ppv) {
    CFUUIDRef interfaceID = CFUUIDCreateFromUUIDBytes(kCFAllocatorDefault, iid);
    HRESULT result = E_NOINTERFACE;
    if (CFEqual(interfaceID, kMDImporterInterfaceID) || CFEqual(interfaceID, IUnknownUUID)) {
        static_cast<MetadataImporterPluginType*>(instance)->conduitInterface->AddRef(instance);
        *ppv = instance;
        result = S_OK;
    } else {
        *ppv = nullptr;
    }
    CFRelease(interfaceID);
    return result;
}

ULONG MetadataImporterPluginAddRef(void* instance) {
    return ++static_cast<MetadataImporterPluginType*>(instance)->refCount;
}

ULONG MetadataImporterPluginRelease(void* instance) {
    auto* self = static_cast<MetadataImporterPluginType*>(instance);
    const UInt32 before = self->refCount--;
    if (before == 1) {
        DeallocMetadataImporterPluginType(self);
        return 0;
    }
    return self->refCount;
}

Boolean GetMetadataForFile(void*, CFMutableDictionaryRef attributes, CFStringRef contentTypeUTI,
                           CFStringRef pathToFile) {
    if (!attributes || !contentTypeUTI || !pathToFile) return false;
    tessivo::Dictionary found;
    if (!tessivo::importer::importFile(toUnicode(contentTypeUTI), tessivo::toUtf8(toUnicode(pathToFile)), found))
        return false;
    const icu::UnicodeString* text = found.get(tessivo::importer::kMDItemTextContent)->string();
    CFStringRef value = CFStringCreateWithCharacters(
        kCFAllocatorDefault, reinterpret_cast<const UniChar*>(text->getBuffer()), text->length());
    if (!value) return false;
    CFDictionarySetValue(attributes, ::kMDItemTextContent, value);
    CFRelease(value);
    return true;
}

CFStringRef LocalizationNotNeeded(CFStringRef text) { return text; }

}  // extern "C"
