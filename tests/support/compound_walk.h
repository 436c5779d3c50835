// Everything a reader can ask of an open compound document: the three nested
// listings and every stream of the flat one. Shared by the hostile-input
// tests and the compound fuzz harness, which must never crash, hang or run
// away with memory on any input.
//
//   if (auto mole = tessivo::Mole::initWithData(bytes)) tessivo::testing::readEverything(*mole);
#pragma once

#include <unordered_set>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/compound/mole.h"
#include "tessivo/foundation/value.h"

namespace tessivo::testing {

inline void readEverything(Mole& mole) {
    mole.getOLEDictionary();
    mole.getOLEArray();
    mole.getOLEDictionaryWithContents(std::vector<icu::UnicodeString>{u"__substg1.0_1000001F"});
    // Paths that differ only in empty components name the same stream: each is read once.
    std::unordered_set<icu::UnicodeString, UnicodeStringHash> read;
    for (const auto& record : mole.getDirectory()) {
        const icu::UnicodeString& path = *record.dictionary()->get(u"entryname")->string();
        icu::UnicodeString collapsed(path);
        while (collapsed.indexOf(u"//") >= 0) collapsed.findAndReplace(u"//", u"/");
        if (read.insert(collapsed).second) mole.getStream(path);
    }
}

}  // namespace tessivo::testing
