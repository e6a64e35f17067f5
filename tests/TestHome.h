// A temporary home: HOME and the XDG folders point into it for the life of the object, and whatever the
// test leaves there is removed with it. The user's own files are never reached.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace testing_support {

class TestHome {
 public:
  TestHome();
  ~TestHome();
  TestHome(const TestHome&) = delete;
  TestHome& operator=(const TestHome&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// Where the preference files stand: .config/Qorvane below the home.
  std::filesystem::path store() const { return path_ / ".config" / "Qorvane"; }

 private:
  std::filesystem::path path_;
};

std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, std::string_view bytes);

}  // namespace testing_support
