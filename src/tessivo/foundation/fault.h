// A located fault: where a reader found its input wrong and what it expected
// there. Readers record the fault that made them refuse their input beside
// their result code, so that tools can say why and tests can tell which
// check refused.
//
//   tessivo::Fault f{"header", "threshold", 56, "4096", "2048"};
//   std::string why = f.describe();   // "header threshold at byte 56: expected 4096, found 2048"
//
// Every reader (compound documents, messages, TNEF, MIME) uses this one type.
// A fault is a plain value; it borrows nothing.
#pragma once

#include <cstdint>
#include <string>

namespace tessivo {

struct Fault {
    // The structure being read ("header", "allocation table", "directory").
    std::string structure;
    // The field or element that failed its check ("threshold", "sector list entry 3").
    std::string field;
    // Byte offset of that field in the reader's input.
    std::uint64_t offset = 0;
    // What the check wanted, and what the input holds, in words.
    std::string expected;
    std::string found;

    // "STRUCTURE FIELD at byte OFFSET: expected EXPECTED, found FOUND".
    std::string describe() const;

    friend bool operator==(const Fault&, const Fault&) = default;
};

}  // namespace tessivo
