#include "recoll_execm.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace tessivo::cli::recoll {
namespace {

// Recoll sends three or four small elements (file name, internal path,
// content type); anything far beyond that is not the indexer talking.
constexpr std::size_t kMaxElementsPerRequest = 32;
constexpr std::size_t kMaxElementBytes = 1 << 20;

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

}  // namespace

ReadStatus ExecmReader::next(Request& request) {
    request.clear();
    std::string line;
    for (std::size_t count = 0;; ++count) {
        if (!std::getline(in_, line)) {
            if (count == 0 && in_.eof() && line.empty()) return ReadStatus::End;
            error_ = "input ended inside a request";
            return ReadStatus::Malformed;
        }
        if (line.empty()) return ReadStatus::Request;
        if (count == kMaxElementsPerRequest) {
            error_ = "more than " + std::to_string(kMaxElementsPerRequest) + " elements in a request";
            return ReadStatus::Malformed;
        }
        // "name: size", the colon optional.
        const auto space = line.find(' ');
        std::size_t size = 0;
        const char* sizeText = space == std::string::npos ? nullptr : line.data() + space + 1;
        const auto [end, ec] = sizeText ? std::from_chars(sizeText, line.data() + line.size(), size)
                                        : std::from_chars_result{nullptr, std::errc::invalid_argument};
        if (space == 0 || !sizeText || ec != std::errc() || end != line.data() + line.size()) {
            error_ = "bad element line \"" + line + "\"";
            return ReadStatus::Malformed;
        }
        if (size > kMaxElementBytes) {
            error_ = "element of " + std::to_string(size) + " bytes";
            return ReadStatus::Malformed;
        }
        std::string name = lowerCase(line.substr(0, space));
        if (name.back() == ':') name.pop_back();
        std::string data(size, '\0');
        if (!in_.read(data.data(), static_cast<std::streamsize>(size))) {
            error_ = "input ended inside element \"" + name + "\"";
            return ReadStatus::Malformed;
        }
        request[std::move(name)] = std::move(data);
    }
}

bool writeAnswer(std::ostream& out, const Answer& answer) {
    for (const auto& [name, data] : answer.elements()) {
        out << name << ": " << data.size() << '\n';
        out.write(data.data(), static_cast<std::streamsize>(data.size()));
    }
    out << '\n';
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace tessivo::cli::recoll
