#include "firm/OptionEntries.h"

#include <optional>

#include "firm/Words.h"
#include "qorvane/desktop/MemoryFileManager.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "tool/EntryForm.h"
#include "tool/OptionText.h"
#include "tool/speech/Language.h"

namespace optionsmgr::firm {

using qorvane::Dictionary;
using qorvane::OptionRow;
using qorvane::Product;
using qorvane::Text;
using qorvane::Value;

namespace {

// A setter needs some year to run in; what it stores is not the year's.
Product productOf(const Domain& domain) {
  return {.corporate = domain.corporate, .taxYear = domain.year != 0 ? domain.year : 2024};
}

// A store of the domain in which setters and checks run. Nothing of the administrator's own settings is read
// or written, not even by the words of a list, which ask for the display language.
class Workshop {
 public:
  explicit Workshop(const Domain& domain)
      : noFiles_(&files_),
        noSettings_(&memory_),
        running_(productOf(domain)),
        options_(memory_, productOf(domain)) {
    options_.loadOptions();
  }
  qorvane::Options& options() { return options_; }

 private:
  qorvane::MemoryFileManager files_;
  qorvane::ScopedFileManager noFiles_;
  qorvane::MemoryUserDefaults memory_;
  qorvane::ScopedUserDefaults noSettings_;
  qorvane::ScopedProduct running_;
  qorvane::Options options_;
};

}  // namespace

const OptionRow& settableOption(std::string_view name) {
  const OptionRow* const row = qorvane::findProperty(name);
  if (!row) throw FirmFailure(Exit::NotFound, Word::noSuchOption, name);
  if (row->secret) throw FirmFailure(Exit::NoPermission, Word::secretRefused, name);
  if (row->machineSpecific) throw FirmFailure(Exit::NoPermission, Word::machineRefused, name);
  if (!row->write) throw FirmFailure(Exit::Usage, Word::notSettable, name);
  return *row;
}

Dictionary entriesFor(const OptionRow& row, std::string_view words, const Domain& domain, bool force) {
  Workshop workshop(domain);
  const Value value = parsedFor(row, words, force);
  if (const auto refused = force ? std::nullopt : row.check(value, &workshop.options()))
    throw FirmFailure(Exit::BadData, Word::doesNotPass, row.name,
                      refused->reason(optionsmgr::language()).string());
  row.write(workshop.options(), value);
  Dictionary entries;
  for (const Text& key : row.entries())
    if (const Value* const stored = workshop.options().options()->find(key.view())) entries.set(key, *stored);
  return entries;
}

Taken takenFrom(const Dictionary& given, const Domain& domain, bool force) {
  Workshop workshop(domain);
  for (const auto& [key, value] : given) workshop.options().options()->set(key, value);
  Taken taken;
  for (const auto& [key, value] : given) {
    const OptionRow* const owner = ownerOf(key);
    if (owner && (owner->secret || owner->machineSpecific)) {
      taken.leftOut.emplace_back(owner->name);
      continue;
    }
    const Formed formed = owner                          ? formedEntry(*owner, value, workshop.options())
                          : qorvane::isDerivedEntry(key) ? formedDerivedEntry(value)
                                                         : Formed{value, std::nullopt};
    if (formed.objection && !(force && formed.objection->mayBeForced))
      taken.objections += "\n  " + domain.name() + ", " + key.string() + ": " + formed.objection->why;
    else
      taken.entries.set(key, formed.objection ? value : formed.entry);
  }
  return taken;
}

std::vector<std::string> keysOf(const OptionRow& row, const Domain& domain) {
  std::vector<std::string> keys;
  for (const Text& key : row.entries(productOf(domain))) keys.push_back(key.string());
  return keys;
}

std::string nameOfKey(const std::string& key, bool corporate) {
  for (const OptionRow& row : qorvane::optionTable())
    if ((corporate ? row.corporateKey : row.personalKey) == key) return std::string(row.name);
  return key;
}

}  // namespace optionsmgr::firm
