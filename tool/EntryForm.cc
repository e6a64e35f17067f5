#include "tool/EntryForm.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <unordered_map>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "tool/ColorText.h"
#include "tool/OptionText.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

using qorvane::Choice;
using qorvane::Dictionary;
using qorvane::Number;
using qorvane::OptionRow;
using qorvane::Options;
using qorvane::OptionType;
using qorvane::Text;
using qorvane::Value;

namespace {

constexpr Text kProvince = qorvane::optsStr_PreparerProvince;
constexpr Text kProvinceCode = qorvane::optsStr_PracPOCode;
constexpr Text kProvinceLine = qorvane::optsStr_PreparerProvinceAndPostalCode;
constexpr Text kFontSize = qorvane::optsStr_HeaderFontSize;
constexpr Text kFontNames[] = {qorvane::optsStr_HeaderFontName, qorvane::optsStr_FooterFontName};

Formed refused(const std::string& why, bool mayBeForced = false) {
  return {Value(), Objection{why, mayBeForced}};
}

bool isTruth(const Value& entry) {
  return entry.asNumber() && entry.asNumber()->kind() == Number::Kind::Boolean;
}

// What a flag stores for each truth.
Value flagEntry(const OptionRow& row, bool truth) {
  if (row.form == "YesNoForm") return truth ? Text("YES") : Text("NO");
  if (row.form == "OneZeroForm") return truth ? Text("1") : Text("0");
  if (row.form == "IntegerFlagForm") return Number(truth ? 1 : 0);
  return Number(truth);
}

Formed formedFlag(const OptionRow& row, const Value& entry) {
  if (flagOf(row, entry)) return {entry, std::nullopt};
  if (isTruth(entry)) return {flagEntry(row, entry.boolValue()), std::nullopt};
  if (entry.asText() || entry.asNumber())
    if (const auto truth = flagMeant(entry.textValue())) return {flagEntry(row, *truth), std::nullopt};
  return refused(say("it is neither true nor false"));
}

Formed formedInteger(const Value& entry) {
  const Text text = isTruth(entry) ? Text() : entry.textValue();
  std::int32_t number = 0;
  const char* const stop = text.view().data() + text.size();
  const auto [end, error] = std::from_chars(text.view().data(), stop, number);
  if (text.isNilOrEmpty() || error != std::errc() || end != stop)
    return refused(say("it is no whole number between -2147483648 and 2147483647"));
  return {text, std::nullopt};
}

Formed formedDate(const Value& entry) {
  if (entry.asNumber() && !isTruth(entry) && std::isfinite(entry.doubleValue())) return {entry, std::nullopt};
  if (const Text* text = entry.asText())
    if (const auto number = numberMeant(*text)) return {Number(*number), std::nullopt};
  return refused(say("it is no date: one is a finite number"));
}

Formed formedColor(const Value& entry) {
  if (const auto* archive = entry.asData()) try {
      static_cast<void>(qorvane::unarchiveColor(*archive));
      return {entry, std::nullopt};
    } catch (const qorvane::Exception& error) {
      return refused(say("it is no colour: {}", told(error.failure())));
    }
  if (const Text* text = entry.asText())
    if (const auto color = colorMeant(*text)) return {qorvane::archiveColor(*color), std::nullopt};
  return refused(say("it is no colour"));
}

Formed formedText(const OptionRow& row, const Value& entry) {
  if (!entry.asText() && (!entry.asNumber() || isTruth(entry))) return refused(say("it is no text"));
  const Text text = entry.textValue();
  if (row.type == OptionType::Folder && !text.view().starts_with('/'))
    return refused(say("it is no absolute path"), true);
  if (!row.choices) return {text, std::nullopt};
  const bool storesLabel = row.form.starts_with("LabelForm");
  if (const Choice* choice = row.choices->meant(text)) {
    if (!storesLabel) return {choice->neutral, std::nullopt};
    const bool isLabel = text == choice->english || text == choice->french;
    return {isLabel ? text : row.choices->languageSpecificValue(choice->neutral), std::nullopt};
  }
  return refused(say("it is none of its choices"), true);
}

}  // namespace

std::optional<bool> flagOf(const OptionRow& row, const Value& entry) {
  if (row.type != OptionType::Flag) return std::nullopt;
  for (const bool truth : {true, false})
    if (isIdentical(entry, flagEntry(row, truth))) return truth;
  return std::nullopt;
}

namespace {

Formed formedAs(const OptionRow& row, const Value& entry) {
  if (const Text* text = entry.asText(); text && text->isNilOrEmpty()) return {entry, std::nullopt};
  switch (row.type) {
    case OptionType::Flag:
      return formedFlag(row, entry);
    case OptionType::Integer:
      return formedInteger(entry);
    case OptionType::Date:
      return formedDate(entry);
    case OptionType::Color:
      return formedColor(entry);
    default:
      return formedText(row, entry);
  }
}

}  // namespace

Formed formedEntry(const OptionRow& row, const Value& entry, Options& store) {
  Formed formed = formedAs(row, entry);
  // What has no list is held to the option's check; those with one are looked up in it by their form.
  const bool asWritten = row.type == OptionType::Integer || (row.type == OptionType::Text && !row.choices);
  if (formed.objection || !asWritten) return formed;
  const Value value = row.type == OptionType::Integer ? Value(Number(formed.entry.intValue())) : formed.entry;
  if (const auto refusal = row.check(value, &store)) return refused(told(*refusal), true);
  return formed;
}

Formed formedDerivedEntry(const Value& entry) {
  if (!entry.asText() && (!entry.asNumber() || isTruth(entry))) return refused(say("it is no text"));
  return {entry.textValue(), std::nullopt};
}

std::string storedDefault(const OptionRow& row, const qorvane::Product& product) {
  const Value fallback = row.fallback(product);
  if (fallback.isNil()) return say("(none)");
  if (row.type == OptionType::Flag) return flagEntry(row, fallback.boolValue()).textValue().string();
  const std::string words = shown(row, fallback);
  return row.type == OptionType::Text || row.type == OptionType::Integer ? inQuotes(words) : words;
}

const OptionRow* ownerOf(std::string_view key) {
  using Owners = std::unordered_map<std::string_view, const OptionRow*>;
  const auto ownersIn = [](bool corporate) {
    Owners owners;
    for (const OptionRow& row : qorvane::optionTable())
      if (const Text& own = corporate ? row.corporateKey : row.personalKey; !own.isNil())
        owners.try_emplace(own.view(), &row);
    return owners;
  };
  static const Owners personal = ownersIn(false);
  static const Owners corporate = ownersIn(true);
  const Owners& owners = qorvane::QVSettings::isT2() ? corporate : personal;
  const auto owner = owners.find(key);
  return owner == owners.end() ? nullptr : owner->second;
}

bool isUnknownEntry(std::string_view key) {
  return !isOfTheApplication(key) && !qorvane::isDerivedEntry(key) && !ownerOf(key);
}

Dictionary entriesFor(Session& session, const Domain& domain, const OptionRow& row, const Value& value,
                      const Dictionary& others) {
  Dictionary without = others;
  removeOption(without, row);
  DomainStore trial(session, domain, without);
  // The read that finds no entry may answer otherwise than all later ones, which the setter is to meet.
  static_cast<void>(readIn(trial.options(), row));
  row.write(trial.options(), value);
  Dictionary made;
  for (const Text& key : row.entries())
    if (const Value* entry = trial.options().options()->find(key.view()))
      if (key == row.key() || qorvane::isDerivedEntry(key)) made.set(key, *entry);
  return made;
}

void settleDerived(Session& session, const Domain& domain, const Dictionary& given, Dictionary& entries) {
  const Value* province = entries.find(kProvince.view());
  const bool named = province && !province->textValue().isNilOrEmpty();
  if (given.find(kProvince.view()) || !named) {
    Dictionary made;
    if (named)
      made = entriesFor(session, domain, *qorvane::findProperty("preparerProvince"), province->textValue(),
                        entries);
    for (const Text& key : {kProvinceCode, kProvinceLine}) {
      if (given.find(key.view())) continue;
      entries.remove(key.view());
      if (const Value* entry = made.find(key.view())) entries.set(key, *entry);
    }
  }
  const bool fonts =
      std::ranges::any_of(kFontNames, [&](const Text& name) { return entries.find(name.view()); });
  if (!fonts && !given.find(kFontSize.view())) entries.remove(kFontSize.view());
}

void removeOption(Dictionary& entries, const OptionRow& row) {
  entries.remove(row.key().view());
  if (row.key() == kProvince) {
    entries.remove(kProvinceCode.view());
    entries.remove(kProvinceLine.view());
  }
  const bool isFont = std::ranges::find(kFontNames, row.key()) != std::end(kFontNames);
  if (isFont && std::ranges::none_of(kFontNames, [&](const Text& name) { return entries.find(name.view()); }))
    entries.remove(kFontSize.view());
}

}  // namespace optionsmgr
