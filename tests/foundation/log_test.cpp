#include <gtest/gtest.h>

#include <string>

#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

TEST(LogTest, CaptureReceivesFormattedLinesAndRestoresPrevious) {
    std::vector<std::string> outer;
    setLogSink([&](std::string_view l) { outer.emplace_back(l); });
    {
        LogCapture capture;
        log("OLE: Circular reference detected at sector %llu", 42ULL);
        log("Warning: Failed to initialize stream: %s", "/a/b");
        EXPECT_EQ(capture.lines(), (std::vector<std::string>{"OLE: Circular reference detected at sector 42",
                                                               "Warning: Failed to initialize stream: /a/b"}));
    }
    log("after");
    setLogSink({});
    EXPECT_EQ(outer, std::vector<std::string>{"after"});
}

TEST(LogTest, LongLinesAreNotCut) {
    LogCapture capture;
    const std::string long_text(3000, 'x');
    log("Error: %s!", long_text.c_str());
    ASSERT_EQ(capture.lines().size(), 1u);
    EXPECT_EQ(capture.lines()[0], "Error: " + long_text + "!");
}

}  // namespace
}  // namespace tessivo
