// The settings of one product and tax year, as they stand in the preference files: reading them as entries
// and as options, and changing several of them as one step.
#pragma once

#include <compare>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/store/OptionTable.h"
#include "tool/Session.h"

namespace optionsmgr {

/// A product and a tax year: one file of the store.
struct Domain {
  bool corporate = false;
  int year = 0;

  /// The settings domain key: "QorvaneT1Settings2020".
  qorvane::Text key() const;
  /// For people: "T1 2020".
  std::string name() const;
  /// The domain of such a key.
  static std::optional<Domain> fromKey(std::string_view key);

  friend auto operator<=>(const Domain&, const Domain&) = default;
};

/// The domain that the session's common options name.
Domain domainOf(const Session& session);

/// Those with a file in the store, in order.
std::vector<Domain> storedDomains(Session& session);

/// The entries of the domain as they are on the disk; none without a file. Throws Failure when the file is
/// damaged or cannot be read, and leaves it as it is.
std::optional<qorvane::Dictionary> storedEntries(Session& session, const Domain& domain);

/// An option as a domain's entries have it.
struct OptionState {
  const qorvane::OptionRow* row = nullptr;
  qorvane::Text key;        ///< Nil for a derived answer.
  bool stored = false;      ///< There is an entry under the key.
  bool isDefault = false;   ///< Reads as its default.
  bool unreadable = false;  ///< Its entry is one that its accessors refuse; there is no value then.
  qorvane::Value value;
};

/// Every option of the table, in its order, for a store of that domain with those entries.
std::vector<OptionState> optionStates(Session& session, const Domain& domain,
                                      const qorvane::Dictionary& entries);

/// What the domains' entries are to become.
using Changes = std::map<Domain, qorvane::Dictionary>;

/// Makes all the changes or, when one fails, none: those already made are put back. Called with the lock
/// held. Several files cannot be changed in one moment, so what is to be undone is written down first, in
/// the folder .unfinished of the store; when the tool is killed meanwhile, its next run finds the note and
/// puts the files back (`undoUnfinished`). Throws Failure when nothing was changed, and says so when
/// something could not be put back.
void changeAll(Session& session, const Changes& changes);

/// Puts back what a run that was killed had changed. A file that somebody changed after it stays as it is.
/// Answers whether there was anything; throws Failure when there was and it could not be done.
bool undoUnfinished(Session& session);

}  // namespace optionsmgr
