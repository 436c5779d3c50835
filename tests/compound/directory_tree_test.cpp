#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <random>

#include "support/cfb_writer.h"
#include "tessivo/compound/directory_tree.h"
#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

using testing::CfbImage;
using testing::CfbWriter;

// The directory bytes of a written document (its directory sectors in order).
Bytes directoryBytes(const CfbImage& image) {
    Bytes out;
    for (auto s : image.directorySectors) {
        auto begin = image.bytes.begin() + image.sectorOffset(s);
        out.insert(out.end(), begin, begin + image.sectorSize);
    }
    return out;
}

DirectoryTree load(const CfbImage& image) {
    DirectoryTree tree;
    const Bytes bytes = directoryBytes(image);
    EXPECT_TRUE(tree.loadEntries(bytes, bytes.size()));
    return tree;
}

std::vector<std::string> childNames(const DirectoryTree& tree, std::uint64_t index) {
    std::vector<std::string> names;
    for (auto c : tree.children(index)) names.push_back(toUtf8(tree.entry(c)->name));
    return names;
}

TEST(DirectoryTreeTest, FewerThan128BytesLoadNothing) {
    DirectoryTree tree;
    const Bytes bytes(100, 0);
    EXPECT_FALSE(tree.loadEntries(bytes, bytes.size()));
    EXPECT_EQ(tree.entryCount(), 0u);
    EXPECT_EQ(tree.entry(0), nullptr);
    EXPECT_EQ(tree.findEntry(u"/"), nullptr);
}

TEST(DirectoryTreeTest, DecodesEntryFields) {
    CfbWriter w;
    w.addStream("\x05SummaryInformation", Bytes(5000, 1));
    w.addStorage("sub");
    w.setModified("sub", 116444736000000000ull + 50000000ull + 9999999ull);
    w.addStorage("old");
    w.setModified("old", 116444735990000001ull);  // 0.9999999 s before 1970
    auto image = w.build();
    image.setU8(image.entryOffset("sub", 66), 3);
    DirectoryTree tree = load(image);

    const DirectoryEntry* root = tree.entry(0);
    EXPECT_EQ(root->name, icu::UnicodeString(u"Root Entry"));
    EXPECT_TRUE(root->valid);
    EXPECT_TRUE(root->dir);

    const DirectoryEntry* stream = tree.findEntry(u"SummaryInformation");
    ASSERT_NE(stream, nullptr) << "control characters are dropped from names";
    EXPECT_FALSE(stream->dir);
    EXPECT_EQ(stream->size, 5000u);
    EXPECT_EQ(stream->start, image.streamSectors("\x05SummaryInformation")[0]);

    const DirectoryEntry* sub = tree.findEntry(u"sub");
    ASSERT_NE(sub, nullptr);
    EXPECT_TRUE(sub->dir) << "an unknown type counts as a folder";
    EXPECT_EQ(sub->time, 5) << "ticks are divided before the shift to 1970";
    EXPECT_EQ(tree.findEntry(u"old")->time, -1) << "divided first, a fraction before 1970 is a second earlier";
    EXPECT_EQ(stream->time, -11644473600);
    image.setU8(image.entryOffset("sub", 66), 4);
    EXPECT_TRUE(load(image).findEntry(u"sub")->dir);
    image.setU8(image.entryOffset("sub", 66), 0);
    EXPECT_FALSE(load(image).entry(image.entryIndex.at("sub"))->valid);

    const Dictionary d = sub->toDictionary();
    EXPECT_EQ(d.keys().size(), 9u);
    EXPECT_EQ(*d.get(u"time"), Value(5LL));
}

TEST(DirectoryTreeTest, NameLengthLimitsTheName) {
    CfbWriter w;
    w.addStream("abcdef", Bytes(1, 1));
    auto image = w.build();
    image.setU16(image.entryOffset("abcdef", 64), 6);
    EXPECT_NE(load(image).findEntry(u"abc"), nullptr);
    image.setU16(image.entryOffset("abcdef", 64), 7);
    EXPECT_NE(load(image).findEntry(u"abcd"), nullptr) << "a unit begun within the length is taken";
    image.setU16(image.entryOffset("abcdef", 64), 0);
    EXPECT_EQ(load(image).entry(1)->name, icu::UnicodeString());
}

TEST(DirectoryTreeTest, NamesAreTheirLowBytesReadAsUtf8) {
    CfbWriter w;
    w.addStream("abc", Bytes(1, 1));
    auto image = w.build();
    // The low bytes of the second and third units spell U+00E9 in UTF-8.
    image.setU8(image.entryOffset("abc", 2), 0xC3);
    image.setU8(image.entryOffset("abc", 4), 0xA9);
    EXPECT_EQ(load(image).entry(1)->name, icu::UnicodeString(u"a\u00E9"));
    // Control characters are dropped wherever they stand.
    image.setU8(image.entryOffset("abc", 0), 0x01);
    EXPECT_EQ(load(image).entry(1)->name, icu::UnicodeString(u"\u00E9"));
}

TEST(DirectoryTreeTest, NamesThatAreNotUtf8AreEmpty) {
    CfbWriter w;
    w.addStream("ab", Bytes(1, 1));
    auto image = w.build();
    image.setU8(image.entryOffset("ab", 0), 0xC3);
    EXPECT_EQ(load(image).entry(1)->name, icu::UnicodeString());
    // Only the low byte of each unit is kept: U+00E9 as one byte is not UTF-8.
    image.setU8(image.entryOffset("ab", 0), 0xE9);
    EXPECT_EQ(load(image).entry(1)->name, icu::UnicodeString());
}

TEST(DirectoryTreeTest, EmptyNamesAfterMsoDataStoreAreLeftOut) {
    CfbWriter w;
    w.addChild("", "", true);
    w.addStorage("MsoDataStore");
    w.addStream("x", Bytes(1, 1));
    auto image = w.build();
    // Root, "", MsoDataStore, x: the last sector holds no unused entries.
    ASSERT_EQ(image.directorySectors.size(), 1u);
    DirectoryTree tree = load(image);
    EXPECT_EQ(tree.entryCount(), 4u) << "named entries after the marker stay";

    CfbWriter w2;
    w2.addChild("", "", true);
    w2.addStorage("MsoDataStore");
    auto image2 = w2.build();
    // Root, "", MsoDataStore, then one unused entry with an empty name.
    DirectoryTree tree2 = load(image2);
    EXPECT_EQ(tree2.entryCount(), 3u);
    EXPECT_EQ(tree2.entry(1)->name, icu::UnicodeString()) << "empty names before the marker stay";

    CfbWriter w3;
    w3.addStorage("Other");
    DirectoryTree tree3 = load(w3.build());
    EXPECT_EQ(tree3.entryCount(), 4u) << "without the marker unused entries stay";
}

// A directory longer than its bytes (a cut document) ends in empty entries,
// computed rather than stored: they count, links reach them, and after
// "MsoDataStore" they are left out like every empty name.
TEST(DirectoryTreeTest, LoadLongerThanItsBytesEndsInEmptyEntries) {
    CfbWriter w;
    w.addStream("a", Bytes(10, 1));
    w.addStream("bb", Bytes(10, 1));
    CfbImage image = w.build();
    image.setEntryField("bb", 72, 1000003);  // right sibling: an entry past the bytes
    Bytes bytes = directoryBytes(image);
    bytes.resize(bytes.size() - 60);  // the last entry cut short
    DirectoryTree tree;
    EXPECT_TRUE(tree.loadEntries(bytes, 128 * 1000004));
    EXPECT_EQ(tree.entryCount(), 1000004u);
    EXPECT_EQ(tree.decodedEntryCount(), 4u);
    EXPECT_EQ(tree.entry(1000003)->name, icu::UnicodeString());
    EXPECT_FALSE(tree.entry(1000003)->valid);
    EXPECT_EQ(tree.entry(1000004), nullptr);
    // An empty entry's links are 0, not "none": its left link leads to the root.
    EXPECT_EQ(childNames(tree, 0), (std::vector<std::string>{"a", "bb", "Root Entry", ""}));
    EXPECT_EQ(tree.children(0).back(), 1000003u);
    EXPECT_EQ(tree.indexOf(*tree.entry(1000003)), 3) << "the cut entry reads as empty too";

    CfbWriter marked;
    marked.addStorage("MsoDataStore");
    Bytes markedBytes = directoryBytes(marked.build());
    markedBytes.resize(2 * 128);
    EXPECT_TRUE(tree.loadEntries(markedBytes, 128 * 1000));
    EXPECT_EQ(tree.entryCount(), 2u);
}

TEST(DirectoryTreeTest, NameOrderIsLengthThenCaseSensitiveText) {
    EXPECT_EQ(DirectoryTree::compareDirectoryName(u"b", u"aa"), -1);
    EXPECT_EQ(DirectoryTree::compareDirectoryName(u"aa", u"b"), 1);
    EXPECT_EQ(DirectoryTree::compareDirectoryName(u"A", u"a"), -1);
    EXPECT_EQ(DirectoryTree::compareDirectoryName(u"abc", u"abc"), 0);
    EXPECT_EQ(DirectoryTree::compareDirectoryName(u"", u"a"), -1);
}

TEST(DirectoryTreeTest, ChildrenComeInNameOrderWhateverTheAddOrder) {
    CfbWriter w;
    for (const char* n : {"zz", "b", "__substg1.0_0037001F", "a", "Ab", "aB", "c"}) w.addStream(n, Bytes(1, 1));
    DirectoryTree tree = load(w.build());
    EXPECT_EQ(childNames(tree, 0),
              (std::vector<std::string>{"a", "b", "c", "Ab", "aB", "zz", "__substg1.0_0037001F"}));
    EXPECT_TRUE(tree.children(1).empty()) << "a stream has no children";
    EXPECT_TRUE(tree.children(99).empty());
}

TEST(DirectoryTreeTest, PathLookup) {
    CfbWriter w;
    w.addStream("top", Bytes(1, 1));
    w.addStream("__attach_version1.0_#00000000/__substg1.0_3701000D/inner", Bytes(1, 2));
    auto image = w.build();
    DirectoryTree tree = load(image);
    EXPECT_EQ(tree.findEntry(u"/"), tree.entry(0));
    EXPECT_EQ(tree.findEntry(u"//"), tree.entry(0));
    EXPECT_EQ(tree.findEntry(u"/////"), tree.entry(0));
    EXPECT_EQ(tree.findEntry(u""), nullptr);
    const DirectoryEntry* inner = tree.entry(image.entryIndex.at("__attach_version1.0_#00000000/__substg1.0_3701000D/inner"));
    EXPECT_EQ(tree.findEntry(u"/__attach_version1.0_#00000000/__substg1.0_3701000D/inner"), inner);
    EXPECT_EQ(tree.findEntry(u"__attach_version1.0_#00000000//__substg1.0_3701000D/inner/"), inner);
    EXPECT_EQ(tree.findEntry(u"top"), tree.findEntry(u"/top"));
    EXPECT_EQ(tree.findEntry(u"TOP"), nullptr) << "names are case-sensitive";
    EXPECT_EQ(tree.findEntry(u"/top/x"), nullptr) << "a stream has no children";
    EXPECT_EQ(tree.findEntry(u"/missing"), nullptr);
    EXPECT_EQ(tree.findIndex(u"top"), image.entryIndex.at("top"));
}

TEST(DirectoryTreeTest, ParentAndIndexOf) {
    CfbWriter w;
    w.addStream("s/t", Bytes(1, 1));
    auto image = w.build();
    DirectoryTree tree = load(image);
    const auto t = image.entryIndex.at("s/t");
    EXPECT_EQ(tree.parent(t), static_cast<std::int64_t>(image.entryIndex.at("s")));
    EXPECT_EQ(tree.parent(0), -1);
    EXPECT_EQ(tree.indexOf(*tree.entry(t)), static_cast<std::int64_t>(t));
    DirectoryEntry other = *tree.entry(t);
    other.size += 1;
    EXPECT_EQ(tree.indexOf(other), -1);
}

TEST(DirectoryTreeTest, SiblingLinkBackToAncestorIsACycle) {
    CfbWriter w;
    for (const char* n : {"a", "b", "c"}) w.addStream(n, Bytes(1, 1));
    auto image = w.build();
    // Balanced: b at the top, a to its left, c to its right; c now links back to b.
    image.setEntryField("c", 72, image.entryIndex.at("b"));
    DirectoryTree tree = load(image);
    LogCapture log;
    EXPECT_EQ(tree.findEntry(u"d"), nullptr);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"OLE: Cycle detected in findSiblingInTree at node " +
                                                     std::to_string(image.entryIndex.at("b"))});
    log.clear();
    EXPECT_EQ(childNames(tree, 0), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_TRUE(log.lines().empty()) << "the in-order walk skips visited nodes silently";
    EXPECT_NE(tree.findEntry(u"c"), nullptr) << "a lookup ending before the cycle succeeds";
}

TEST(DirectoryTreeTest, ChildLinkIntoItself) {
    CfbWriter w;
    w.addStorage("s");
    auto image = w.build();
    image.setEntryField("s", 76, image.entryIndex.at("s"));
    DirectoryTree tree = load(image);
    EXPECT_EQ(childNames(tree, image.entryIndex.at("s")), std::vector<std::string>{"s"});
    EXPECT_EQ(tree.findEntry(u"s/s/s/s"), tree.findEntry(u"s"));
}

TEST(DirectoryTreeTest, ZeroLinkEndsTheSearchButNotTheWalk) {
    CfbWriter w;
    for (const char* n : {"a", "b"}) w.addStream(n, Bytes(1, 1));
    auto image = w.build();
    // b is at the top with a on its left; a right link of 0 is "none" for the search.
    const auto b = image.entryIndex.at("b");
    image.setEntryField("b", 72, 0);
    DirectoryTree tree = load(image);
    std::uint64_t closest = 0xFFFFFFFF;
    EXPECT_EQ(tree.findChildWithIndex(0, u"c", closest), 0u);
    EXPECT_EQ(closest, b) << "the search ended at the first node";
    closest = 0xFFFFFFFF;
    EXPECT_EQ(tree.findChildWithIndex(0, u"0", closest), 0u);
    EXPECT_EQ(closest, 0xFFFFFFFFu) << "a search ending deeper leaves closest alone";
    // The in-order walk follows link 0 to the root, which is a node like any other.
    EXPECT_EQ(childNames(tree, 0), (std::vector<std::string>{"a", "b", "Root Entry"}));
}

TEST(DirectoryTreeTest, DepthBeyond1000StopsWalkAndSearch) {
    CfbWriter::Options o;
    o.treeShape = CfbWriter::TreeShape::RightChain;
    CfbWriter w(o);
    char name[8];
    for (int i = 0; i < 1003; ++i) {
        std::snprintf(name, sizeof name, "n%04d", i);
        w.addStream(name, {});
    }
    auto image = w.build();
    DirectoryTree tree = load(image);
    LogCapture log;
    EXPECT_EQ(tree.children(0).size(), 1001u);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"OLE: Max tree depth exceeded at index " +
                                                     std::to_string(image.entryIndex.at("n1001"))});
    log.clear();
    EXPECT_NE(tree.findEntry(u"n1000"), nullptr);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(tree.findEntry(u"n1001"), nullptr);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"OLE: Max tree depth exceeded in findSiblingInTree at index " +
                                                     std::to_string(image.entryIndex.at("n1001"))});
}

// resolvedChildren skips the search on trees where every child finds itself;
// on any damage it must answer what the search of each child's name answers.
TEST(DirectoryTreeTest, ResolvedChildrenAreWhatEachChildsLookupFinds) {
    CfbWriter w;
    for (const char* n : {"a", "b", "c", "d", "e", "f", "s/g", "s/h", "s/i", "s/t/j", "s/t/k"})
        w.addStream(n, Bytes(1, 1));
    const CfbImage healthy = w.build();
    std::mt19937 random(7);
    int damaged = 0;
    for (int round = 0; round < 3000; ++round) {
        CfbImage image = healthy;
        const std::uint32_t count = static_cast<std::uint32_t>(image.entryIndex.size());
        // A few links pointed anywhere (0, none, an entry, past the end), a name
        // made to repeat, break the order, hold "/" or be empty, an entry made empty.
        for (int change = round % 4; change > 0; --change) {
            const std::uint32_t target = random() % count;
            const std::uint32_t link = std::array<std::uint32_t, 4>{0, 0xFFFFFFFF, static_cast<std::uint32_t>(random() % count),
                                                                    count + 5}[random() % 4];
            switch (random() % 6) {
            case 0: case 1: case 2: image.setU32(image.entryOffset(target, 68 + 4 * (random() % 3)), link); break;
            case 3: image.setU16(image.entryOffset(target, 0), static_cast<std::uint16_t>("abcdef/"[random() % 7])); break;
            case 4: image.setU16(image.entryOffset(target, 64), 0); break;
            default: image.setU8(image.entryOffset(target, 66), 0); break;
            }
        }
        const DirectoryTree tree = load(image);
        bool anyDamage = false;
        for (std::uint32_t storage = 0; storage < count; ++storage) {
            const auto resolved = tree.resolvedChildren(storage, 1000);
            ASSERT_TRUE(resolved);
            const std::vector<std::uint64_t> children = tree.children(storage);
            ASSERT_EQ(resolved->size(), children.size());
            for (std::size_t i = 0; i < children.size(); ++i) {
                const ChildLookup expected = tree.resolve(storage, tree.entry(children[i])->name);
                const auto& [index, lookup] = (*resolved)[i];
                EXPECT_EQ(index, children[i]);
                EXPECT_EQ(lookup.ending, expected.ending) << "round " << round << ", storage " << storage;
                EXPECT_EQ(lookup.index, expected.index) << "round " << round << ", storage " << storage;
                EXPECT_EQ(lookup.closest, expected.closest) << "round " << round << ", storage " << storage;
                anyDamage = anyDamage || !expected.found() || expected.index != children[i];
            }
        }
        damaged += anyDamage ? 1 : 0;
    }
    EXPECT_GT(damaged, 300) << "the rounds must reach trees where children do not find themselves";
}

}  // namespace
}  // namespace tessivo
