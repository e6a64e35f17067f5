// Every input that a fuzz target has ever been given as a start, and every one that it stumbled over.
#include <gtest/gtest.h>

#include <filesystem>

#include "fuzz/FuzzTargets.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

void replay(const char* folder, void (*target)(std::string_view)) {
  int files = 0;
  for (const auto& file :
       std::filesystem::directory_iterator(std::filesystem::path(FUZZ_CORPUS_DIR) / folder)) {
    EXPECT_NO_THROW(target(testing_support::readFile(file.path()))) << file.path();
    ++files;
  }
  EXPECT_GT(files, 0);
}

TEST(FuzzCorpusTest, Arguments) { replay("arguments", fuzzing::fuzzArguments); }
TEST(FuzzCorpusTest, ColorArchives) { replay("color", fuzzing::fuzzColorArchive); }
TEST(FuzzCorpusTest, Imports) { replay("import", fuzzing::fuzzImport); }
TEST(FuzzCorpusTest, PropertyLists) { replay("plist", fuzzing::fuzzPropertyList); }

}  // namespace
}  // namespace qorvane
