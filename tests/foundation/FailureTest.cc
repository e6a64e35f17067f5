#include "qorvane/foundation/Failure.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <clocale>
#include <filesystem>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/FailurePattern.h"
#include "tests/FrenchTypography.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

struct Row {
  const char* name;
  FailureCode code;
  std::string_view english;
  std::string_view french;
};

constexpr Row kRows[] = {
#define FAILURE(code, english, french) {#code, FailureCode::code, english, french},
#include "qorvane/foundation/failures.def"
#undef FAILURE
};

struct SystemRow {
  int error;
  std::string_view english;
  std::string_view french;
};

constexpr SystemRow kSystemRows[] = {
#define SYSTEM_ERROR(error, english, french) {error, english, french},
#include "qorvane/foundation/system-errors.def"
#undef SYSTEM_ERROR
};

// A failure of that code with something to tell apart in each place that its row has, and nothing else.
Failure sample(const Row& row, std::vector<std::string>& parts, Language language) {
  Failure failure{.code = row.code};
  const int places = detail::placesOf(row.english);
  for (int argument = 0; argument < 9; ++argument)
    if (places >> argument & 1) {
      parts.push_back("/argument/" + std::to_string(argument));
      failure.arguments.emplace_back(parts.back());
    }
  for (int cause = 0; cause < 9; ++cause)
    if (places >> (9 + cause) & 1) {
      parts.push_back("cause-" + std::to_string(cause));
      failure.causes.push_back({FailureCode::entryMissing, {Text(parts.back())}});
    }
  if (places >> 18 & 1) {
    failure.systemError = ENOSPC;
    parts.push_back(systemReason(ENOSPC, language).string());
  }
  return failure;
}

TEST(FailureTest, EveryCodeIsToldInBothLanguagesWithEachPartInItsPlace) {
  for (const Row& row : kRows)
    for (const Language language : {Language::English, Language::French}) {
      std::vector<std::string> parts;
      const Failure failure = sample(row, parts, language);
      const std::string told = failure.reason(language).string();
      EXPECT_EQ(told.find_first_of("{}"), told.npos) << row.name << ": " << told;
      for (const std::string& part : parts) {
        const std::size_t at = told.find(part);
        EXPECT_NE(at, told.npos) << row.name << " leaves " << part << " out: " << told;
        EXPECT_EQ(told.find(part, at + 1), told.npos) << row.name << " tells " << part << " twice: " << told;
      }
    }
}

// A code that nothing tells is a row that says nothing true.
TEST(FailureTest, EveryCodeIsToldSomewhere) {
  namespace fs = std::filesystem;
  constexpr std::string_view kPrefix = "FailureCode::";
  std::set<std::string> told;
  for (const auto& file :
       fs::recursive_directory_iterator(fs::path(TEST_DATA_DIR).parent_path() / "qorvane")) {
    if (file.path().extension() != ".cc" && file.path().extension() != ".h") continue;
    const std::string source = testing_support::readFile(file.path());
    for (std::size_t at = 0; (at = source.find(kPrefix, at)) != source.npos;) {
      at += kPrefix.size();
      const auto end = std::find_if_not(source.begin() + static_cast<std::ptrdiff_t>(at), source.end(),
                                        [](unsigned char c) { return std::isalnum(c); });
      told.emplace(source.begin() + static_cast<std::ptrdiff_t>(at), end);
    }
  }
  for (const Row& row : kRows) EXPECT_TRUE(told.contains(row.name)) << row.name;
}

TEST(FailureTest, NoTwoCodesTellTheSame) {
  std::set<std::string_view> english;
  std::set<std::string_view> french;
  for (const Row& row : kRows) {
    EXPECT_TRUE(english.insert(row.english).second) << row.english;
    EXPECT_TRUE(french.insert(row.french).second) << row.french;
    EXPECT_NE(row.english, row.french);
  }
}

using testing_support::faultInFrench;

TEST(FailureTest, FrenchIsWellSetAndBothLanguagesCanStandBehindAColon) {
  EXPECT_NE(faultInFrench("a : b"), "");
  EXPECT_NE(faultInFrench("« a »"), "");
  EXPECT_NE(faultInFrench("e\u0301"), "");
  EXPECT_NE(faultInFrench("\"a\""), "");
  EXPECT_NE(faultInFrench("l'a"), "");
  EXPECT_NE(faultInFrench("a ?"), "");
  for (const Row& row : kRows) {
    EXPECT_EQ(faultInFrench(row.french), "") << row.french;
    for (const std::string_view text : {row.english, row.french}) {
      EXPECT_FALSE(text.front() >= 'A' && text.front() <= 'Z' && !text.starts_with("XML")) << text;
      EXPECT_FALSE(text.ends_with('.') || text.ends_with(' ')) << text;
      EXPECT_EQ(text.find("  "), text.npos) << text;
    }
  }
  for (const SystemRow& row : kSystemRows) EXPECT_EQ(faultInFrench(row.french), "") << row.french;
}

TEST(FailureTest, TellsWhatIsBehindItInTheSameLanguage) {
  const Failure failure{FailureCode::cannotSave,
                        {"/home/é/Settings.plist"},
                        ENOSPC,
                        {{FailureCode::cannotReplace, {"/a", "/b"}, ENOSPC}}};
  EXPECT_EQ(
      failure.reason(Language::English),
      Text("cannot save /home/é/Settings.plist: cannot put /a in the place of /b: No space left on device"));
  EXPECT_EQ(
      failure.reason(Language::French),
      Text("impossible d’enregistrer /home/é/Settings.plist\u00A0: impossible de mettre /a à la place de "
           "/b\u00A0: plus de place sur le disque"));
}

TEST(FailureTest, APartThatIsNotThereLeavesItsPlaceEmpty) {
  EXPECT_EQ(Failure{FailureCode::cannotReplace}.reason(Language::English),
            Text("cannot put  in the place of : no error of the system"));
  EXPECT_EQ(Failure{FailureCode::settingsNotSaved}.reason(Language::English),
            Text("the settings were not saved: "));
}

TEST(FailureTest, BracesInAPathAreNoPlaces) {
  EXPECT_EQ((Failure{FailureCode::cannotReplace, {"/{2}", "/{cause}"}, EIO}).reason(Language::English),
            Text("cannot put /{2} in the place of /{cause}: Input/output error"));
}

TEST(FailureTest, SystemErrorsAreTheSystemsOwnWordsInEnglish) {
  std::set<int> seen;
  for (const SystemRow& row : kSystemRows) {
    EXPECT_TRUE(seen.insert(row.error).second) << row.error;
    EXPECT_FALSE(row.french.empty());
    EXPECT_EQ(row.english, row.error == 0 ? "no error of the system" : strerrordesc_np(row.error));
    EXPECT_EQ(systemReason(row.error, Language::English).view(), row.english);
    EXPECT_EQ(systemReason(row.error, Language::French).view(), row.french);
  }
  EXPECT_EQ(systemReason(4711, Language::English), Text("system error 4711"));
  EXPECT_EQ(systemReason(4711, Language::French), Text("erreur système 4711"));
}

TEST(FailureTest, TheLocaleChangesNoWord) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  for (const char* locale : {"C", "fr_CA.UTF-8"}) {
    std::setlocale(LC_ALL, locale);
    EXPECT_EQ((Failure{FailureCode::cannotOpen, {"/a"}, EACCES}).reason(Language::English),
              Text("cannot open /a: Permission denied"));
  }
  std::setlocale(LC_ALL, before.c_str());
}

TEST(FailureTest, ARowIsWholeWhenBothTextsTakeTheSame) {
  using detail::isWholeRow;
  EXPECT_TRUE(isWholeRow("a", "b"));
  EXPECT_TRUE(isWholeRow("{} of {}: {cause} ({error})", "{2}, {1} : {error}, {cause}"));
  EXPECT_TRUE(isWholeRow("{cause}, {cause}", "{cause} et {cause}"));
  for (const auto& [english, french] :
       std::vector<std::pair<std::string_view, std::string_view>>{{"a", ""},
                                                                  {"", "b"},
                                                                  {"a {}", "b"},
                                                                  {"a {} {}", "b {}"},
                                                                  {"a {}", "b {2}"},
                                                                  {"{2}", "{2}"},
                                                                  {"a {1} {1}", "b {1} {1}"},
                                                                  {"a {}", "b {cause}"},
                                                                  {"a: {error}", "b"},
                                                                  {"a: {cause}", "b: {cause} {cause}"},
                                                                  {"a {", "b {"},
                                                                  {"a {word}", "b {word}"},
                                                                  {"a {0}", "b {0}"},
                                                                  {"a {10}", "b {10}"}})
    EXPECT_FALSE(isWholeRow(english, french)) << english << " / " << french;
}

TEST(FailureTest, AnExceptionTellsTheEnglishReasonAndCarriesTheFailure) {
  const Failure failure{FailureCode::noSuchOption, {"été"}};
  try {
    throw Exception(failure);
  } catch (const std::runtime_error& thrown) {
    EXPECT_STREQ(thrown.what(), "there is no option named \"été\"");
    EXPECT_EQ(dynamic_cast<const Exception&>(thrown).failure(), failure);
  }
  static_assert(std::is_nothrow_copy_constructible_v<Exception>);
}

TEST(FailureTest, WhateverIsThrownIsAFailure) {
  const auto of = [](const auto& thrown) {
    try {
      throw thrown;
    } catch (...) {
      return currentFailure();
    }
  };
  EXPECT_EQ(of(Exception(Failure{FailureCode::cannotOpen, {"/a"}, EACCES})),
            (Failure{FailureCode::cannotOpen, {"/a"}, EACCES}));
  EXPECT_EQ(of(std::bad_alloc()), (Failure{.code = FailureCode::outOfMemory, .systemError = ENOMEM}));
  EXPECT_EQ(of(std::logic_error("the cloud is gone")),
            (Failure{FailureCode::storeFailed, {"the cloud is gone"}}));
  EXPECT_EQ(of(7), Failure{FailureCode::storeGaveNoReason});
  EXPECT_NE(of(7), Failure{FailureCode::notLoaded});
}

}  // namespace
}  // namespace qorvane
