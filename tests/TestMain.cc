#include <gtest/gtest.h>
#include <stdlib.h>

#include <clocale>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

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

int main(int argc, char** argv) {
  // The suite runs under several locales, as a desktop application would: from the environment.
  std::setlocale(LC_ALL, "");
  // No test may reach the user's own settings, not even one that forgets to ask for a home.
  setenv("HOME", "/nonexistent", 1);
  unsetenv("XDG_CONFIG_HOME");
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
