#include "firm/OptionEntries.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "firm/Words.h"
#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/desktop/MemoryFileManager.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/store/NSColorHexadecimalValue.h"
#include "qorvane/store/Options.h"
#include "tool/speech/Language.h"

namespace optionsmgr::firm {

using qorvane::Dictionary;
using qorvane::Number;
using qorvane::OptionRow;
using qorvane::OptionType;
using qorvane::Product;
using qorvane::Text;
using qorvane::Value;

namespace {

std::optional<bool> flagMeant(std::string_view words) {
  std::string low(words);
  std::ranges::transform(low, low.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 32) : c; });
  for (const char* const yes : {"true", "yes", "on", "1", "oui"})
    if (low == yes) return true;
  for (const char* const no : {"false", "no", "off", "0", "non"})
    if (low == no) return false;
  return std::nullopt;
}

template <class T>
std::optional<Value> numberMeant(std::string_view words) {
  T number{};
  const auto [end, error] = std::from_chars(words.data(), words.data() + words.size(), number);
  if (error != std::errc() || end != words.data() + words.size()) return std::nullopt;
  return Value(Number(number));
}

std::optional<Value> meant(const OptionRow& row, std::string_view words, const Product& product) {
  switch (row.type) {
    case OptionType::Flag:
      if (const auto flag = flagMeant(words)) return Value(Number(*flag));
      return std::nullopt;
    case OptionType::Integer:
      return numberMeant<std::int32_t>(words);
    case OptionType::Date:
      return words.empty() ? Value(Text("")) : numberMeant<double>(words);
    case OptionType::Font:
      if (const auto font = qorvane::fontFromText(words)) return Value(qorvane::fontText(font));
      return std::nullopt;
    case OptionType::Color:
      if (const auto color = qorvane::NSColorHexadecimalValue::nsColorFromHexadecimalValue(Text(words)))
        return Value(qorvane::archiveColor(*color));
      return std::nullopt;
    case OptionType::Text:
    case OptionType::Folder:
      break;
  }
  // Where nothing is chosen at first, it can be so again.
  const bool cleared = words.empty() && row.fallback(product) == Value(Text(words));
  if (row.choices && !cleared && !row.choices->meant(words)) return std::nullopt;
  return Value(row.meant(Text(words), product));
}

}  // namespace

const OptionRow& settableOption(std::string_view name) {
  const OptionRow* const row = qorvane::findProperty(name);
  if (!row) throw FirmFailure(Exit::NotFound, Word::noSuchOption, name);
  if (row->secret) throw FirmFailure(Exit::NoPermission, Word::secretRefused, name);
  if (row->machineSpecific) throw FirmFailure(Exit::NoPermission, Word::machineRefused, name);
  if (!row->write) throw FirmFailure(Exit::Usage, Word::notSettable, name);
  return *row;
}

Dictionary entriesFor(const OptionRow& row, std::string_view words, const Product& product, bool force) {
  if (!qorvane::detail::isWellFormedUtf8(words)) throw FirmFailure(Exit::BadData, Word::doesNotFit, row.name);
  // Nothing of the administrator's own settings is read or written, not even by the words of a list, which
  // ask for the display language.
  qorvane::MemoryFileManager files;
  const qorvane::ScopedFileManager noFiles(&files);
  qorvane::MemoryUserDefaults memory;
  const qorvane::ScopedUserDefaults noSettings(&memory);
  const auto value = meant(row, words, product);
  if (!value) throw FirmFailure(Exit::BadData, Word::doesNotFit, row.name);
  qorvane::Options options(memory, product);
  options.loadOptions();
  if (const auto refused = force ? std::nullopt : row.check(*value, product, &options))
    throw FirmFailure(Exit::BadData, Word::doesNotPass, row.name,
                      refused->reason(optionsmgr::language()).string());
  row.write(options, *value);
  Dictionary entries;
  for (const Text& key : row.entries(product))
    if (const Value* const stored = options.options()->find(key.view())) entries.set(key, *stored);
  return entries;
}

std::vector<std::string> keysOf(const OptionRow& row, const Product& product) {
  std::vector<std::string> keys;
  for (const Text& key : row.entries(product)) keys.push_back(key.string());
  return keys;
}

std::string nameOfKey(const std::string& key, bool corporate) {
  for (const OptionRow& row : qorvane::optionTable())
    if ((corporate ? row.corporateKey : row.personalKey) == key) return std::string(row.name);
  return key;
}

}  // namespace optionsmgr::firm
