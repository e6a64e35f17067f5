#include "qorvane/desktop/Log.h"

#include <errno.h>
#include <syslog.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

namespace qorvane::inline v1 {

namespace {

LogSink& chosenSink() {
  // Never destroyed, so that destructors of other globals may still log.
  static LogSink& sink = *new LogSink;
  return sink;
}

constinit std::atomic<Language> logLanguage = Language::English;

// The character that a well-formed sequence of at most three bytes stands for.
unsigned codePoint(std::string_view sequence) {
  const auto byte = [&](std::size_t i) {
    return static_cast<unsigned>(static_cast<unsigned char>(sequence[i]));
  };
  switch (sequence.size()) {
    case 1:
      return byte(0);
    case 2:
      return (byte(0) & 0x1F) << 6 | (byte(1) & 0x3F);
    default:
      return (byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
  }
}

// Controls, and the two separators of Unicode that a viewer may show as a line break.
bool isControl(unsigned character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x2028 ||
         character == 0x2029;
}

void appendVisible(std::string& line, unsigned character) {
  switch (character) {
    case '\n':
      line += "\\n";
      return;
    case '\r':
      line += "\\r";
      return;
    case '\t':
      line += "\\t";
      return;
    default:
      constexpr char kDigits[] = "0123456789abcdef";
      line += "\\u";
      for (int shift = 12; shift >= 0; shift -= 4) line += kDigits[character >> shift & 15];
  }
}

// The message on one line; the same object when it is one already.
Text oneLine(const Text& message) {
  const std::string_view bytes = message.view();
  std::string line;
  bool changed = false;
  for (std::size_t at = 0, length; at < bytes.size(); at += length) {
    length = detail::utf8SequenceLength(bytes, at);
    const std::string_view sequence = bytes.substr(at, length);
    if (length < 4 && isControl(codePoint(sequence))) {
      if (!changed) line.assign(bytes.substr(0, at));
      changed = true;
      appendVisible(line, codePoint(sequence));
    } else if (changed) {
      line += sequence;
    }
  }
  return changed ? Text(line) : message;
}

void logToSystem(const Text& line) {
  syslog(LOG_USER | LOG_NOTICE, "%s", line.c_str());
  const std::string output = std::string(program_invocation_short_name) + ": " + line.string() + "\n";
  // One call, so that lines of several threads or processes do not mix.
  std::fwrite(output.data(), 1, output.size(), stderr);
}

}  // namespace

void log(const Text& message) noexcept {
  if (message.isNilOrEmpty()) return;
  try {
    const Text line = oneLine(message);
    if (const LogSink& sink = chosenSink())
      sink(line);
    else
      logToSystem(line);
  } catch (...) {
    // The log is where troubles are told; there is no one to tell of its own.
  }
}

void log(const Failure& failure) noexcept {
  try {
    log(failure.reason(logLanguage));
  } catch (...) {
    // As above.
  }
}

Language setLogLanguage(Language language) noexcept { return logLanguage.exchange(language); }

LogSink setLogSink(LogSink sink) { return std::exchange(chosenSink(), std::move(sink)); }

}  // namespace qorvane::inline v1
