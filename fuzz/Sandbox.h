// A place where the tool may do what it likes: a home of its own in memory that is gone with the object,
// nobody who reads what it says, nothing to read on its standard input, and a store with something in it.
#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>
#include <streambuf>
#include <string>

#include "qorvane/desktop/Log.h"

namespace qorvane::fuzzing {

class Sandbox {
 public:
  Sandbox();
  ~Sandbox();
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  /// The home, which is also the current folder.
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path store() const { return path_ / ".config" / "Qorvane"; }

  /// What stands in the store, by name, without the lock.
  std::map<std::string, std::string> files() const;

 private:
  class Silence : public std::streambuf {
    int overflow(int byte) override { return byte == EOF ? 0 : byte; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
  };

  std::filesystem::path path_;
  std::filesystem::path before_;
  Silence silence_;
  std::streambuf* out_;
  std::streambuf* err_;
  LogSink log_;
  int input_;
  int output_;
};

}  // namespace qorvane::fuzzing
