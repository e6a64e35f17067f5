// The verbs that ask the firm's server, each given an open connection. They throw FirmFailure, DatabaseError,
// or the tool's own Failure for what a person wrote.
#pragma once

#include "firm/Database.h"
#include "firm/Said.h"
#include "firm/Words.h"

namespace optionsmgr::firm {

using Verb = Exit (*)(Connection&, const Said&);

// PlaceVerbs.cc
Exit init(Connection& server, const Said& said);
Exit placeAdd(Connection& server, const Said& said);
Exit placeMove(Connection& server, const Said& said);
Exit placeRemove(Connection& server, const Said& said);
Exit placeList(Connection& server, const Said& said);
Exit grant(Connection& server, const Said& said);
Exit revoke(Connection& server, const Said& said);

// SettingVerbs.cc
Exit set(Connection& server, const Said& said);
Exit reset(Connection& server, const Said& said);
Exit lock(Connection& server, const Said& said);
Exit unlock(Connection& server, const Said& said);
Exit get(Connection& server, const Said& said);
Exit list(Connection& server, const Said& said);
Exit raise(Connection& server, const Said& said);
Exit carryForward(Connection& server, const Said& said);

// HistoryVerbs.cc
Exit history(Connection& server, const Said& said);
Exit prune(Connection& server, const Said& said);
Exit undo(Connection& server, const Said& said);

// ExchangeVerbs.cc
Exit importSettings(Connection& server, const Said& said);
Exit exportSettings(Connection& server, const Said& said);
Exit diff(Connection& server, const Said& said);

// DeskVerbs.cc
Exit statusOfAll(Connection& server, const Said& said);

/// Those of the desk itself, which find the server by themselves or do without.
Exit sync(const Said& said);
Exit stay(const Said& said);
Exit status(const Said& said);
Exit adopt(const Said& said);
Exit leave(const Said& said);

}  // namespace optionsmgr::firm
