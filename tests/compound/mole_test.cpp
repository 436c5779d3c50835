#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "support/cfb_writer.h"
#include "tessivo/compound/limits.h"
#include "tessivo/compound/listing_plan.h"
#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

using testing::CfbImage;
using testing::CfbWriter;
using testing::pattern;

// A Mole over its own copy of the bytes, so that the image may be a temporary.
Mole open(const CfbImage& image) {
    int code = -1;
    auto mole = Mole::initWithOwnedData(image.bytes, &code);
    EXPECT_EQ(code, 0);
    return std::move(*mole);
}

std::vector<std::string> keysOf(const Dictionary& d) {
    std::vector<std::string> out;
    for (const auto& k : d.keys()) out.push_back(toUtf8(k));
    return out;
}

TEST(MoleTest, OpenReportsResultCodes) {
    CfbWriter w;
    w.addStream("a", Bytes(1, 1));
    const Bytes good = w.build().bytes;
    Bytes wrong = good, invalid = good;
    wrong[7] = 0;
    invalid[57] = 0x08;  // threshold 2048
    const auto opened = [](ByteView bytes) {
        int code = -1;
        const bool made = Mole::initWithData(bytes, &code).has_value();
        return std::pair{made, code};
    };
    LogCapture log;
    EXPECT_EQ(opened(good), std::pair(true, 0));
    EXPECT_EQ(opened(ByteView(good).first(511)), std::pair(false, 1));
    EXPECT_EQ(opened(wrong), std::pair(false, 2));
    EXPECT_EQ(opened(invalid), std::pair(false, 3));
    EXPECT_EQ(opened({}), std::pair(false, 4));
    EXPECT_TRUE(log.contains("Error: Cannot initialize CompoundDocument with nil or empty data"));
}

TEST(MoleTest, StreamsComeBackAsWholeSectors) {
    for (unsigned shift : {9u, 12u}) {
        CfbWriter::Options o;
        o.sectorShift = shift;
        CfbWriter w(o);
        const Bytes big = pattern(5000), small = pattern(100, 9);
        w.addStream("big", big);
        w.addStream("__substg1.0_0037001F", small);
        w.addStream("empty", {});
        Mole mole = open(w.build());
        auto b = mole.getStream(u"big");
        ASSERT_TRUE(b);
        EXPECT_EQ(b->size(), shift == 9 ? 5120u : 8192u);
        EXPECT_TRUE(std::equal(big.begin(), big.end(), b->begin()));
        EXPECT_TRUE(std::all_of(b->begin() + 5000, b->end(), [](auto c) { return c == 0; }));
        auto s = mole.getStream(u"/__substg1.0_0037001F");
        ASSERT_TRUE(s);
        EXPECT_EQ(s->size(), 128u);
        EXPECT_TRUE(std::equal(small.begin(), small.end(), s->begin()));
        auto e = mole.getStream(u"empty");
        ASSERT_TRUE(e) << "an empty stream is present but empty";
        EXPECT_TRUE(e->empty());
    }
}

TEST(MoleTest, ThresholdSelectsSmallOrBigSectors) {
    CfbWriter w;
    w.addStream("below", pattern(4095));
    w.addStream("at", pattern(4096, 3));
    CfbImage image = w.build();
    Mole mole = open(image);
    const CompoundDocument& doc = mole.compoundDocument();
    Stream below(doc, u"below"), at(doc, u"at");
    EXPECT_TRUE(below.handler()->usesSmallSectors());
    EXPECT_EQ(below.handler()->sectorSize(), 64u);
    EXPECT_FALSE(at.handler()->usesSmallSectors());
    EXPECT_EQ(mole.getStream(u"below")->size(), 4096u);
    EXPECT_EQ(*mole.getStream(u"at"), pattern(4096, 3));

    // The declared size alone decides: a big stream declared 4095 bytes is read
    // from small sectors at its first sector number.
    image.setEntryField("at", 120, 4095);
    Mole patched = open(image);
    Stream s(patched.compoundDocument(), u"at");
    EXPECT_TRUE(s.handler()->usesSmallSectors());
    EXPECT_EQ(s.size(), 4095u);
}

TEST(MoleTest, TruncatedLastSectorReadsZeros) {
    CfbWriter w;
    w.addStream("tail", pattern(2000 + 4096));
    CfbImage image = w.build();
    image.bytes.resize(image.bytes.size() - 300);
    Mole mole = open(image);
    auto s = mole.getStream(u"tail");
    ASSERT_TRUE(s);
    const Bytes full = pattern(6096);
    ASSERT_EQ(s->size(), 6144u);
    EXPECT_TRUE(std::equal(full.begin(), full.begin() + 6144 - 300, s->begin()));
    EXPECT_TRUE(std::all_of(s->end() - 300, s->end(), [](auto c) { return c == 0; }));
}

TEST(MoleTest, LongStreamIsCutAfterMaximumPieces) {
    struct Case {
        std::size_t size;
        std::size_t expected;
        bool message;
    };
    for (auto c : {Case{20 * 1024 * 1024, 16000016, true}, Case{16000016, 16000016, true},
                   Case{15999488, 15999488, false}}) {
        CfbWriter w;
        w.addStream("__substg1.0_10090102", pattern(c.size));
        Mole mole = open(w.build());
        LogCapture log;
        auto s = mole.getStream(u"__substg1.0_10090102");
        ASSERT_TRUE(s);
        EXPECT_EQ(s->size(), c.expected);
        const Bytes written = pattern(c.size);
        EXPECT_TRUE(std::equal(s->begin(), s->end(), written.begin()));
        EXPECT_EQ(log.lines().size(), c.message ? 1u : 0u) << c.size;
        if (c.message) {
            EXPECT_EQ(log.lines()[0], "Error: Maximum iterations exceeded reading stream: __substg1.0_10090102");
        }
    }
}

TEST(MoleTest, SmallSectorsComeInChainOrderAndReadZerosPastTheData) {
    CfbWriter w;
    const Bytes data = pattern(1000, 3);
    w.addStream("s", data);
    CfbImage image = w.build();
    const auto piece = [&](std::size_t k) { return Bytes(data.begin() + 64 * k, data.begin() + 64 * (k + 1)); };

    // A chain that jumps back and forth: runs of neighbours and single sectors.
    CfbImage shuffled = image;
    const auto chain = shuffled.streamSectors("s");
    shuffled.setMiniFatEntry(chain[0], chain[3]);
    shuffled.setMiniFatEntry(chain[4], chain[1]);
    shuffled.setMiniFatEntry(chain[1], testing::kEndOfChain);
    Bytes expected;
    for (std::size_t k : {0, 3, 4, 1}) {
        const Bytes p = piece(k);
        expected.insert(expected.end(), p.begin(), p.end());
    }
    EXPECT_EQ(*open(shuffled).getStream(u"s"), expected);

    // The small area is the last thing in the file: cut it 100 bytes into its second sector.
    ASSERT_EQ(image.miniStreamSectors.size(), 2u);
    ASSERT_EQ(image.bytes.size(), image.sectorOffset(image.miniStreamSectors[1]) + 512);
    image.bytes.resize(image.bytes.size() - 412);
    auto cut = open(image).getStream(u"s");
    ASSERT_TRUE(cut);
    ASSERT_EQ(cut->size(), 1024u);
    EXPECT_TRUE(std::equal(data.begin(), data.begin() + 612, cut->begin()));
    EXPECT_TRUE(std::all_of(cut->begin() + 612, cut->end(), [](auto c) { return c == 0; }));
}

TEST(MoleTest, MissingStreamsAndStoragesYieldNothing) {
    CfbWriter w;
    w.addStream("s/t", Bytes(1, 1));
    Mole mole = open(w.build());
    LogCapture log;
    EXPECT_FALSE(mole.getStream(u"s"));
    EXPECT_FALSE(mole.getStream(u"/"));
    EXPECT_FALSE(mole.getStream(u"S/t"));
    EXPECT_FALSE(mole.getStream(u""));
    EXPECT_TRUE(mole.getStream(u"s//t/"));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"Warning: Failed to initialize stream: s",
                                                      "Warning: Failed to initialize stream: /",
                                                      "Warning: Failed to initialize stream: S/t",
                                                      "Error: Invalid stream name"}));
}

TEST(MoleTest, SmallSectorsOutsideTheSmallAreaLogOncePerPiece) {
    CfbWriter w;
    w.addStream("first", pattern(512));
    w.addStream("second", pattern(100, 5));
    CfbImage image = w.build();
    ASSERT_EQ(image.miniStreamSectors.size(), 2u);
    // Cut the small area's chain after its first big sector: "second" lies beyond it.
    image.setFatEntry(image.miniStreamSectors[0], testing::kEndOfChain);
    Mole mole = open(image);
    LogCapture log;
    auto s = mole.getStream(u"second");
    ASSERT_TRUE(s);
    EXPECT_EQ(*s, Bytes(128, 0));
    // Two small sectors: each is logged when the handler fills its cache, then
    // once for each of the four 16-byte pieces that cover it.
    const std::string line = "Error: Sector index 1 out of bounds (max: 1)";
    EXPECT_EQ(log.count(line), 10u);
    EXPECT_EQ(log.lines().size(), 10u);
}

TEST(MoleTest, DirectoryListsFullPathsAndDeclaredSizes) {
    CfbWriter w;
    w.addStream("__substg1.0_1000001F", pattern(10));
    w.addStream("__recip_version1.0_#00000000/__substg1.0_3001001F", pattern(8));
    w.addStorage("__nameid_version1.0");
    w.addStream("__properties_version1.0", pattern(5000));
    Mole mole = open(w.build());
    const Array listing = mole.getDirectory();
    std::vector<std::pair<std::string, long long>> got;
    for (const auto& v : listing) {
        const Dictionary& d = *v.dictionary();
        got.emplace_back(toUtf8(*d.get(u"entryname")->string()),
                         d.contains(u"entrysize") ? d.get(u"entrysize")->toInt64() : -1);
    }
    EXPECT_EQ(got, (std::vector<std::pair<std::string, long long>>{
                       {"/__nameid_version1.0", -1},
                       {"/__substg1.0_1000001F", 10},
                       {"/__properties_version1.0", 5000},
                       {"/__recip_version1.0_#00000000", -1},
                       {"/__recip_version1.0_#00000000/__substg1.0_3001001F", 8},
                   }));
    EXPECT_EQ(mole.getDirectory().size(), 10u) << "the listing accumulates";
}

TEST(MoleTest, NestedListShape) {
    CfbWriter w;
    w.addStream("a", pattern(3));
    w.addStream("st/b", pattern(4));
    w.addStorage("st/empty");
    Mole mole = open(w.build());
    const Array list = mole.getOLEArray();
    ASSERT_EQ(list.size(), 2u);
    const Dictionary& a = *list[0].dictionary();
    EXPECT_EQ(*a.get(u"entryname"), Value(u"a"));
    EXPECT_EQ(a.get(u"objectdata")->bytes()->size(), 64u);
    EXPECT_FALSE(a.contains(u"childentry"));
    const Dictionary& st = *list[1].dictionary();
    EXPECT_EQ(*st.get(u"entryname"), Value(u"st"));
    const Array& kids = *st.get(u"childentry")->array();
    ASSERT_EQ(kids.size(), 2u);
    EXPECT_EQ(*kids[0].dictionary()->get(u"entryname"), Value(u"b"));
    EXPECT_TRUE(kids[1].dictionary()->get(u"childentry")->array()->empty());
}

TEST(MoleTest, DictionaryLeavesOutEmptyStorages) {
    CfbWriter w;
    w.addStream("__substg1.0_0037001F", pattern(20));
    w.addStorage("__attach_version1.0_#00000000");
    w.addStream("__recip_version1.0_#00000000/__substg1.0_3001001F", pattern(8));
    w.addStorage("__recip_version1.0_#00000000/deeper/empty");
    Mole mole = open(w.build());
    const Dictionary d = mole.getOLEDictionary();
    EXPECT_EQ(keysOf(d), (std::vector<std::string>{"__substg1.0_0037001F", "__recip_version1.0_#00000000"}));
    EXPECT_EQ(d.get(u"__substg1.0_0037001F")->bytes()->size(), 64u);
    const Dictionary& recip = *d.get(u"__recip_version1.0_#00000000")->dictionary();
    EXPECT_EQ(keysOf(recip), std::vector<std::string>{"__substg1.0_3001001F"});
}

TEST(MoleTest, FilteredDictionaryKeepsListedNamesAndAttachments) {
    CfbWriter w;
    w.addStream("__substg1.0_1000001F", pattern(20));
    w.addStream("__substg1.0_0037001F", pattern(20));
    w.addStream("__attach_version1.0_#00000000/__substg1.0_37010102", pattern(30));
    w.addStorage("__attach_version1.0_#00000000/__substg1.0_3701000D");
    w.addStorage("__attach_version");
    w.addStream("__recip_version1.0_#00000000/__substg1.0_3001001F", pattern(8));
    Mole mole = open(w.build());

    const Dictionary d = mole.getOLEDictionaryWithContents(std::vector<icu::UnicodeString>{u"__substg1.0_1000001F"});
    EXPECT_EQ(keysOf(d), (std::vector<std::string>{"__substg1.0_1000001F", "__attach_version1.0_#00000000"}));
    const Dictionary& attach = *d.get(u"__attach_version1.0_#00000000")->dictionary();
    EXPECT_EQ(keysOf(attach), (std::vector<std::string>{"__substg1.0_3701000D", "__substg1.0_37010102"}));
    EXPECT_TRUE(attach.get(u"__substg1.0_3701000D")->dictionary()->empty()) << "empty storages are kept here";

    const Dictionary all = mole.getOLEDictionaryWithContents(std::nullopt);
    EXPECT_EQ(all.size(), 5u);
    EXPECT_TRUE(all.get(u"__attach_version")->dictionary()->empty());
    EXPECT_TRUE(mole.getOLEDictionaryWithContents(std::vector<icu::UnicodeString>{}).size() == 1u)
        << "an empty list still takes attachments";
}

TEST(MoleTest, EmptyNamedStoragesStopAtFiveSlashes) {
    CfbWriter w;
    const std::size_t empty = w.addChildOf(0, "", true);
    w.addChildOf(empty, "", true);
    w.addChildOf(0, "a", false, pattern(4));
    Mole mole = open(w.build());
    const Dictionary d = mole.getOLEDictionary();
    // The "" child's path is its parent's, so each level lists the root again
    // until the path is "/////".
    const Dictionary* level = &d;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(keysOf(*level), (std::vector<std::string>{"", "a"})) << i;
        level = level->get(u"")->dictionary();
    }
    EXPECT_EQ(keysOf(*level), std::vector<std::string>{"a"});

    const Array listing = mole.getDirectory();
    EXPECT_EQ(*listing[0].dictionary()->get(u"entryname"), Value(u"/"));
    EXPECT_EQ(*listing[1].dictionary()->get(u"entryname"), Value(u"//"));
    EXPECT_LT(listing.size(), 1000u) << "the flat listing stops descending too";
}

TEST(MoleTest, NestingBeyond100LevelsIsCut) {
    CfbWriter w;
    std::string path;
    for (int i = 0; i < 105; ++i) {
        path += (path.empty() ? "" : "/") + std::string("s");
        w.addStream(path + "/x", pattern(2));
    }
    Mole mole = open(w.build());
    LogCapture log;
    const Dictionary d = mole.getOLEDictionary();
    EXPECT_EQ(log.lines(), std::vector<std::string>{"Error: Maximum recursion depth exceeded in OLE structure"});
    const Dictionary* level = &d;
    for (int i = 0; i < 100; ++i) level = level->get(u"s")->dictionary();
    EXPECT_EQ(keysOf(*level), std::vector<std::string>{"x"});
}

// The listings look each child up once, but log what the reader they stand
// for logs: a lookup that ends in a damaged sibling tree once for each
// question asked of the path (is it a stream, is it a folder), and a damaged
// chain once for each opening of the stream (once in the flat listing, twice
// where the stream is opened to be tested and then to be read).
TEST(MoleTest, ListingsLogWhatEachQuestionOfAPathWouldLog) {
    CfbWriter w;
    w.addStream("a", pattern(10));
    w.addStream("b", pattern(10));
    w.addStream("c", pattern(10));
    CfbImage image = w.build();
    const auto index = [&](const char* path) { return image.entryIndex.at(path); };
    // Root's tree: c, whose left is a, whose left is b and whose right is c
    // again. Listed in order b, a, c; looking "b" up goes c, a, c: a cycle.
    image.setEntryField("", 76, index("c"));
    image.setEntryField("c", 68, index("a"));
    image.setEntryField("c", 72, compound::kNoStream);
    image.setEntryField("a", 68, index("b"));
    image.setEntryField("a", 72, index("c"));
    image.setEntryField("b", 68, compound::kNoStream);
    image.setEntryField("b", 72, compound::kNoStream);
    const std::uint32_t cSector = image.streamSectors("c")[0];
    image.setMiniFatEntry(cSector, cSector);
    Mole mole = open(image);
    const std::string cycle = "OLE: Cycle detected in findSiblingInTree at node " + std::to_string(index("c"));
    const std::string circular = "OLE: Circular reference detected at sector " + std::to_string(cSector);

    LogCapture log;
    const Array listing = mole.getDirectory();
    ASSERT_EQ(listing.size(), 3u);
    EXPECT_EQ(*listing[0].dictionary()->get(u"entryname"), Value(u"/b"));
    EXPECT_FALSE(listing[0].dictionary()->contains(u"entrysize")) << "a path that does not resolve";
    EXPECT_EQ(log.lines(), (std::vector<std::string>{cycle, cycle, circular}));
    for (int kind = 0; kind < 3; ++kind) {
        log.clear();
        if (kind == 0) {
            EXPECT_EQ(keysOf(mole.getOLEDictionary()), (std::vector<std::string>{"a", "c"}));
        }
        if (kind == 1) {
            EXPECT_EQ(mole.getOLEArray().size(), 3u);
        }
        if (kind == 2) mole.getOLEDictionaryWithContents(std::vector<icu::UnicodeString>{u"b", u"c"});
        EXPECT_EQ(log.lines(), (std::vector<std::string>{cycle, cycle, circular, circular})) << kind;
    }
}

// A storage whose name is empty names its parent again, so every listing
// meets the same storages level after level. The budgets end that in time and
// memory proportional to the document, and what they cut is the repetition:
// "" sorts first, yet the storage's own streams are all listed.
TEST(MoleTest, ListingsOfARepeatingTreeCutTheRepetitionFirst) {
    CfbWriter w;
    const std::size_t outer = w.addChildOf(0, "x", true);
    w.addChildOf(outer, "", true);
    w.addChildOf(outer, "big", false, pattern(1 << 20));
    w.addChildOf(outer, "small", false, pattern(100));
    const CfbImage image = w.build();
    Mole mole = open(image);
    const ListingPlan::Budget budget = ListingPlan::budgetFor(*mole.compoundDocument().io());

    const Dictionary all = mole.getOLEDictionary();
    const Dictionary& x = *all.get(u"x")->dictionary();
    EXPECT_EQ(keysOf(x), (std::vector<std::string>{"", "big", "small"}));
    std::uint64_t streamBytes = 0;
    int levels = 0;
    for (const Dictionary* level = &x; level; level = level->contains(u"") ? level->get(u"")->dictionary() : nullptr) {
        ++levels;
        if (const Value* big = level->get(u"big")) streamBytes += big->bytes()->size();
        EXPECT_TRUE(level->contains(u"small")) << "level " << levels;
    }
    EXPECT_LE(streamBytes, budget.bytes);
    EXPECT_GT(levels, 2) << "the repetition is listed while the budget lasts";

    const Array listing = mole.getDirectory();
    EXPECT_LE(listing.size(), budget.visits);
    std::vector<icu::UnicodeString> paths;
    for (const Value& record : listing) paths.push_back(*record.dictionary()->get(u"entryname")->string());
    EXPECT_EQ(paths[0], u"/x");
    EXPECT_EQ(paths[1], u"/x/") << "tree order: the repetition below \"\" comes before the streams";
    EXPECT_NE(std::find(paths.begin(), paths.end(), u"/x/big"), paths.end());
    EXPECT_NE(std::find(paths.begin(), paths.end(), u"/x/small"), paths.end());
}

TEST(MoleTest, BorrowedBytesAreNotCopied) {
    CfbWriter w;
    w.addStream("a", pattern(5000));
    CfbImage image = w.build();
    auto mole = Mole::initWithData(image.bytes);
    ASSERT_TRUE(mole);
    EXPECT_EQ(mole->compoundDocument().io()->data().data(), image.bytes.data());
    image.bytes[image.sectorOffset(image.streamSectors("a")[0])] ^= 0xFF;
    EXPECT_EQ((*mole->getStream(u"a"))[0], pattern(1)[0] ^ 0xFF);
}

}  // namespace
}  // namespace tessivo
