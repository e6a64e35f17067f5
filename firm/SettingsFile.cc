#include "firm/SettingsFile.h"

#include <algorithm>
#include <array>
#include <vector>

#include "firm/Words.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/LayerRule.h"
#include "qorvane/propertylist/PropertyList.h"
#include "qorvane/store/OptionTable.h"
#include "tool/Failure.h"
#include "tool/JsonText.h"
#include "tool/PreferenceFile.h"
#include "tool/speech/Language.h"

namespace optionsmgr::firm {

using qorvane::Array;
using qorvane::Dictionary;
using qorvane::Text;
using qorvane::Value;

namespace {

bool looksLikeJson(std::string_view bytes) {
  const std::size_t first = bytes.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  return first != bytes.npos && bytes[first] == '{';
}

Value topOf(const std::string& path, const std::string& bytes) try {
  return looksLikeJson(bytes) ? valueFromJson(bytes) : qorvane::readPropertyList(bytes);
} catch (const qorvane::Exception& error) {
  throw FirmFailure(Exit::BadData, Word::badFile, path, told(error.failure()));
} catch (const Failure& failure) {
  throw FirmFailure(Exit::BadData, Word::badFile, path, failure.what());
}

// The stored keys that a top-level array lists for the domain; a file of several has a dictionary of such
// arrays.
std::set<std::string> keysIn(const Dictionary& top, const char* name, const Domain& domain) {
  std::set<std::string> keys;
  const Value* listed = top.find(name);
  if (listed && listed->asDictionary()) listed = listed->asDictionary()->find(domain.key());
  if (listed && listed->asArray())
    for (const Value& key : *listed->asArray()) keys.insert(key.textValue().string());
  return keys;
}

bool isLayers(const Dictionary& top) {
  return top.find("Locked") || top.find("Origins") || top.find("Place");
}

Dictionary chosenOf(const Domain& domain, const Dictionary& entries, const std::set<std::string>& marked) {
  Dictionary chosen;
  for (const auto& [key, value] : entries)
    if (marked.contains(key.string()) || qorvane::optionLayerRule().isChosen(domain.key(), key.view(), value))
      chosen.set(key, value);
  return chosen;
}

Dictionary sorted(const Dictionary& entries) {
  std::vector<Text> keys;
  for (const auto& [key, value] : entries) keys.push_back(key);
  std::ranges::sort(keys);
  Dictionary all;
  for (const Text& key : keys) all.set(key, *entries.find(key.view()));
  return all;
}

}  // namespace

SettingsFile readSettingsFile(const std::string& path, bool all) {
  const std::string bytes = bytesOfFile(path);
  const Value top = topOf(path, bytes);
  SettingsFile file;
  if (!top.asDictionary()) throw FirmFailure(Exit::BadData, Word::noSettings, path);
  for (const auto& [key, value] : *top.asDictionary())
    if (const auto domain = Domain::fromKey(key); domain && value.asDictionary()) {
      const bool desks = domain->year != 0 && !isLayers(*top.asDictionary());
      file.settings[*domain] = desks && !all ? chosenOf(*domain, *value.asDictionary(),
                                                        keysIn(*top.asDictionary(), "Chosen", *domain))
                                             : *value.asDictionary();
      file.locked[*domain] = keysIn(*top.asDictionary(), "Locked", *domain);
    } else if (key == "Place") {
      file.place = value.textValue().string();
    } else if (looksLikeJson(bytes) && qorvane::findProperty(key)) {
      file.named.set(key, value);
    }
  if (file.place.empty() && file.settings.empty() && file.named.empty())
    throw FirmFailure(Exit::BadData, Word::noSettings, path);
  return file;
}

std::string bytesOf(const SettingsFile& file) {
  Dictionary top;
  if (!file.place.empty()) top.set("Place", Text(file.place));
  Dictionary locked;
  for (const auto& [domain, entries] : file.settings) {
    top.set(Text(domain.key()), sorted(entries));
    Array keys;
    if (const auto held = file.locked.find(domain); held != file.locked.end())
      for (const std::string& key : held->second) keys.emplace_back(Text(key));
    if (!keys.empty()) locked.set(Text(domain.key()), keys);
  }
  if (!locked.empty()) top.set("Locked", file.settings.size() == 1 ? locked.begin()->value : Value(locked));
  return jsonFromValue(top);
}

std::string fileOfPlace(const std::string& path) {
  std::string name;
  for (std::size_t i = 0; i < path.size(); ++i) {
    // No name may lead out of the folder, hide itself, or be another's escaped.
    const bool leads = path[i] == '.' && (i == 0 || path[i - 1] == '/');
    if (leads || path[i] == '%')
      name += leads ? "%2E" : "%25";
    else
      name += path[i];
  }
  return name + ".json";
}

}  // namespace optionsmgr::firm
