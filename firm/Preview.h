// What a change does to the desks, seen from here: how each desk reads before it and after it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "firm/Database.h"
#include "firm/Desk.h"
#include "qorvane/foundation/Value.h"

namespace optionsmgr::firm {

/// Each desk that the login administers, by its place's number: its path and its files. A desk is a place
/// that a login is the desk of, or under which no other place stands. Asked within a transaction, as of what
/// that one sees.
struct DeskFiles {
  std::string path;
  std::map<std::string, qorvane::Value> files;
};
std::map<std::string, DeskFiles> deskFiles(Connection& server);

/// An entry that a desk reads otherwise.
struct DeskChange {
  std::string desk;
  Domain domain;
  std::string key;
  /// In JSON, with a "!" behind it where it is locked; none where the desk has nothing of the firm's.
  Field before;
  Field after;
};
/// Those between the two, in order.
std::vector<DeskChange> changesBetween(const std::map<std::string, DeskFiles>& before,
                                       const std::map<std::string, DeskFiles>& after);

}  // namespace optionsmgr::firm
