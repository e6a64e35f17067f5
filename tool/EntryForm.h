// Entries that come from elsewhere: turned into the stored form of their option, or refused.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/store/OptionTable.h"
#include "tool/Domains.h"
#include "tool/Session.h"

namespace optionsmgr {

/// Why an entry is none for its option.
struct Objection {
  std::string why;
  /// It is of a stored form, but a value that the option does not know: who insists may store it.
  bool mayBeForced = false;
};

struct Formed {
  qorvane::Value entry;
  std::optional<Objection> objection;
};

/// The entry as the option stores it: a flag in any of the ways to say one, a choice by any of its labels, a
/// number for a text. The empty text, and what is in that form already, stays as it is. Its value is held to
/// the option's check; `store` has the other options, on which it may depend. For the running product.
Formed formedEntry(const qorvane::OptionRow& row, const qorvane::Value& entry, qorvane::Options& store);

/// The same for an entry that only follows an option's (qorvane::isDerivedEntry).
Formed formedDerivedEntry(const qorvane::Value& entry);

/// The truth that the entry is one of the two stored forms of, for a flag; none for any other entry.
std::optional<bool> flagOf(const qorvane::OptionRow& row, const qorvane::Value& entry);

/// The option's default as its entry holds it in that product, in words; "(none)" where nothing is stored.
std::string storedDefault(const qorvane::OptionRow& row, const qorvane::Product& product);

/// An entry of the application's own, which no option ever names.
inline bool isOfTheApplication(std::string_view key) { return key.starts_with("App."); }
/// An entry that neither an option nor the library nor the application has. For the running product.
bool isUnknownEntry(std::string_view key);

/// The option whose entry this is; null for a derived or an unknown one. For the running product.
const qorvane::OptionRow* ownerOf(std::string_view key);

/// Brings the entries that only follow others in line with them: the code and line of a province that was
/// `given` without them are made anew, those of one that is gone go, and the fonts' size goes when no font
/// name stands. What `given` has of them stays.
void settleDerived(Session& session, const Domain& domain, const qorvane::Dictionary& given,
                   qorvane::Dictionary& entries);

/// The entries that setting the option to the value, on the others, leaves in its places.
qorvane::Dictionary entriesFor(Session& session, const Domain& domain, const qorvane::OptionRow& row,
                               const qorvane::Value& value, const qorvane::Dictionary& others);

/// Removes the option's entry, and those that follow it alone.
void removeOption(qorvane::Dictionary& entries, const qorvane::OptionRow& row);

}  // namespace optionsmgr
