// How the tool fails: an exit code that scripts can tell apart, and one line that says what, where, why and
// what to do now.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "qorvane/preferences/FileException.h"

namespace optionsmgr {

/// The exit codes, those of sysexits.h where it has one.
enum class Exit : int {
  Done = 0,
  NotFound = 1,  ///< Not found, or different.
  Usage = 2,
  BadData = 65,
  Unavailable = 69,  ///< A program that is needed is not there.
  CannotCreate = 73,
  InputOutput = 74,
  Locked = 75,
  NoPermission = 77
};

class Failure : public std::runtime_error {
 public:
  Failure(Exit code, const std::string& message) : std::runtime_error(message), code_(code) {}
  Exit code() const noexcept { return code_; }

 private:
  Exit code_;
};

/// A failure of the store, with its own sentence in the language of the tool.
Failure failureOf(const qorvane::FileException& error);

/// Prints the message to standard error, behind the tool's name. Characters that would steer the terminal,
/// and bytes that are no UTF-8, are shown as such.
void tell(std::string_view message);

/// The system's words for an error (errno), in the language of the tool.
std::string systemReason(int systemError);

/// The exit code for a system error (errno) met at the store.
Exit exitFor(int systemError);

}  // namespace optionsmgr
