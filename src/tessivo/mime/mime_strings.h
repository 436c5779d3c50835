// Text operations for MIME headers and bodies: charset names, encoded words,
// quoted-printable and base64 text with a chosen encoding, Hebrew
// (Windows-1255) shortcuts and e-mail address checks.
//
//   using namespace tessivo::WindowsCodePageWangersNSStringAdditions;
//   decodeMimeHeader(u"=?iso-8859-1?Q?Caf=E9?= ok");            // u"Café ok"
//   Encoding e = getCharacterEncodingFromMime(u"windows-1252");  // 12
//   auto body = quotedPrintableDecodeWithEncoding(u"a=3Db", e);   // u"a=b"
//   auto addr = cleanEmailAddress(u"Ann <ann@example.com>");      // u"ann@example.com"
//
// The receiver of each operation is its first argument. "No result" is
// nullopt. Nothing here throws; failures fall back as each comment says.
#pragma once

#include <cstdint>
#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/encoding.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {

// The encoding number of a MIME charset name (upper-cased, then looked up
// exactly; no trimming, no aliases). Unknown names, "US-ASCII" and "LATIN1"
// among them, give UTF-8 (4).
std::uint32_t getCharacterEncodingFromMime(const icu::UnicodeString& charset);

// The header value with its encoded words ("=?charset?B|Q?text?=") decoded.
// A word must be followed by white space or the end of the value; a word
// that fails to decode disappears; text between words, white space included,
// is kept; "_" in Q words stays "_". Values without words come back as they are.
icu::UnicodeString decodeMimeHeader(const icu::UnicodeString& value);

// Quoted-printable text (soft line breaks removed, "=XX" escapes, either case)
// decoded to bytes and then read in the encoding. A UTF-8 no-break space
// "=C2=A0" becomes a plain space. When the bytes do not decode in the
// encoding, forceQuotedPrintableDecode of the escaped text is the result.
std::optional<icu::UnicodeString> quotedPrintableDecodeWithEncoding(const icu::UnicodeString& text, Encoding encoding);

// Decodes "%XX" escapes (read as decodedStringFromPercentEscapesUsingEncoding
// reads them) with the first encoding that accepts the bytes, in this order:
// UTF-8, Windows Latin 1 (Windows-1252), ISO Latin 1. ISO Latin 1 accepts
// every byte, so the other available encodings are never needed; the text
// comes back unchanged only when it is too large to decode at all.
icu::UnicodeString forceQuotedPrintableDecode(const icu::UnicodeString& text);

// Replaces each "%" followed by two characters by the byte they give as hex
// (lenient: reading stops at the first non-hex character; no digit gives 0)
// and reads the bytes in the encoding; nullopt when they do not decode.
std::optional<icu::UnicodeString> decodedStringFromPercentEscapesUsingEncoding(const icu::UnicodeString& text,
                                                                               Encoding encoding);

// Base64 text (characters outside the alphabet ignored) read in the encoding;
// nullopt when the base64 or the encoding fails.
std::optional<icu::UnicodeString> base64DecodeWithEncoding(const icu::UnicodeString& text, Encoding encoding);

// The text's UTF-8 bytes in quoted-printable form: LF and printable ASCII
// ("=" included) as they are, every other byte as "=XX"; no soft line breaks;
// trimmed of white space at both ends.
icu::UnicodeString createQuotedPrintable(const icu::UnicodeString& text);

// Replaces "=D0".."=D8" and "=E0".."=FA" (any case) by their Windows-1255
// (Hebrew) characters; nothing else is decoded.
icu::UnicodeString decodeCP1255FromMimeEncodedString(const icu::UnicodeString& text);

// Decodes "=?windows-1255?B?...?=" words (any case) and keeps the text around
// them; a word whose base64 or Hebrew decoding fails is dropped.
icu::UnicodeString decodeCP1255B(const icu::UnicodeString& text);

// True when the whole text is one e-mail address (RFC 5322 addr-spec with a
// dotted domain name or a bracketed address literal), in any case.
bool validateEmailAddress(const icu::UnicodeString& text);

// The address between the first "<" and the first ">" (or the whole text when
// there is no "<"), trimmed; nullopt unless it is a valid address.
std::optional<icu::UnicodeString> cleanEmailAddress(const icu::UnicodeString& text);

// "mailto:" followed by the address; nullopt for an invalid address or one
// that cannot form a URL.
std::optional<icu::UnicodeString> buildEmailAddressURL(const icu::UnicodeString& address);

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
