// The desktop-search plug-in: the factory the plug-in loader calls, the
// importer instance with its COM-style interface table, and the importer
// call that hands a message's text to the search service.
//
//   void* instance = MetadataImporterPluginFactory(kCFAllocatorDefault, kMDImporterTypeID);
//   MDImporterInterfaceStruct** importer = static_cast<MDImporterInterfaceStruct**>(instance);
//   (*importer)->ImporterImportData(importer, attributes, CFSTR("com.orvanel.tessivo.msg"), path);
//   (*importer)->Release(importer);
//
// On Apple platforms this builds against CoreFoundation and the Metadata
// framework; elsewhere against cf_compat.h, which provides the same calls.
#pragma once

#if defined(__APPLE__)
#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#else
#include "tessivo/importer/cf_compat.h"
#endif

// The plug-in's factory UUID; the bundle's Info.plist names the same one.
#define TESSIVO_IMPORTER_FACTORY_UUID "10D52090-D060-4F9A-8918-A527AD436CBF"

extern "C" {

// One importer instance: its interface table, the factory it came from
// (retained) and its reference count, starting at 1.
struct MetadataImporterPluginType {
    MDImporterInterfaceStruct* conduitInterface;
    CFUUIDRef factoryID;
    UInt32 refCount;
};

// A new instance when typeID is kMDImporterTypeID, otherwise null.
void* MetadataImporterPluginFactory(CFAllocatorRef allocator, CFUUIDRef typeID);

// Allocates a zero-filled instance for factoryID, registers it with the loader.
MetadataImporterPluginType* AllocMetadataImporterPluginType(CFUUIDRef factoryID);
// Frees the instance, then unregisters it and releases its factory identifier.
void DeallocMetadataImporterPluginType(MetadataImporterPluginType* instance);

// S_OK and the instance (retained) for the importer interface or IUnknown;
// E_NOINTERFACE and null for any other interface.
HRESULT MetadataImporterQueryInterface(void* instance, REFIID iid, LPVOID* ppv);
ULONG MetadataImporterPluginAddRef(void* instance);
// Frees the instance when the count was 1; returns the new count.
ULONG MetadataImporterPluginRelease(void* instance);

// Stores the file's text under kMDItemTextContent in attributes and returns
// true; false, setting nothing, when there is no text or an argument is missing.
Boolean GetMetadataForFile(void* instance, CFMutableDictionaryRef attributes, CFStringRef contentTypeUTI,
                           CFStringRef pathToFile);

// Returns text unchanged: marks strings that are never localised.
CFStringRef LocalizationNotNeeded(CFStringRef text);

}  // extern "C"
