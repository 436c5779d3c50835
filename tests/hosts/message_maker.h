// Outlook .msg files for the desktop-search host tests and the archive
// benchmark, built with the compound-document writer.
//
//   tessivo::Bytes msg = tessivo::testing::makeMessage(BodyKind::Html, "zebra crossing");
//   tessivo::testing::writeMessage(dir / "a.msg", BodyKind::CompressedRtf, "quokka");
//
// Each message has exactly one body, of the kind asked for, whose text is the
// given words; so a word is found only if that kind of body is read.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

enum class BodyKind { CompressedRtf, Html, UnicodeText, AnsiText };

inline constexpr BodyKind kAllBodyKinds[] = {BodyKind::CompressedRtf, BodyKind::Html, BodyKind::UnicodeText,
                                             BodyKind::AnsiText};

std::string_view bodyKindName(BodyKind kind);

Bytes makeMessage(BodyKind kind, std::string_view words);

// A message with a subject and no body at all.
Bytes makeMessageWithoutBody();

// What the hosts show of a mail message besides its text.
struct MailFacts {
    std::string subject;
    std::string senderName;
    std::string senderAddress;
    std::vector<std::pair<std::string, std::string>> recipients;  // name, address
    std::int64_t deliveredAt = 0;                                 // Unix seconds
    std::vector<std::string> attachmentNames;                     // each with a few bytes of data
};

// An e-mail (IPM.Note) with a Unicode text body of the given words and the facts.
Bytes makeMailMessage(const MailFacts& facts, std::string_view words);

// An Internet message (.eml) with a text/plain body of the given words and a
// small base64 attachment.
Bytes makeMimeMessage(std::string_view words);

// A TNEF stream (winmail.dat) with a compressed RTF body of the given words
// and a small attachment.
Bytes makeTnefMessage(std::string_view words);

// Writes makeMessage(kind, words) to path; false when it cannot be written.
bool writeMessage(const std::filesystem::path& path, BodyKind kind, std::string_view words);

}  // namespace tessivo::testing
