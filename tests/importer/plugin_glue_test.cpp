// The plug-in glue as the loader and the search service drive it, over the
// CoreFoundation stand-in (whose reference counts and loader registry are real).
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/cfb_writer.h"
#include "support/corpus.h"
#include "tessivo/importer/plugin_glue.h"

namespace {

using Importer = MDImporterInterfaceStruct**;

CFStringRef makeString(const std::u16string& text) {
    return CFStringCreateWithCharacters(kCFAllocatorDefault, reinterpret_cast<const UniChar*>(text.data()),
                                        static_cast<CFIndex>(text.size()));
}

std::u16string readString(CFTypeRef value) {
    auto text = static_cast<CFStringRef>(value);
    std::u16string out(static_cast<std::size_t>(CFStringGetLength(text)), u'\0');
    CFStringGetCharacters(text, CFRange{0, static_cast<CFIndex>(out.size())}, reinterpret_cast<UniChar*>(out.data()));
    return out;
}

CFUUIDRef factoryUUID() {
    return CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR(TESSIVO_IMPORTER_FACTORY_UUID));
}

class PluginGlueTest : public ::testing::Test {
protected:
    void SetUp() override { liveBefore_ = tessivo::cfcompat::liveObjects(); }
    void TearDown() override {
        CFUUIDRef factory = factoryUUID();
        EXPECT_EQ(tessivo::cfcompat::registeredInstances(factory), 0) << "an instance outlived its test";
        CFRelease(factory);
        EXPECT_EQ(tessivo::cfcompat::liveObjects(), liveBefore_) << "objects leaked";
    }

    static Importer newImporter() {
        return static_cast<Importer>(MetadataImporterPluginFactory(kCFAllocatorDefault, kMDImporterTypeID));
    }

    static int instancesOfFactory() {
        CFUUIDRef factory = factoryUUID();
        const int n = tessivo::cfcompat::registeredInstances(factory);
        CFRelease(factory);
        return n;
    }

private:
    long liveBefore_ = 0;
};

TEST_F(PluginGlueTest, FactoryMakesRegisteredInstanceOnlyForImporterType) {
    Importer importer = newImporter();
    ASSERT_NE(importer, nullptr);
    auto* instance = reinterpret_cast<MetadataImporterPluginType*>(importer);
    EXPECT_EQ(instance->refCount, 1u);
    EXPECT_EQ(instancesOfFactory(), 1);
    // The instance holds the only reference to its factory UUID.
    EXPECT_EQ(CFGetRetainCount(instance->factoryID), 1);

    // Interface table in the loader's slot order.
    EXPECT_EQ((*importer)->_reserved, nullptr);
    EXPECT_EQ((*importer)->QueryInterface, &MetadataImporterQueryInterface);
    EXPECT_EQ((*importer)->AddRef, &MetadataImporterPluginAddRef);
    EXPECT_EQ((*importer)->Release, &MetadataImporterPluginRelease);
    EXPECT_EQ((*importer)->ImporterImportData, &GetMetadataForFile);

    EXPECT_EQ((*importer)->Release(importer), 0u);
    EXPECT_EQ(instancesOfFactory(), 0);

    EXPECT_EQ(MetadataImporterPluginFactory(kCFAllocatorDefault, kMDImporterInterfaceID), nullptr);
    EXPECT_EQ(MetadataImporterPluginFactory(kCFAllocatorDefault, IUnknownUUID), nullptr);
}

TEST_F(PluginGlueTest, ReferenceCountingFreesAtLastRelease) {
    Importer importer = newImporter();
    EXPECT_EQ((*importer)->AddRef(importer), 2u);
    EXPECT_EQ((*importer)->AddRef(importer), 3u);
    EXPECT_EQ((*importer)->Release(importer), 2u);
    EXPECT_EQ((*importer)->Release(importer), 1u);
    EXPECT_EQ(instancesOfFactory(), 1);
    EXPECT_EQ((*importer)->Release(importer), 0u);
    EXPECT_EQ(instancesOfFactory(), 0);
}

TEST_F(PluginGlueTest, QueryInterfaceAnswersImporterAndIUnknownOnly) {
    Importer importer = newImporter();
    auto* instance = reinterpret_cast<MetadataImporterPluginType*>(importer);

    for (CFUUIDRef known : {kMDImporterInterfaceID, IUnknownUUID}) {
        void* out = nullptr;
        EXPECT_EQ((*importer)->QueryInterface(importer, CFUUIDGetUUIDBytes(known), &out), S_OK);
        EXPECT_EQ(out, importer);
        EXPECT_EQ((*importer)->Release(importer), 1u);  // the query's own reference
    }

    void* out = importer;
    EXPECT_EQ((*importer)->QueryInterface(importer, CFUUIDGetUUIDBytes(kMDImporterTypeID), &out),
              static_cast<HRESULT>(0x80000004u));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(instance->refCount, 1u);

    (*importer)->Release(importer);
}

TEST_F(PluginGlueTest, AllocAndDeallocBalanceFactoryReference) {
    CFUUIDRef factory = factoryUUID();
    MetadataImporterPluginType* instance = AllocMetadataImporterPluginType(factory);
    EXPECT_EQ(CFGetRetainCount(factory), 2);
    EXPECT_EQ(tessivo::cfcompat::registeredInstances(factory), 1);
    DeallocMetadataImporterPluginType(instance);
    EXPECT_EQ(CFGetRetainCount(factory), 1);
    EXPECT_EQ(tessivo::cfcompat::registeredInstances(factory), 0);
    CFRelease(factory);
}

TEST_F(PluginGlueTest, FactoryUUIDTextParsesOnlyInCanonicalForm) {
    CFUUIDRef lower = CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR("8b08c4bf-415b-11d8-b3f9-0003936726fc"));
    ASSERT_NE(lower, nullptr);
    EXPECT_TRUE(CFEqual(lower, kMDImporterTypeID));
    CFRelease(lower);
    for (const char16_t* bad : {u"8B08C4BF415B11D8B3F90003936726FC", u"8B08C4BF-415B-11D8-B3F9-0003936726F",
                                u"8B08C4BF-415B-11D8-B3F9-0003936726FG", u"8B08C4BF-415B+11D8-B3F9-0003936726FC"}) {
        CFStringRef text = makeString(bad);
        EXPECT_EQ(CFUUIDCreateFromString(kCFAllocatorDefault, text), nullptr) << tessivo::toUtf8(bad);
        CFRelease(text);
    }
}

// A message file with a plain-text body, written to a temporary path.
class GetMetadataForFileTest : public PluginGlueTest {
protected:
    void SetUp() override {
        PluginGlueTest::SetUp();
        path_ = ::testing::TempDir() + "glue_plain.msg";
        tessivo::testing::CfbWriter writer;
        writer.addStream("__substg1.0_1000001F", tessivo::testing::utf16le("Grüße aus Köln"));
        tessivo::testing::writeFile(path_, writer.build().bytes);
        importer_ = newImporter();
        attributes_ = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                &kCFTypeDictionaryValueCallBacks);
        pathString_ = makeString(std::u16string(path_.begin(), path_.end()));
    }
    void TearDown() override {
        CFRelease(pathString_);
        CFRelease(attributes_);
        (*importer_)->Release(importer_);
        std::remove(path_.c_str());
        PluginGlueTest::TearDown();
    }

    Boolean import(CFStringRef contentType, CFStringRef path) {
        return (*importer_)->ImporterImportData(importer_, attributes_, contentType, path);
    }

    std::string path_;
    Importer importer_ = nullptr;
    CFMutableDictionaryRef attributes_ = nullptr;
    CFStringRef pathString_ = nullptr;
};

TEST_F(GetMetadataForFileTest, StoresTextUnderTextContentKey) {
    ASSERT_TRUE(import(CFSTR("com.orvanel.tessivo.msg"), pathString_));
    ASSERT_EQ(CFDictionaryGetCount(attributes_), 1);
    const std::u16string text = readString(CFDictionaryGetValue(attributes_, CFSTR("kMDItemTextContent")));
    // Whole sectors: the text keeps its NUL padding.
    EXPECT_EQ(text.substr(0, 14), u"Grüße aus Köln");
    EXPECT_EQ(text.size(), 32u);
    EXPECT_EQ(text.find_first_not_of(u'\0', 14), std::u16string::npos);

    ASSERT_TRUE(import(CFSTR("com.orvanel.tessivopro.msg"), pathString_));
    EXPECT_EQ(CFDictionaryGetCount(attributes_), 1);
}

TEST_F(GetMetadataForFileTest, RefusesMissingArgumentsOtherTypesAndBadFiles) {
    EXPECT_FALSE(import(nullptr, pathString_));
    EXPECT_FALSE(import(CFSTR("com.orvanel.tessivo.msg"), nullptr));
    EXPECT_FALSE((*importer_)->ImporterImportData(importer_, nullptr, CFSTR("com.orvanel.tessivo.msg"), pathString_));
    EXPECT_FALSE(import(CFSTR("com.orvanel.Tessivo.msg"), pathString_));
    EXPECT_FALSE(import(CFSTR("com.microsoft.outlook.msg"), pathString_));
    CFStringRef missing = makeString(u"/nonexistent/mail.msg");
    EXPECT_FALSE(import(CFSTR("com.orvanel.tessivo.msg"), missing));
    CFRelease(missing);
    EXPECT_EQ(CFDictionaryGetCount(attributes_), 0);
}

TEST(PluginBundle, InfoPlistNamesTheFactoryAndImporterType) {
    const tessivo::Bytes bytes = tessivo::testing::readFile(std::string(TESSIVO_SOURCE_DIR) + "/hosts/macos/Info.plist");
    const std::string plist(bytes.begin(), bytes.end());
    ASSERT_FALSE(plist.empty());
    const std::string factory = TESSIVO_IMPORTER_FACTORY_UUID;
    EXPECT_NE(plist.find("<key>" + factory + "</key>\n\t\t<string>MetadataImporterPluginFactory</string>"),
              std::string::npos);
    EXPECT_NE(plist.find("<key>8B08C4BF-415B-11D8-B3F9-0003936726FC</key>\n\t\t<array>\n\t\t\t<string>" + factory),
              std::string::npos);
    for (const char* type : {"<string>com.orvanel.tessivo.msg</string>", "<string>com.orvanel.tessivopro.msg</string>"})
        EXPECT_NE(plist.find(type), std::string::npos) << type;
}

}  // namespace
