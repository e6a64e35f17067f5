// The firm's store as the verbs ask it: places by name, batches of settings, and the server's refusals in
// words.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "firm/Database.h"
#include "firm/Words.h"

namespace optionsmgr::firm {

/// The refusal in words, with its exit code.
FirmFailure failureOf(const DatabaseError& error);

/// The place's number by its name, or by a path whose end is enough to tell it. Throws FirmFailure: not
/// found, or several.
std::string placeCalled(Connection& server, const std::string& name);

/// What an entry is to become.
struct Entry {
  std::string place;
  std::string product;  ///< "T1" or "T2".
  int year = 0;
  std::string key;
  bool sets = false;                         ///< The value becomes `value`,
  std::optional<std::string> value = {};     ///< which is none to take it away.
  std::optional<bool> lock = {};             ///< None leaves it.
  std::optional<std::string> expected = {};  ///< The token that the entry must still have; none for any.
};
/// The token of an entry that is not there.
inline constexpr const char* kNoEntry = "00000000-0000-0000-0000-000000000000";

/// A number for a batch that nobody else has: a token for history and for asking whether it was stored.
std::string newToken();

struct Stored {
  std::string number;  ///< Empty when nothing changed.
  int changed = 0;
  std::vector<std::string> warnings;  ///< Of the commit: it may not have reached the standby.
};

/// Writes the batch as one transaction, tried three times where others were in the way. When the connection
/// breaks while it commits, a new one asks what became of it. Throws FirmFailure.
Stored store(Connection& server, const std::vector<Entry>& entries,
             const std::optional<std::string>& comment);

/// The same for a statement of the tree or of grants whose first parameters are token and comment, answering
/// a number or null.
Stored change(Connection& server, const char* sql, std::vector<Field> further,
              const std::optional<std::string>& comment);

}  // namespace optionsmgr::firm
