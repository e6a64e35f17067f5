// The system log: short messages for whoever looks after the machine, never for the program itself.
//
// A message becomes exactly one line. It goes to syslog (facility user, level notice) and to stderr, there
// behind the program's name and a colon. The library never calls openlog: a program that opened the log under
// a name of its own keeps it, any other is listed under its program name.
#pragma once

#include <functional>

#include "qorvane/foundation/Failure.h"
#include "qorvane/foundation/Scoped.h"
#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// Receives each message as it is logged: one line, without a line break at its end.
using LogSink = std::function<void(const Text& line)>;

/// Logs the message. Line breaks and control characters are written out ("\n", "\u001b"), everything else
/// passes byte for byte. Nil and the empty text log nothing. Never throws: a message that cannot be logged is
/// lost. Any thread may call it.
void log(const Text& message) noexcept;
/// Logs the failure's reason, in English unless `setLogLanguage` says otherwise.
void log(const Failure& failure) noexcept;

/// The language in which failures are logged from now on: for a program whose log is what its user reads.
/// Returns the one that served until now.
Language setLogLanguage(Language language) noexcept;

/// Sends every message to this sink alone from now on; an empty sink means syslog and stderr again. Returns
/// the sink that served until now, empty for the usual one. Only while no other thread logs.
LogSink setLogSink(LogSink sink);

/// While it lives, messages go to another sink.
using ScopedLogSink = Scoped<&setLogSink>;

}  // namespace v1
}  // namespace qorvane
