// The firm's store as the verbs ask it: places by name, batches of settings, and the server's refusals in
// words.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "firm/Database.h"
#include "firm/Desk.h"
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
  Domain domain;
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

/// A change that waits to be made: a statement that answers a number, or null when it changed nothing, and
/// how many entries it changed. Its first parameter is its token.
struct Statement {
  std::string sql;
  std::vector<Field> parameters;
};

/// The batch as one statement.
Statement batchOf(const std::vector<Entry>& entries, const std::optional<std::string>& comment);

/// A change of the tree or of grants: the function's further parameters, each as "$3::bigint".
Statement changeOf(const std::string& function, const std::string& casts, std::vector<Field> further,
                   const std::optional<std::string>& comment);

/// Makes the change in a transaction of its own, tried three times where others were in the way. When the
/// connection breaks while it commits, a new one asks what became of it. Throws FirmFailure.
Stored store(Connection& server, const Statement& statement);

/// Makes the change, lets `look` see what stands then, and takes it back; `look` is called before the change
/// too, with false. It may happen three times. Throws FirmFailure as `store` would.
void rehearse(Connection& server, const Statement& statement, const std::function<void(bool changed)>& look);

}  // namespace optionsmgr::firm
