#include "hosts/run_command.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include <gtest/gtest.h>

namespace tessivo::testing {

CommandResult runCommand(const std::string& commandLine) {
    CommandResult result;
    FILE* pipe = ::popen(commandLine.c_str(), "r");
    if (!pipe) return result;
    char buf[65536];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, pipe)) > 0) result.out.append(buf, n);
    const int status = ::pclose(pipe);
    if (status != -1 && WIFEXITED(status)) result.status = WEXITSTATUS(status);
    return result;
}

std::string shellQuote(const std::string& text) {
    std::string out = "'";
    for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

std::filesystem::path freshScratchDir(const std::string& name) {
    const auto dir = std::filesystem::path(::testing::TempDir()) / (name + "-" + std::to_string(::getpid()));
    std::error_code ec;
    std::filesystem::remove_all(dir, ec);
    std::filesystem::create_directories(dir, ec);
    return dir;
}

}  // namespace tessivo::testing
