// Everything a reader can ask of an open compound document: the three nested
// listings and every stream of the flat one. Shared by the hostile-input
// tests and the compound fuzz harness, which must never crash, hang or run
// away with memory on any input.
//
//   if (auto mole = tessivo::Mole::initWithData(bytes)) tessivo::testing::readEverything(*mole);
#pragma once

#include <vector>

#include <unicode/unistr.h>

#include "tessivo/compound/mole.h"

namespace tessivo::testing {

inline void readEverything(Mole& mole) {
    mole.getOLEDictionary();
    mole.getOLEArray();
    mole.getOLEDictionaryWithContents(std::vector<icu::UnicodeString>{u"__substg1.0_1000001F"});
    for (const auto& record : mole.getDirectory()) mole.getStream(*record.dictionary()->get(u"entryname")->string());
}

}  // namespace tessivo::testing
