#include "tool/OptionText.h"
#include "tool/speech/Columns.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/jurisdictions/Jurisdictions.h"
#include "qorvane/jurisdictions/ProvinceCodeMapping.h"
#include "qorvane/store/NSColorHexadecimalValue.h"
#include "tool/ChoiceText.h"
#include "tool/ColorText.h"
#include "tool/Failure.h"
#include "tool/speech/Language.h"
#include "tool/speech/Plain.h"
#include "tool/speech/Suggest.h"

namespace optionsmgr {

using qorvane::Choice;
using qorvane::ChoiceList;
using qorvane::Number;
using qorvane::OptionRow;
using qorvane::OptionType;
using qorvane::Text;
using qorvane::Value;

std::optional<bool> flagMeant(std::string_view words) {
  constexpr std::string_view kTrue[] = {"true", "yes", "on", "1", "oui", "vrai"};
  constexpr std::string_view kFalse[] = {"false", "no", "off", "0", "non", "faux"};
  std::string low(words);
  std::ranges::transform(low, low.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  if (std::ranges::find(kTrue, low) != std::end(kTrue)) return true;
  if (std::ranges::find(kFalse, low) != std::end(kFalse)) return false;
  return std::nullopt;
}

namespace {

// The number that the words are, wholly.
template <class T>
std::optional<T> wholly(std::string_view words) {
  T number{};
  const char* end = words.data() + words.size();
  const auto [stop, error] = std::from_chars(words.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

[[noreturn]] void refuse(const OptionRow& row, std::string_view words, const std::string& wanted) {
  // What was typed for a secret is one.
  if (row.secret)
    throw Failure(Exit::BadData, say("this value does not fit {}: it takes {}", row.name, wanted));
  throw Failure(Exit::BadData, say("\"{}\" does not fit {}: it takes {}", words, row.name, wanted));
}

// No choice of the list is meant.
[[noreturn]] void refuseChoice(const OptionRow& row, const ChoiceList& list, std::string_view words) {
  std::string wanted;
  for (const Choice& choice : list.choices) {
    wanted += (wanted.empty() ? "" : ", ") + inQuotes(choice.neutral.view());
    const Text label = choice.label(language());
    if (label != choice.neutral) wanted += " (" + label.string() + ')';
  }
  refuse(row, words, wanted);
}

// The letters and digits alone, small and without accents: a desk's keyboard has no dash of the labels.
std::string plainly(std::string_view label) {
  std::string plain = plainLetters(label);
  std::erase_if(plain, [](char c) { return c == ' ' || c == '\''; });
  return plain;
}

// What is typed, or the label that it spells without regard to case, accents and punctuation.
std::string spelled(const OptionRow& row, std::string_view words) {
  const std::string plain = plainly(words);
  const auto isSpelled = [&](const Text& label) { return !plain.empty() && plainly(label.view()) == plain; };
  if (row.choices && !row.choices->meant(words))
    for (const Choice& choice : row.choices->choices)
      for (const Text& label :
           {choice.englishLabel, choice.frenchLabel, choice.english, choice.french, choice.neutral})
        if (isSpelled(label)) return choice.neutral.string();
  if (!row.choices && row.check(Text(words), nullptr))
    for (const qorvane::Jurisdiction& place : qorvane::jurisdictions())
      for (const Text& label : {place.englishLabel, place.frenchLabel, place.english, place.code})
        if (isSpelled(label) && !row.check(place.english, nullptr)) return place.english.string();
  return std::string(words);
}

}  // namespace

std::optional<double> numberMeant(std::string_view words) {
  const auto number = wholly<double>(words);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

Value parsedFor(const OptionRow& row, std::string_view words, bool forced) {
  if (!qorvane::detail::isWellFormedUtf8(words))
    throw Failure(Exit::BadData, say("the value for {} is not well-formed UTF-8", row.name));
  switch (row.type) {
    case OptionType::Flag:
      if (const auto flag = flagMeant(words)) return Number(*flag);
      refuse(row, words, say("true or false (or yes/no, oui/non, on/off, 1/0)"));
    case OptionType::Integer:
      if (const auto number = wholly<std::int32_t>(words)) return Number(*number);
      refuse(row, words, say("a whole number between -2147483648 and 2147483647"));
    case OptionType::Date:
      if (words.empty()) return Text("");
      if (const auto number = numberMeant(words)) return Number(*number);
      refuse(row, words, say("a date as the number that is stored, or an empty text for none"));
    case OptionType::Font:
      if (const auto font = qorvane::fontFromText(words)) return qorvane::fontText(font);
      refuse(row, words, say("a font's PostScript name and its size in points, such as \"Helvetica, 12\""));
    case OptionType::Color:
      if (const auto color = colorMeant(words)) return qorvane::archiveColor(*color);
      refuse(row, words, say("a colour, such as \"#CCFFFF\" or \"calibrated RGB 0.8 1 1 1\" (alpha last)"));
    case OptionType::Folder:
      if (words.empty() || words.starts_with('/') || forced) return Text(words);
      refuse(row, words, say("an absolute path"));
    case OptionType::Text:
      break;
  }
  const ChoiceList* list = row.choices;
  // Where nothing is chosen at first, it can be so again.
  const bool cleared = words.empty() && row.fallback() == Value(words);
  if (forced) return row.meant(Text(words));
  const std::string meant = spelled(row, words);
  if (list && !cleared && !list->meant(meant)) refuseChoice(row, *list, words);
  return row.meant(Text(meant));
}

std::string shown(const OptionRow& row, const Value& value) {
  if (row.type == OptionType::Flag) return value.boolValue() ? "true" : "false";
  if (row.type == OptionType::Color && value.asData())
    return colorText(qorvane::unarchiveColor(*value.asData()));
  return value.textValue().string();
}

Json shownAsJson(const OptionRow& row, const Value& value) {
  if (value.isNil()) return nullptr;
  if (row.type == OptionType::Flag) return value.boolValue();
  if (row.type == OptionType::Integer) return value.intValue();
  if (row.type == OptionType::Color && value.asData()) {
    const qorvane::Color color = qorvane::unarchiveColor(*value.asData());
    const Text code = qorvane::NSColorHexadecimalValue::hexadecimalValueOfAnNSColor(color);
    Json told{{"code", code.isNil() ? Json(nullptr) : Json(code.string())},
              {"space", std::string(spaceName(color.colorSpace()))}};
    if (color.hasComponents())
      told["components"] = std::vector<double>(color.components().begin(), color.components().end());
    return told;
  }
  if (const Number* number = value.asNumber(); number && row.type == OptionType::Date)
    return number->doubleValue();
  return value.textValue().string();
}

std::string plainEntry(const Value* entry) {
  if (!entry) return {};
  const Text text = entry->textValue();
  return text.isNil() ? "(" + std::string(translated(kindName(entry->kind()))) + ")" : text.string();
}

std::string masked(const OptionRow& row, const Value& value, bool showSecrets) {
  const std::string text = shown(row, value);
  return row.secret && !showSecrets && !text.empty() ? kMask : text;
}

Json maskedJson(const OptionRow& row, const Value& value, bool showSecrets) {
  const bool hidden = row.secret && !showSecrets && !shown(row, value).empty();
  return hidden ? Json(kMask) : shownAsJson(row, value);
}

Value readIn(qorvane::Options& store, const OptionRow& row) try {
  row.read(store);
  return row.read(store);
} catch (const qorvane::Exception& error) {
  throw unreadable(row, error);
}

Failure unreadable(const OptionRow& row, const qorvane::Exception& error) {
  return Failure(Exit::BadData, say("the entry {} cannot be read ({}); `optionsmgr reset {}` mends it",
                                    row.key().view(), told(error.failure()), row.name));
}

std::string inWords(const std::string& shown, bool isNil) {
  return isNil ? say("(none)") : shown.empty() ? say("(empty)") : oneLine(shown);
}

Phrase typeName(const OptionRow& row) {
  switch (row.type) {
    case OptionType::Flag:
      return "flag";
    case OptionType::Integer:
      return "integer";
    case OptionType::Date:
      return "date";
    case OptionType::Folder:
      return "folder";
    case OptionType::Font:
      return "font";
    case OptionType::Color:
      return "colour";
    case OptionType::Text:
      break;
  }
  return row.choices ? Phrase("choice") : Phrase("text");
}

namespace {

// clang-format off
constexpr Policy kReadPolicies[] = {
    {"Storing",          "stores-default",            "a missing entry is given the default"},
    {"StoringOverEmpty", "stores-default-over-empty", "a missing or empty entry is given the default"},
    {"NonStoring",       "answers-default",           "a missing entry stays missing and reads as the default"},
    {"ExistingFolder",   "makes-folder",              "a missing or empty entry reads as the default; the folder is made when it is missing"},
    {"",                 "own",                       "in a way of its own"},
};
constexpr Policy kWritePolicies[] = {
    {"Comparing",             "announces-change",              "a change is announced by the next save"},
    {"ComparingNilAsEmpty",   "announces-change",              "a change is announced by the next save"},
    {"ComparingAsEmpty",      "announces-change",              "a change is announced by the next save"},
    {"ComparingNilAsDefault", "announces-change-nil-default",  "a change is announced by the next save; no value means the default"},
    {"ComparingIdentity",     "announces-set",                 "setting it, even to the same, is announced by the next save"},
    {"ComparingNumber",       "announces-change",              "a change is announced by the next save"},
    {"ComparingNewColor",     "announces-change",              "a change is announced by the next save"},
    {"ComparingCurrentColor", "announces-change",              "a change is announced by the next save"},
    {"Direct",                "silent",                        "a change is not announced"},
    {"DirectNilIgnored",      "silent-nil-ignored",            "a change is not announced; no value changes nothing"},
    {"DirectNilAsDefault",    "silent-nil-default",            "a change is not announced; no value means the default"},
    {"DirectEmptyAsDefault",  "silent-empty-default",          "a change is not announced; no value and the empty text mean the default"},
    {"",                      "own",                           "in a way of its own"},
};
// clang-format on

const Policy& policyNamed(std::span<const Policy> policies, std::string_view kind) {
  // A template's arguments are no part of its name.
  const auto found = std::ranges::find(policies, kind.substr(0, kind.find('<')), &Policy::kind);
  return found == policies.end() ? policies.back() : *found;
}

}  // namespace

const Policy& readPolicy(const OptionRow& row) { return policyNamed(kReadPolicies, row.readKind); }
const Policy& writePolicy(const OptionRow& row) { return policyNamed(kWritePolicies, row.writeKind); }

namespace {

Phrase formOf(const OptionRow& row) {
  switch (row.type) {
    case OptionType::Flag:
      return "true or false (or yes/no, oui/non, on/off, 1/0)";
    case OptionType::Integer:
      return "a whole number between -2147483648 and 2147483647";
    case OptionType::Folder:
      return "an absolute path";
    case OptionType::Font:
      return "a font's name and size, such as \"Helvetica, 12\"";
    case OptionType::Color:
      return "a colour, such as \"#CCFFFF\" or \"calibrated RGB 0.8 1 1 1\"";
    case OptionType::Date:
      return "a number, or an empty text for none";
    case OptionType::Text:
      break;
  }
  return "any text";
}

}  // namespace

std::optional<qorvane::Failure> ruleOf(const OptionRow& row) {
  // A check tells its rule when it refuses; these are refused by any that has one.
  if (row.type == OptionType::Text && !row.choices) return row.check(Text("?"), nullptr);
  if (row.type == OptionType::Integer) return row.check(std::numeric_limits<std::int32_t>::min(), nullptr);
  return std::nullopt;
}

std::string rangeOf(const OptionRow& row, qorvane::Language language) {
  if (const auto rule = ruleOf(row)) return rule->reason(language).string();
  return std::string(translated(formOf(row).english(), language));
}

std::string nearestRight(std::string_view words, const qorvane::Failure& refusal) {
  using qorvane::FailureCode;
  std::vector<std::string> right;
  if (refusal.code == FailureCode::notMinutes) {
    const auto number = wholly<std::int32_t>(words);
    const bool below = number && *number < refusal.arguments.front().intValue();
    return say("; the nearest right one is {}",
               (below ? refusal.arguments.front() : refusal.arguments.back()).view());
  }
  if (refusal.code == FailureCode::notALanguage) right = {"English", "French"};
  if (refusal.code == FailureCode::notAJurisdiction)
    for (const Text& name : qorvane::ProvinceCodeMapping::provinceList()) right.push_back(name.string());
  return didYouMean(words, std::vector<std::string_view>(right.begin(), right.end()));
}

std::vector<std::string> facadeNamesOf(const OptionRow& row) {
  std::vector<std::string> names;
  for (const qorvane::FacadeName& name : row.facadeNames) names.emplace_back(name.getter);
  return names;
}

std::vector<std::string> relatedTo(const OptionRow& row) {
  std::vector<std::string> names;
  for (const OptionRow& other : qorvane::optionTable())
    if (&other != &row && !row.key().isNil() && other.key() == row.key()) names.emplace_back(other.name);
  return names;
}

Json factsAsJson(const OptionRow& row, const Value& value, bool showSecrets) {
  const bool entry = !row.key().isNil();
  const auto both = [](const auto& text) {
    return Json{{"english", text(qorvane::Language::English).string()},
                {"french", text(qorvane::Language::French).string()}};
  };
  Json facts{
      {"label", both([&](auto language) { return row.label(language); })},
      {"description", both([&](auto language) { return row.description(language); })},
      {"group", both([&](auto language) { return row.group().name(language); })},
      {"type", std::string(typeName(row).english())},
      {"value", maskedJson(row, value, showSecrets)},
      {"default", entry ? shownAsJson(row, row.fallback()) : Json(nullptr)},
      {"key", entry ? Json(row.key().string()) : Json(nullptr)},
      {"stored", entry ? Json(row.stored) : Json(nullptr)},
      {"read", entry ? Json(readPolicy(row).code) : Json(nullptr)},
      {"set", row.write ? Json(writePolicy(row).code) : Json(nullptr)},
      {"takes", row.write && !row.choices ? both([&](auto language) { return Text(rangeOf(row, language)); })
                                          : Json(nullptr)},
      {"secret", row.secret},
      {"machineSpecific", row.machineSpecific},
      {"facade", facadeNamesOf(row)},
      {"sameEntry", relatedTo(row)},
      {"choices", nullptr}};
  facts["group"]["id"] = std::string(row.group().id);
  if (const ChoiceList* list = row.choices)
    facts["choices"] = choicesAsJson(*list, row.fallback().textValue());
  return facts;
}

}  // namespace optionsmgr
