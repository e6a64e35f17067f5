#include "tool/PreferenceFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <optional>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tool/EntryForm.h"
#include "tool/Failure.h"
#include "tool/JsonText.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::Number;
using qorvane::PropertyListFormat;
using qorvane::Value;

namespace {

std::string allOf(int file, const std::string& name) {
  // Settings are some kilobytes; more than this is another kind of file.
  constexpr std::size_t kLargest = std::size_t{1} << 28;
  std::string bytes;
  std::array<char, 65536> block;
  for (;;) {
    const ssize_t got = read(file, block.data(), block.size());
    if (got == 0) return bytes;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw Failure(exitFor(errno), say("cannot read {}: {}", name, systemReason(errno)));
    bytes.append(block.data(), static_cast<std::size_t>(got));
    if (bytes.size() > kLargest) throw Failure(Exit::BadData, say("{} is too large for settings", name));
  }
}

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool looksLikeJson(std::string_view bytes) {
  if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  return first != bytes.npos && (bytes[first] == '{' || bytes[first] == '[');
}

// The flags of the domain as JSON has them.
Dictionary withTruths(Session& session, const Domain& domain, Dictionary entries) {
  const qorvane::ScopedProduct product(session.product(domain.corporate, domain.year));
  for (const qorvane::OptionRow& row : qorvane::optionTable()) {
    const Value* entry = row.key().isNil() ? nullptr : entries.find(row.key().view());
    if (const auto truth = entry ? flagOf(row, *entry) : std::nullopt) entries.set(row.key(), Number(*truth));
  }
  return entries;
}

constexpr qorvane::Text kChosen = "Chosen";

// Takes over what such an entry of the top level notes of each product's and year's settings.
void takeNotes(const Value& noted, PreferenceFile& file) {
  for (const auto& [domain, entries] : file.settings) {
    const Dictionary* const each = noted.asDictionary();
    const Value* const own = each ? each->find(domain.key().view()) : &noted;
    if (Value chosen = own ? chosenAmong(*own, entries) : Value(); !chosen.isNil())
      file.chosen[domain] = std::move(chosen);
  }
}

Value notesOf(const std::map<Domain, Dictionary>& settings, const std::map<Domain, Value>& chosen) {
  Dictionary each;
  for (const auto& [domain, entries] : settings)
    if (const auto noted = chosen.find(domain); noted != chosen.end())
      each.set(domain.key(), chosenAmong(noted->second, entries));
  if (each.empty()) return {};
  return settings.size() == 1 ? each.begin()->value : Value(each);
}

}  // namespace

std::string bytesOfFile(const std::string& path) {
  if (path == "-") return allOf(STDIN_FILENO, say("standard input"));
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0)
    throw Failure(errno == ENOENT || errno == ENOTDIR ? Exit::NotFound : exitFor(errno),
                  say("cannot open {}: {}", path, systemReason(errno)));
  const std::unique_ptr<const int, void (*)(const int*)> closing(&file,
                                                                 [](const int* open) { close(*open); });
  return allOf(file, path);
}

PreferenceFile readPreferenceFile(const std::string& path) {
  const std::string bytes = bytesOfFile(path);
  const bool isJson = looksLikeJson(bytes);
  const auto refuse = [&](const std::string& why) {
    throw Failure(Exit::BadData, say("{} is no property list and no JSON: {}", path, why));
  };
  Value top;
  try {
    top = isJson ? valueFromJson(bytes) : qorvane::readPropertyList(bytes);
  } catch (const qorvane::Exception& error) {
    refuse(told(error.failure()));
  } catch (const Failure& failure) {
    refuse(failure.what());
  }
  PreferenceFile file;
  if (!top.asDictionary()) throw Failure(Exit::BadData, say("{} holds no dictionary of settings", path));
  for (const auto& [key, value] : *top.asDictionary())
    if (const auto domain = Domain::fromKey(key); domain && value.asDictionary())
      file.settings[*domain] = *value.asDictionary();
    else if (domain)
      file.broken.push_back(*domain);
    else if (isJson && qorvane::findProperty(key))
      file.named.set(key, value);
    else if (key != kChosen)
      file.others.push_back(key.string());
  if (const Value* const noted = top.asDictionary()->find(kChosen.view())) takeNotes(*noted, file);
  if (file.settings.empty() && file.broken.empty() && file.named.empty())
    throw Failure(Exit::BadData, say("{} holds no settings of a product and year", path));
  return file;
}

std::string preferenceFileBytes(Session& session, const std::map<Domain, Dictionary>& settings,
                                const std::map<Domain, Value>& chosen, ExchangeForm form) try {
  Dictionary top;
  for (const auto& [domain, entries] : settings)
    top.set(domain.key(), form == ExchangeForm::JsonText ? withTruths(session, domain, entries) : entries);
  top.set(kChosen, notesOf(settings, chosen));
  if (form == ExchangeForm::JsonText) return jsonFromValue(top);
  return writePropertyList(top,
                           form == ExchangeForm::Xml ? PropertyListFormat::Xml : PropertyListFormat::Binary);
} catch (const qorvane::Exception& error) {
  throw Failure(Exit::BadData, say("these settings cannot be said in this form: {}", told(error.failure())));
}

}  // namespace optionsmgr
