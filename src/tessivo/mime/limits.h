// Fixed bounds of the MIME reader, reached only by damaged or hostile
// messages: they keep reading linear in the message and its memory bounded.
#pragma once

#include <cstddef>

namespace tessivo::mime {

// Parts nested this deep are not split again: their boundary lines are read
// as ordinary lines, so the part keeps the text of everything inside it.
constexpr int kMaxMultipartDepth = 100;

// "MailContent" keeps at most this many parts; later ones are still read
// (the line counting of the parts around them needs them) but not kept.
constexpr std::size_t kMaxParts = 10000;

}  // namespace tessivo::mime
