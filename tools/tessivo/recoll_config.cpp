#include "recoll_config.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

namespace tessivo::cli::recoll {
namespace {

constexpr std::string_view kReplacedNote = "# (replaced by tessivo recoll-setup) ";

std::string_view trim(std::string_view s) {
    const auto first = s.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return s.substr(first, s.find_last_not_of(" \t\r") - first + 1);
}

std::optional<std::string_view> sectionHeader(std::string_view line) {
    const std::string_view t = trim(line);
    if (t.size() < 2 || t.front() != '[' || t.back() != ']') return std::nullopt;
    return trim(t.substr(1, t.size() - 2));
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
        if (const auto header = sectionHeader(t)) {
            section = *header;
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

std::string_view nameOf(std::string_view definition) { return trim(definition.substr(0, definition.find('='))); }

// Drops the headers of the named sections that hold nothing but blank lines,
// with those lines and the blank line addEntry put before the header.
std::vector<std::string> withoutEmptySections(const std::vector<std::string>& lines, const std::set<std::string>& names) {
    std::vector<std::string> out;
    for (std::size_t i = 0; i < lines.size();) {
        const auto header = sectionHeader(lines[i]);
        if (header && names.count(std::string(*header))) {
            std::size_t next = i + 1;
            while (next < lines.size() && trim(lines[next]).empty()) ++next;
            if (next == lines.size() || sectionHeader(lines[next])) {
                if (!out.empty() && trim(out.back()).empty()) out.pop_back();
                i = next;
                continue;
            }
        }
        out.push_back(lines[i++]);
    }
    return out;
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

std::string removeSettings(std::string_view text, const std::function<bool(const Setting&)>& isOurs) {
    using Key = std::pair<std::string, std::string>;  // section, name
    const ParsedFile file = parseFile(text);
    std::vector<bool> dropped(file.lines.size(), false);
    std::set<Key> removed;
    std::set<Key> kept;
    for (const auto& e : file.entries) {
        if (!isOurs({e.section, e.name, joinedLines(file.lines, e.first, e.count)})) {
            kept.insert({e.section, e.name});
            continue;
        }
        std::fill_n(dropped.begin() + static_cast<std::ptrdiff_t>(e.first), e.count, true);
        removed.insert({e.section, e.name});
    }
    if (removed.empty()) return std::string(text);

    std::vector<std::string> lines;
    std::string section;
    bool restoringContinuation = false;
    for (std::size_t i = 0; i < file.lines.size(); ++i) {
        if (dropped[i]) continue;
        std::string line = file.lines[i];
        if (const auto header = sectionHeader(line)) section = *header;
        // A restored definition's continuation lines carry "# " alone.
        const bool continuation = restoringContinuation && line.starts_with("# ");
        restoringContinuation = false;
        if (continuation) {
            line.erase(0, 2);
            restoringContinuation = trim(line).ends_with('\\');
        } else if (line.starts_with(kReplacedNote)) {
            const std::string original = line.substr(kReplacedNote.size());
            const Key key{section, std::string(nameOf(original))};
            if (removed.count(key) && !kept.count(key)) {
                line = original;
                restoringContinuation = trim(line).ends_with('\\');
            }
        }
        lines.push_back(std::move(line));
    }
    std::set<std::string> emptied;
    for (const auto& key : removed) emptied.insert(key.first);
    return joinFile(withoutEmptySections(lines, emptied));
}

}  // namespace tessivo::cli::recoll
