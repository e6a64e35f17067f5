// Firm.plist: where the firm's server is and where its settings are kept here. The machine's, in the first
// folder of $XDG_CONFIG_DIRS that has one, else the user's.
#pragma once

#include <map>
#include <string>

namespace optionsmgr::firm {

struct Configuration {
  std::string service;  ///< Of libpq's service file; empty for what the environment says.
  std::string folder;   ///< For the states; empty for the usual one.
  std::map<std::string, std::string> places;  ///< From login, or "@" and a group, to a place's name or path.

  /// The place that is said for this process's user; empty when none is.
  std::string placeOfUser() const;
};

/// None of it where there is no such file. Throws FirmFailure for one that cannot be read. Hands the service
/// on to libpq.
Configuration readConfiguration();

}  // namespace optionsmgr::firm
