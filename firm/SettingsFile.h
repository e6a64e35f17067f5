// Settings in files: those of a place, written for people and for Git, and those that a desk, a layer's
// folder or a person has written.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>

#include "firm/Desk.h"
#include "qorvane/foundation/Dictionary.h"

namespace optionsmgr::firm {

struct SettingsFile {
  /// The path of the place that it is of; empty where it does not say.
  std::string place;
  std::map<Domain, qorvane::Dictionary> settings;
  /// Entries of a JSON text under the names of options.
  qorvane::Dictionary named;
  /// Stored keys, or "*".
  std::map<Domain, std::set<std::string>> locked;
};

/// Reads a property list or JSON; "-" is standard input. Of a desk's own settings only the entries that
/// somebody chose are taken, unless `all`: every program that loads settings stores defaults among them. A
/// file that has locks, tells of origins or names its place is no desk's, and what it says was all meant.
/// Throws optionsmgr::Failure as the tool does for such a file, or FirmFailure.
SettingsFile readSettingsFile(const std::string& path, bool all);

/// The settings as JSON with everything in order, so that the same settings are the same bytes.
std::string bytesOf(const SettingsFile& file);

/// Where a place's settings go below a folder: a file of its name in the folders of those above it.
std::string fileOfPlace(const std::string& path);

}  // namespace optionsmgr::firm
