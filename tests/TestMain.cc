#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>
#include <unicode/timezone.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qorvane/desktop/Bundle.h"
#include "qorvane/desktop/FileManager.h"
#include "qorvane/desktop/Log.h"
#include "qorvane/formats/DateFormatter.h"
#include "qorvane/formats/NumberFormatter.h"
#include "qorvane/manager/FacadeState.h"
#include "qorvane/preferences/SystemCalls.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "tests/TestHome.h"

namespace testing_support {

namespace fs = std::filesystem;

TestHome::TestHome() {
  std::string pattern = (fs::temp_directory_path() / "optionsmgr-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary home at " + pattern);
  path_ = pattern;
  setenv("HOME", pattern.c_str(), 1);
  for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_DOCUMENTS_DIR"})
    unsetenv(variable);
  setenv("XDG_CONFIG_DIRS", (path_ / "etc" / "xdg").c_str(), 1);
}

TestHome::~TestHome() {
  std::error_code ignored;
  // Tests may leave folders that nobody may write to.
  for (auto it = fs::recursive_directory_iterator(path_, ignored); it != fs::recursive_directory_iterator();
       it.increment(ignored))
    if (it->is_directory(ignored) && !it->is_symlink(ignored))
      fs::permissions(it->path(), fs::perms::owner_all, ignored);
  fs::remove_all(path_, ignored);
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeFile(const fs::path& path, std::string_view bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace testing_support

namespace {

// Puts back after each test whatever of the process it may have changed, so that the tests of a program run
// in one process, in any order.
class ProcessState : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override {
    environment_.clear();
    for (char** variable = environ; *variable; ++variable) environment_.emplace_back(*variable);
    locale_ = std::setlocale(LC_ALL, nullptr);
    folder_ = std::filesystem::current_path();
    umask_ = umask(0);
    umask(umask_);
  }

  void OnTestEnd(const testing::TestInfo&) override {
    putBackLibrary();
    clearenv();
    for (const std::string& variable : environment_) {
      const std::size_t equals = variable.find('=');
      setenv(variable.substr(0, equals).c_str(), variable.c_str() + equals + 1, 1);
    }
    tzset();
    icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
    std::setlocale(LC_ALL, locale_.c_str());
    std::filesystem::current_path(folder_);
    umask(umask_);
  }

  static void putBackLibrary() {
    using namespace qorvane;
    forgetFacade();
    UserDefaults::setStandardUserDefaults(nullptr);
    SystemCalls::setStandard(nullptr);
    FileManager::setDefaultManager(nullptr);
    Bundle::setMainBundle(nullptr);
    Bundle::mainBundle().setBundlePath(nullptr);
    QVSettings::setSource(nullptr);
    setLogSink(nullptr);
    setLogLanguage(Language::English);
    notifyAll = false;
    bSettingVals = false;
    for (NumberFormatter** const formatter : {&numberForm, &numberFormFr, &numberFormWithoutDollar,
                                              &numberFormWithoutDollarFr, &numberFormForEdt})
      delete std::exchange(*formatter, nullptr);
    delete std::exchange(yearMonthDateForm, nullptr);
  }

  std::vector<std::string> environment_;
  std::string locale_;
  std::filesystem::path folder_;
  mode_t umask_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  // The suite runs under several locales, as a desktop application would: from the environment.
  std::setlocale(LC_ALL, "");
  // The tool also takes its language from these: a test of that sets them itself.
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG", "LANGUAGE"}) unsetenv(variable);
  // No test may reach the user's own settings, not even one that forgets to ask for a home.
  setenv("HOME", "/nonexistent", 1);
  unsetenv("XDG_CONFIG_HOME");
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new ProcessState);
  return RUN_ALL_TESTS();
}
