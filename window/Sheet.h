// Sheet: the settings of one product and tax year in the window, with what the person changed and has not
// saved.
//
// What is typed is kept here, beside the settings and whatever the controls show, until it is saved or given
// up. So nothing of it is lost when the window shows something else, another program saves, or a save fails.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/store/OptionEdits.h"
#include "qorvane/store/Options.h"
#include "window/Items.h"

namespace optionsmgr::window {

/// What is to be said of a row first; the later, the more urgent.
enum class State : std::uint8_t { Default, Changed, Locked, Unsaved, Refused, Conflict };

/// A change that is not saved.
struct Edit {
  bool reset = false;
  qorvane::Value value;
  friend bool operator==(const Edit&, const Edit&) = default;
};

class Sheet {
 public:
  /// Reads the settings; `failure` tells whether they could be read.
  Sheet(qorvane::UserDefaults& store, const qorvane::Product& product);
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;

  const qorvane::Product& product() const { return product_; }
  /// "T1 2025".
  QString name() const;
  qorvane::Text key() { return options_.settingsDomainKey(); }
  const std::vector<Item>& items() const { return items_; }
  /// The row in which the option is shown, or null.
  const Item* itemOf(std::string_view option) const;

  /// Why the settings could not be read; then there is nothing to show.
  const std::optional<qorvane::Failure>& failure() const { return options_.loadFailure(); }
  /// Reads again what could not be read.
  void reload();

  /// What the control shows: the change, or what stands.
  qorvane::Value value(const Item& item) const;
  /// What stands, without the change. Nil for a colour whose entry is none (`isUnreadable`).
  qorvane::Value saved(const Item& item) const;
  bool isUnreadable(const Item& item) const;
  /// What it reads as when the person has not set it: what the firm or the machine sets, or else its default.
  qorvane::Value fallback(const Item& item) const { return reading(item).fallback; }
  /// Who keeps it from being changed; none where nobody does.
  const std::optional<qorvane::OptionOrigin::Lock>& lock(const Item& item) const {
    return reading(item).lock;
  }
  bool canBeSet(const Item& item) const { return item.canBeSet() && !lock(item); }
  /// Where what stands comes from, and all layers that it was read from; null where there are no farther
  /// ones.
  qorvane::OptionOrigin origin(const Item& item) const { return options_.origin(item.row->name); }
  std::shared_ptr<const qorvane::LayeredSettings> layers() const { return options_.layers(); }

  std::optional<Edit> edit(const Item& item) const;
  /// Makes it the row's change; none, or one that comes to what stands, is no change any more.
  void put(const Item& item, const std::optional<Edit>& edit);
  std::size_t unsaved() const { return edited_.size(); }

  /// Looks at every change again. A refusal is shown from then on, until its row is changed.
  void judge();
  const std::optional<qorvane::OptionEdits::Refusal>& refusal(const Item& item) const;
  void keepAnyway(const Item& item);
  /// What another program saved meanwhile in the place of the row's change; null where none did.
  const qorvane::Value* conflict(const Item& item) const;
  void keepMine(const Item& item);

  State state(const Item& item) const;

  /// Saves all changes as one step. False when it did not come about: they are all still here, and `blocked`
  /// or `saveFailure` says why.
  bool apply();
  enum class Blocked : std::uint8_t { Not, ByRefusal, ByConflict };
  Blocked blocked() const { return blocked_; }
  const std::optional<qorvane::Failure>& saveFailure() const { return edits_.failure(); }

  /// Takes in what others saved. Answers the rows that read differently or are in conflict now.
  std::vector<const Item*> refresh();

 private:
  struct Reading {
    qorvane::Value value;
    bool refused = false;
    qorvane::Value fallback;
    std::optional<qorvane::OptionOrigin::Lock> lock;
  };
  const Reading& reading(const Item& item) const;
  void noteConflicts();
  void forgetMovedLocks(std::vector<const Item*>& changed);

  qorvane::Product product_;
  qorvane::Options options_;
  qorvane::OptionEdits edits_;
  std::vector<Item> items_;
  std::map<const qorvane::OptionRow*, Edit> edited_;
  std::map<const qorvane::OptionRow*, std::optional<qorvane::OptionEdits::Refusal>> refusals_;
  // Typing on does not settle one, though the edits that are handed on forget it.
  std::map<const qorvane::OptionRow*, qorvane::Value> conflicts_;
  mutable std::map<const qorvane::OptionRow*, Reading> readings_;
  /// At the last look there were farther layers.
  bool layered_ = false;
  Blocked blocked_ = Blocked::Not;
};

}  // namespace optionsmgr::window
