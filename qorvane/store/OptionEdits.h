// OptionEdits: what a person does in a window of settings, until it is applied as one step or dropped.
//
// Edits are collected by option name beside the store, which stays as it is. What differs from what the store
// then reads is set when they are applied, under the preference store's lock and over what others saved
// meanwhile: wholly, or not at all. Dropping the object changes nothing. Main thread only.
#pragma once

#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Failure.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Options;
struct OptionRow;

class OptionEdits {
 public:
  /// Edits of that store, which outlives this object and must be loaded for the product and year that it
  /// works for: without that nothing can be applied.
  explicit OptionEdits(Options& store) : store_(store) {}

  // Names are property names of the option table. One that it does not have throws Exception, as does an edit
  // of an option that cannot be set.

  /// What a form shows: the edit, or else what the option reads. Values are as those of Options::valueForKey:
  /// flags and integers as numbers, fonts as "name, size", colours as their archives. An option that nobody
  /// set is its default, also at the first read, and nothing is stored. A colour whose entry is none throws
  /// Exception.
  Value value(std::string_view name) const;

  /// The option is to read this. An earlier edit of it is replaced, what was settled of it included.
  void set(std::string_view name, const Value& value);
  /// The option is to be as if the user had not set it.
  void reset(std::string_view name);
  /// As if it had not been edited.
  void drop(std::string_view name);
  /// Also writes what reads so already, and notes it as chosen where a farther layer has the entry and it
  /// would not count as chosen by itself; and a reset leaves no entry of the user's, not even the default.
  /// For whoever sets an option on purpose, not because a form showed it.
  void setPinning(bool on) { pinning_ = on; }

  /// The edited options, in the order of the table.
  std::vector<Text> names() const;

  struct Refusal {
    Text name;
    Failure failure;
    /// `keepAnyway` may settle it.
    bool mayBeKept;
  };
  /// Every refusal that is open, in the order of the table: a value that the option's check refuses, as it
  /// would be with all edits made; one that is not in the option's form; two that would be values of one
  /// entry; and any edit of an option that a layer locks (FailureCode::optionLocked).
  std::vector<Refusal> check() const;
  /// The value is kept though the option's check refuses it. It settles no other refusal.
  void keepAnyway(std::string_view name);

  struct Conflict {
    Text name;
    /// What the edit would make it read, and what it reads now.
    Value mine;
    Value theirs;
  };
  /// The options whose value changed under their edit and that are not settled, in the order of the table.
  std::vector<Conflict> conflicts() const;
  /// The edit stands over the value that the option reads now.
  void keepMine(std::string_view name);
  /// The edit is dropped.
  void takeTheirs(std::string_view name) { drop(name); }

  /// While a refusal or a conflict is open, does nothing. Otherwise takes the lock, refreshes the store
  /// (which may bring conflicts: then it stops there), sets what differs from what is then read, in the order
  /// of the table, saves, and posts kPreferenceChangeEvt once if any option reads differently than before or
  /// a change of the program's own was still to be announced, print settings included; after it
  /// kStepFormsModeChangeEvt, if the steps mode changed. Then there are no edits any more.
  ///
  /// False, with `failure`, when it did not come about: the edits stay, nothing waits to be written by a
  /// later save that did not wait before, and the store's dictionary and its mark are as they were.
  bool apply();
  /// Why the last `apply` answered false; none after true.
  const std::optional<Failure>& failure() const { return failure_; }

 private:
  struct Edit {
    Value value;
    bool reset = false;
    bool keptAnyway = false;
    /// What the option read when it was edited or settled; none for an entry that its getter refuses.
    std::optional<Value> seen;
  };
  class Trial;
  class Rollback;

  const OptionRow& settable(std::string_view name) const;
  std::optional<Value> reading(const OptionRow& row) const;
  std::optional<Failure> obstacle() const;
  bool writeAll();

  Options& store_;
  // Rows of the table, whose order is that of their addresses.
  std::map<const OptionRow*, Edit> edits_;
  bool pinning_ = false;
  std::optional<Failure> failure_;
};

}  // namespace v1
}  // namespace qorvane
