// What the tests of the preference files share: a home, a store's file in it, and what stands beside that.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/TestHome.h"

namespace qorvane {

namespace fs = std::filesystem;
using testing_support::readFile;
using testing_support::writeFile;
using State = FileUserDefaults::Inspection::State;

inline constexpr Text kKey = "QorvaneT1Settings2020";
inline const Value kOld = Dictionary{{"PCity", Text("Québec")}, {"Number", Number(1)}};
inline const Value kNew = Dictionary{{"PCity", Text("Gaspé")}, {"Bytes", Data("x")}};

/// Thousands of files are saved by these tests; that they reach the disk is a matter of a few only.
class CallsWithoutSync : public SystemCalls {
  int fsync(int) override { return 0; }
};

class FileStoreTest : public testing::Test {
 protected:
  fs::path file() const { return home.store() / "QorvaneT1Settings2020.plist"; }

  static void save(const Value& value) {
    CallsWithoutSync calls;
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    store.setObject(value, kKey);
    ASSERT_TRUE(store.synchronize()) << store.lastFailure()->reason(Language::English);
  }
  static Value load() { return FileUserDefaults().objectForKey(kKey); }

  /// The names in the store's folder, sorted, without the lock's and those of generations.
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    if (fs::exists(home.store()))
      for (const auto& entry : fs::directory_iterator(home.store())) {
        const std::string name = entry.path().filename().string();
        if (name != ".lock" && !(name.starts_with(".Qorvane") && name.ends_with(".plist")))
          found.push_back(name);
      }
    std::ranges::sort(found);
    return found;
  }
  static std::vector<FileUserDefaults::Generation> generations() {
    return FileUserDefaults().generations(kKey);
  }
  /// The newest generation, or a path that is not there.
  fs::path newest() const {
    const auto all = generations();
    return all.empty() ? home.store() / "no generation" : fs::path(all.front().path);
  }
  static mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
  }

  testing_support::TestHome home;
  LogCapture logged;
};

}  // namespace qorvane
