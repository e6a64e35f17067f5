// The settings of one product and tax year, as they stand in the preference files: reading them as entries
// and as options.
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

/// A product and a tax year: one file of the store. The year 0 is every year, which only layers have that are
/// set for many desks.
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

/// Those with a file in the folder, in order; none where there is no folder. Throws Failure when it cannot be
/// looked into.
std::vector<Domain> domainsIn(const std::string& folder);
/// Those with a file in the store, in order.
std::vector<Domain> storedDomains(Session& session);

/// The entries of the domain, from the bytes of its file that were found good; none without a file. While a
/// change of several years is unfinished, those from before it (tool/UnfinishedChange.h). Changes nothing and
/// takes no lock. Throws Failure when the file is damaged or cannot be read.
std::optional<qorvane::Dictionary> storedEntries(Session& session, const Domain& domain);

/// The same with what the file notes as chosen.
std::optional<qorvane::Settings> storedSettings(Session& session, const Domain& domain);

/// A store of the domain over those entries, nothing of which reaches the disk. While it lives the running
/// product is the domain's, so it lives within one function.
class DomainStore {
 public:
  DomainStore(Session& session, const Domain& domain, const qorvane::Dictionary& entries);
  qorvane::Options& options() { return store_; }

 private:
  qorvane::ScopedProduct running_;
  qorvane::MemoryUserDefaults memory_;
  qorvane::Options store_;
};

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

}  // namespace optionsmgr
