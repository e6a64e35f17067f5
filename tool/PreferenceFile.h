// Preference files that people hand over: settings of one or several products and years in one property list
// or JSON text, to and from files and pipes.
//
// The JSON has the entries as they are stored. What JSON has no form for is an object of one member:
// {"$data": base64}, {"$date": seconds since 2001}, {"$real": "nan", "inf" or "-inf"}, and {"$dictionary":
// {…}} for a dictionary that itself begins with a "$".
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "tool/Domains.h"

namespace optionsmgr {

struct PreferenceFile {
  std::map<Domain, qorvane::Dictionary> settings;
  /// Names of the top-level entries that are no product's and year's.
  std::vector<std::string> others;
};

/// Reads a binary or XML property list or JSON; "-" is standard input. Throws Failure: not found, no
/// permission, bad data with what is wrong and where.
PreferenceFile readPreferenceFile(const std::string& path);

enum class ExchangeForm { Binary, Xml, JsonText };

/// The settings as a file of that form. Throws Failure (bad data) for what the form cannot hold.
std::string preferenceFileBytes(const std::map<Domain, qorvane::Dictionary>& settings, ExchangeForm form);

/// Writes the bytes to the file, wholly or not at all, private to the user. Throws Failure.
void writeWholeFile(const std::string& path, std::string_view bytes);

qorvane::Value valueFromJson(const nlohmann::ordered_json& json);
nlohmann::ordered_json jsonFromValue(const qorvane::Value& value);

}  // namespace optionsmgr
