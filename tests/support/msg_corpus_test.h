// A fixture for tests over every .msg file of the corpus: skipped when there
// is no corpus (TESSIVO_CORPUS), with the readers' log captured.
//
//   class ImporterCorpus : public tessivo::testing::MsgCorpusTest {};
//   TEST_F(ImporterCorpus, ...) { for (const auto& file : files_) ... }
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "support/corpus.h"
#include "tessivo/foundation/log.h"

namespace tessivo::testing {

class MsgCorpusTest : public ::testing::Test {
protected:
    void SetUp() override {
        files_ = corpusFiles(".msg");
        if (files_.empty()) GTEST_SKIP() << "no corpus (TESSIVO_CORPUS)";
    }
    std::vector<std::filesystem::path> files_;
    LogCapture quiet_;
};

}  // namespace tessivo::testing
