// Format detection from the first bytes only.
#include <gtest/gtest.h>

#include "message_formats.h"

namespace tessivo::cli {
namespace {

std::string_view formatOf(Bytes bytes) { return detectFormat(bytes).name; }

TEST(MessageFormatsTest, SignaturesDecideCheapestFirst) {
    const Bytes compound{0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    const Bytes tnef{0x78, 0x9F, 0x3E, 0x22, 0x01, 0x00};
    EXPECT_EQ(formatOf(compound), "msg");
    EXPECT_EQ(formatOf(tnef), "tnef");
    EXPECT_EQ(formatOf(Bytes(compound.begin(), compound.end() - 1)), "mime");
    EXPECT_EQ(formatOf(Bytes(tnef.begin(), tnef.begin() + 3)), "mime");
    EXPECT_EQ(formatOf({'F', 'r', 'o', 'm', ':'}), "mime");
    EXPECT_EQ(formatOf({}), "mime");

    Bytes shifted{0};
    shifted.insert(shifted.end(), tnef.begin(), tnef.end());
    EXPECT_EQ(formatOf(shifted), "mime");
}

TEST(MessageFormatsTest, TableEndsWithTheFormatThatTakesAnything) {
    const auto formats = messageFormats();
    ASSERT_FALSE(formats.empty());
    EXPECT_EQ(formats.back().name, "mime");
    EXPECT_TRUE(formats.back().hasSignature({}));
}

TEST(MessageFormatsTest, FormatsWithoutAReaderAreRefusedByName) {
    for (const auto& format : messageFormats()) {
        if (format.reader) continue;
        EXPECT_EQ(notReadReason(format), "not a message this build reads (" + std::string(format.name) + ")");
    }
}

}  // namespace
}  // namespace tessivo::cli
