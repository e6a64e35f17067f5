// What the tests of the preference files share: a home, a store's file in it, and what stands beside that.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

/// Lets so many processes at once read, change and save under the lock, so often each: nothing is lost.
inline void writeAtOnce(const std::string& folder, int processes, int changes, SystemCalls& calls) {
  for (int process = 0; process < processes; ++process) {
    if (fork() != 0) continue;
    bool all = true;
    for (int change = 0; change < changes; ++change) {
      FileUserDefaults store(folder, calls);
      store.setLockWait(60'000);
      const UserDefaults::Lock lock(store);
      const Value now = store.objectForKey(kKey);
      Dictionary next = now.asDictionary() ? *now.asDictionary() : Dictionary();
      next.set(Text(std::to_string(process) + "/" + std::to_string(change)), Number(change));
      store.setObject(next, kKey);
      all = store.synchronize() && all;
    }
    _exit(all ? 0 : 1);
  }
  for (int process = 0; process < processes; ++process) {
    int status = -1;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(FileUserDefaults(folder).objectForKey(kKey).asDictionary()->size(),
            static_cast<std::size_t>(processes * changes));
}

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
