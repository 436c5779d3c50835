// The diagnostic log: printf-style, one line per call.
//
//   tessivo::log("OLE: Circular reference detected at sector %llu", sector);
//
// Lines go to stderr unless a sink is installed. Messages are part of the
// behaviour and are kept word for word; where a message prints an object,
// the caller passes its UTF-8 text (Value::describe, toUtf8) to a %s.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tessivo {

void log(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Receives each formatted line, without a trailing newline.
using LogSink = std::function<void(std::string_view line)>;

// Installs a sink for the whole process and returns the previous one; an
// empty sink restores the default (stderr). Calls are serialised.
LogSink setLogSink(LogSink sink);

// A sink that drops every line (hosts that must keep stderr clean).
void silenceLog();

// Collects the lines logged during its lifetime (tests).
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<std::string>& lines() const { return lines_; }
    bool contains(std::string_view line) const;
    std::size_t count(std::string_view line) const;
    void clear() { lines_.clear(); }

private:
    std::vector<std::string> lines_;
    LogSink previous_;
};

}  // namespace tessivo
