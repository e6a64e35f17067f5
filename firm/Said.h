// What the words of the command line say, and the manners of answering that the verbs share.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "firm/Database.h"
#include "firm/Desk.h"
#include "firm/Store.h"
#include "firm/Words.h"

namespace optionsmgr::firm {

/// Everything that the words can say; a verb takes what it needs.
struct Said {
  std::string place;
  std::string under;
  std::string kind;
  std::string role;
  std::vector<std::string> words;
  std::string product = "T1";
  int year = 0;
  bool everyYear = false;
  std::string from;
  std::string to;
  std::string with;
  std::string file;
  std::string allPlaces;
  std::string before;
  bool admin = false;
  bool restored = false;
  bool force = false;
  bool json = false;
  bool all = false;
  bool below = false;
  bool overwrite = false;
  bool replace = false;
  bool dryRun = false;
  double interval = 30;
  std::string number;
  std::optional<std::string> comment;
  std::string language;

  Domain domain() const { return {product == "T2", year}; }
  /// --year or --every-year was given.
  bool yearSaid() const { return year != 0 || everyYear; }
};

/// A table for people, an array of objects for programs.
void print(const Said& said, const std::vector<std::string>& names,
           const std::vector<std::vector<Field>>& rows);

/// A value on one line: a text as it is, anything else as its JSON.
std::string shownValue(const std::string& json);

/// Makes the change and tells its number, or with --dry-run says which desks it would change.
Exit perform(Connection& server, const Said& said, const Statement& statement);
/// The same for a batch; none is nothing to change.
Exit perform(Connection& server, const Said& said, const std::vector<Entry>& batch);

}  // namespace optionsmgr::firm
