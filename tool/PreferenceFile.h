// Preference files that people hand over: settings of one or several products and years in one property list
// or JSON text (tool/JsonText.h), to and from files and pipes.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "tool/Domains.h"

namespace optionsmgr {

struct PreferenceFile {
  std::map<Domain, qorvane::Dictionary> settings;
  /// Which of their entries are noted as chosen (qorvane::Settings), where any are.
  std::map<Domain, qorvane::Value> chosen;
  /// Entries of a JSON text under the names of options, for the product and year that are asked for.
  qorvane::Dictionary named;
  /// Products and years that hold something else than a dictionary.
  std::vector<Domain> broken;
  /// Names of the top-level entries that are no product's and year's.
  std::vector<std::string> others;
};

/// Reads a binary or XML property list or JSON; "-" is standard input. Throws Failure: not found, no
/// permission, bad data with what is wrong and where.
PreferenceFile readPreferenceFile(const std::string& path);

/// All of a file, or of standard input for "-". Throws Failure as `readPreferenceFile`.
std::string bytesOfFile(const std::string& path);

enum class ExchangeForm : std::uint8_t { Binary, Xml, JsonText };

/// The settings as a file of that form, with what is noted of them as chosen: an array or, of several
/// products and years, a dictionary of arrays under their keys. Notes without an entry are left out. In JSON
/// a flag that is stored in one of its two ways is true or false. Throws Failure (bad data) for what the form
/// cannot hold.
std::string preferenceFileBytes(Session& session, const std::map<Domain, qorvane::Dictionary>& settings,
                                const std::map<Domain, qorvane::Value>& chosen, ExchangeForm form);

}  // namespace optionsmgr
