// The store's schema: numbered SQL files that `init` applies in order, each once.
#pragma once

#include <span>
#include <string_view>

#include "firm/Database.h"

namespace optionsmgr::firm {

struct Migration {
  int number;
  std::string_view name;
  std::string_view sql;
};

/// All of them, in order. Number 0 makes roles and schema; it is run each time and changes nothing twice.
std::span<const Migration> migrations();

/// Brings the store of the connected database to this program's schema. May be run again, by several at once
/// and while agents run. `restored`: the database comes from a backup, so roles are looked up anew and the
/// agents are told that its history is another one. Throws FirmFailure or DatabaseError, with nothing
/// changed.
void initialize(Connection& server, bool restored);

}  // namespace optionsmgr::firm
