// Outlook .msg files for the desktop-search host tests and the archive
// benchmark, built with the compound-document writer.
//
//   tessivo::Bytes msg = tessivo::testing::makeMessage(BodyKind::Html, "zebra crossing");
//   tessivo::testing::writeMessage(dir / "a.msg", BodyKind::CompressedRtf, "quokka");
//
// Each message has exactly one body, of the kind asked for, whose text is the
// given words; so a word is found only if that kind of body is read.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

enum class BodyKind { CompressedRtf, Html, UnicodeText, AnsiText };

inline constexpr BodyKind kAllBodyKinds[] = {BodyKind::CompressedRtf, BodyKind::Html, BodyKind::UnicodeText,
                                             BodyKind::AnsiText};

std::string_view bodyKindName(BodyKind kind);

Bytes makeMessage(BodyKind kind, std::string_view words);

// A message with a subject and no body at all.
Bytes makeMessageWithoutBody();

// Writes makeMessage(kind, words) to path; false when it cannot be written.
bool writeMessage(const std::filesystem::path& path, BodyKind kind, std::string_view words);

}  // namespace tessivo::testing
