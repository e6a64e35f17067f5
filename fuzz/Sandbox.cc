#include "fuzz/Sandbox.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/Seal.h"

namespace qorvane::fuzzing {

namespace fs = std::filesystem;

namespace {

// Settings of three years, as a save leaves them.
const std::map<std::string, std::string>& settings() {
  static const auto made = [] {
    std::map<std::string, std::string> files;
    for (const char* key : {"QorvaneT1Settings2019", "QorvaneT1Settings2020", "QorvaneT2Settings2021"}) {
      const Text name{std::string_view(key)};
      const Dictionary options{{"PCity", Text("Québec")},
                               {"AutoSave", Number(5)},
                               {"Unknown", Array{Date{1.5}, Data("x"), Number(true)}}};
      files[std::string(key) + ".plist"] = sealedPropertyList(Dictionary{{name, options}}, 1);
    }
    return files;
  }();
  return made;
}

// Puts another open file in a descriptor's place; answers a copy of the one before.
int replaceDescriptor(int place, int file) {
  const int before = fcntl(place, F_DUPFD_CLOEXEC, 3);
  if (dup2(file, place) < 0) throw std::runtime_error("no descriptor");
  return before;
}

// A pipe whose reader is gone: `watch` ends when nobody reads it.
int brokenPipe() {
  static const int writer = [] {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    close(ends[0]);
    return ends[1];
  }();
  return writer;
}

int nothing() {
  static const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
  return file;
}

}  // namespace

Sandbox::Sandbox() : before_(fs::current_path()) {
  std::string pattern = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : fs::temp_directory_path().string();
  pattern += "/optionsmgr-fuzz-XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make " + pattern);
  path_ = pattern;
  fs::current_path(path_);
  setenv("HOME", path_.c_str(), 1);
  for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_DOCUMENTS_DIR"})
    unsetenv(variable);
  fs::create_directories(store());
  fs::permissions(store(), fs::perms::owner_all);
  for (const auto& [name, bytes] : settings()) std::ofstream(store() / name, std::ios::binary) << bytes;
  std::fflush(stdout);
  out_ = std::cout.rdbuf(&silence_);
  err_ = std::cerr.rdbuf(&silence_);
  log_ = setLogSink([](const Text&) {});
  input_ = replaceDescriptor(STDIN_FILENO, nothing());
  output_ = replaceDescriptor(STDOUT_FILENO, brokenPipe());
}

Sandbox::~Sandbox() {
  std::cout.rdbuf(out_);
  std::cerr.rdbuf(err_);
  std::cout.clear();
  std::cerr.clear();
  setLogSink(log_);
  for (const auto& [place, file] : {std::pair(STDIN_FILENO, input_), std::pair(STDOUT_FILENO, output_)}) {
    dup2(file, place);
    close(file);
  }
  std::error_code ignored;
  fs::current_path(before_, ignored);
  fs::remove_all(path_, ignored);
}

std::map<std::string, std::string> Sandbox::files() const {
  std::map<std::string, std::string> found;
  for (const auto& entry : fs::recursive_directory_iterator(store())) {
    if (!entry.is_regular_file() || entry.path().filename() == ".lock") continue;
    std::ifstream in(entry.path(), std::ios::binary);
    found[fs::relative(entry.path(), store())] = std::string(std::istreambuf_iterator<char>(in), {});
  }
  return found;
}

}  // namespace qorvane::fuzzing
