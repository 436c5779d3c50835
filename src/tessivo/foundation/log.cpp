#include "tessivo/foundation/log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace tessivo {
namespace {

std::mutex& sinkMutex() {
    static std::mutex m;
    return m;
}

LogSink& currentSink() {
    static LogSink sink;
    return sink;
}

}  // namespace

void log(const char* format, ...) {
    char small[512];
    std::va_list args;
    va_start(args, format);
    std::va_list copy;
    va_copy(copy, args);
    const int n = std::vsnprintf(small, sizeof small, format, args);
    va_end(args);
    std::string line;
    if (n < 0) {
        line = format;
    } else if (static_cast<std::size_t>(n) < sizeof small) {
        line.assign(small, static_cast<std::size_t>(n));
    } else {
        line.resize(static_cast<std::size_t>(n) + 1);
        std::vsnprintf(line.data(), line.size(), format, copy);
        line.resize(static_cast<std::size_t>(n));
    }
    va_end(copy);

    std::lock_guard lock(sinkMutex());
    if (auto& sink = currentSink()) {
        sink(line);
    } else {
        line += '\n';
        std::fwrite(line.data(), 1, line.size(), stderr);
    }
}

LogSink setLogSink(LogSink sink) {
    std::lock_guard lock(sinkMutex());
    return std::exchange(currentSink(), std::move(sink));
}

void silenceLog() {
    setLogSink([](std::string_view) {});
}

LogCapture::LogCapture() {
    previous_ = setLogSink([this](std::string_view line) { lines_.emplace_back(line); });
}

LogCapture::~LogCapture() { setLogSink(std::move(previous_)); }

bool LogCapture::contains(std::string_view line) const { return count(line) > 0; }

std::size_t LogCapture::count(std::string_view line) const {
    return static_cast<std::size_t>(std::count(lines_.begin(), lines_.end(), line));
}

}  // namespace tessivo
