#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

#include "tessivo/foundation/file_bytes.h"

namespace tessivo {
namespace {

namespace fs = std::filesystem;

class FileBytesTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() / ("tessivo-file-bytes-" + std::to_string(::getpid()));
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string write(const std::string& name, const std::string& text) {
        const fs::path path = folder_ / name;
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }

    fs::path folder_;
};

Bytes bytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }

// One buffer serves file after file: each read leaves exactly that file's
// bytes, whatever the buffer held before.
TEST_F(FileBytesTest, AReusedBufferHoldsExactlyEachFile) {
    const std::string longer(100000, 'x');
    Bytes buffer;
    std::string reason;
    for (const std::string& text : {longer, std::string("short"), std::string(), longer + "y", std::string("ab")}) {
        ASSERT_TRUE(readWholeFile(write("f", text), buffer, reason));
        EXPECT_EQ(buffer, bytesOf(text));
    }
}

TEST_F(FileBytesTest, AnUnsizedFileIsReadToItsEnd) {
    const fs::path fifo = folder_ / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string text(200000, 'p');
    Bytes buffer(300000, 'z');
    std::string reason;
    bool ok = false;
    {
        std::thread writer([&] { std::ofstream(fifo, std::ios::binary) << text; });
        ok = readWholeFile(fifo.string(), buffer, reason);
        writer.join();
    }
    ASSERT_TRUE(ok) << reason;
    EXPECT_EQ(buffer, bytesOf(text));
}

TEST_F(FileBytesTest, FailuresGiveAReasonAndNoBytes) {
    Bytes buffer = bytesOf("left over");
    std::string reason;
    EXPECT_FALSE(readWholeFile((folder_ / "missing").string(), buffer, reason));
    EXPECT_EQ(reason, "No such file or directory");
    EXPECT_TRUE(buffer.empty());
    buffer = bytesOf("left over");
    EXPECT_FALSE(readWholeFile(folder_.string(), buffer, reason));
    EXPECT_EQ(reason, "is a directory");
    EXPECT_TRUE(buffer.empty());
}

}  // namespace
}  // namespace tessivo
