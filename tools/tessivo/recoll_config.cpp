#include "recoll_config.h"

#include <algorithm>
#include <optional>

namespace tessivo::cli::recoll {
namespace {

constexpr std::string_view kReplacedNote = "# (replaced by tessivo recoll-setup) ";

std::string_view trim(std::string_view s) {
    const auto first = s.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return s.substr(first, s.find_last_not_of(" \t\r") - first + 1);
}

std::vector<std::string> splitLines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const auto end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    }
    return lines;
}

// One definition in a file: lines [first, first + count).
struct Entry {
    std::size_t first = 0;
    std::size_t count = 0;
    std::string section;
    std::string name;
};

struct Header {
    std::string section;
    std::size_t line = 0;
};

struct ParsedFile {
    std::vector<std::string> lines;
    std::vector<Entry> entries;
    std::vector<Header> headers;
};

ParsedFile parseFile(std::string_view text) {
    ParsedFile file;
    file.lines = splitLines(text);
    const auto& lines = file.lines;
    std::string section;
    std::size_t i = 0;
    while (i < lines.size()) {
        const std::string_view t = trim(lines[i]);
        if (t.empty() || t.front() == '#') {
            ++i;
            continue;
        }
        if (t.front() == '[' && t.back() == ']') {
            section = trim(t.substr(1, t.size() - 2));
            file.headers.push_back({section, i});
            ++i;
            continue;
        }
        const std::size_t first = i;
        while (i + 1 < lines.size() && trim(lines[i]).ends_with('\\')) ++i;
        ++i;
        const auto eq = t.find('=');
        if (eq != std::string_view::npos)
            file.entries.push_back({first, i - first, section, std::string(trim(t.substr(0, eq)))});
    }
    return file;
}

std::string joinedLines(const std::vector<std::string>& lines, std::size_t first, std::size_t count) {
    std::string out;
    for (std::size_t i = first; i < first + count; ++i) {
        if (i > first) out += '\n';
        out += trim(lines[i]);
    }
    return out;
}

std::string joinFile(const std::vector<std::string>& lines) {
    std::string out;
    for (const auto& line : lines) {
        out += line;
        out += '\n';
    }
    return out;
}

// Comments out the given definitions and puts the setting after the last one.
void replaceEntries(std::vector<std::string>& lines, const std::vector<Entry>& entries, const Setting& setting) {
    for (const auto& e : entries)
        for (std::size_t i = e.first; i < e.first + e.count; ++i)
            lines[i] = std::string(i == e.first ? kReplacedNote : "# ") + lines[i];
    const auto& last = entries.back();
    const auto at = lines.begin() + static_cast<std::ptrdiff_t>(last.first + last.count);
    const auto settingLines = splitLines(setting.line);
    lines.insert(at, settingLines.begin(), settingLines.end());
}

void addEntry(std::vector<std::string>& lines, const std::vector<Header>& headers, const Setting& setting) {
    const auto settingLines = splitLines(setting.line);
    std::optional<std::size_t> at;
    if (setting.section.empty()) {
        if (!headers.empty()) at = headers.front().line;
    } else {
        const auto header = std::find_if(headers.begin(), headers.end(),
                                         [&](const Header& h) { return h.section == setting.section; });
        if (header != headers.end()) at = header->line + 1;
    }
    if (at) {
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(*at), settingLines.begin(), settingLines.end());
        return;
    }
    if (!setting.section.empty()) {
        if (!lines.empty() && !trim(lines.back()).empty()) lines.emplace_back();
        lines.push_back("[" + setting.section + "]");
    }
    lines.insert(lines.end(), settingLines.begin(), settingLines.end());
}

}  // namespace

std::vector<Setting> parseSettings(std::string_view text) {
    const ParsedFile file = parseFile(text);
    std::vector<Setting> settings;
    for (const auto& e : file.entries)
        settings.push_back({e.section, e.name, joinedLines(file.lines, e.first, e.count)});
    return settings;
}

std::string mergeSettings(std::string_view text, const std::vector<Setting>& settings) {
    std::string current(text);
    for (const auto& setting : settings) {
        ParsedFile file = parseFile(current);
        std::vector<Entry> same;
        for (const auto& e : file.entries)
            if (e.section == setting.section && e.name == setting.name) same.push_back(e);
        if (!same.empty() && joinedLines(file.lines, same.back().first, same.back().count) == setting.line) continue;
        if (same.empty())
            addEntry(file.lines, file.headers, setting);
        else
            replaceEntries(file.lines, same, setting);
        current = joinFile(file.lines);
    }
    return current;
}

}  // namespace tessivo::cli::recoll
