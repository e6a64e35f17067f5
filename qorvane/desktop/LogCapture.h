// LogCapture: keeps what is logged during its life instead of sending it to the system. A double for tests.
#pragma once

#include <vector>

#include "qorvane/desktop/Log.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// Captures nest: the innermost receives the lines, and hands back to the one around it when it ends.
class LogCapture {
 public:
  /// The lines so far, oldest first.
  const std::vector<Text>& lines() const { return lines_; }
  void clear() { lines_.clear(); }

 private:
  std::vector<Text> lines_;
  ScopedLogSink sink_{[this](const Text& line) { lines_.push_back(line); }};
};

}  // namespace v1
}  // namespace qorvane
