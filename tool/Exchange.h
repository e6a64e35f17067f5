// Taking settings over from a preferences file.
#pragma once

#include <ostream>
#include <string>

#include "tool/Session.h"

namespace optionsmgr {

struct ImportRequest {
  std::string file;          // "-" is standard input.
  bool dryRun = false;       // Only shows what would be done.
  bool replace = false;      // Settings that the file does not have go,
  bool secrets = false;      // passwords too,
  bool machine = false;      // printer and folders too.
  bool skipBad = false;      // Takes the rest of what has entries that are refused.
  bool force = false;        // Takes values that their options do not know.
  bool showSecrets = false;  // In what it reports.
};

/// Takes the file's settings into the store, those of every product and year or none, and reports them.
/// Throws Failure, with nothing changed.
void importSettings(Session& session, const ImportRequest& request, std::ostream& out);

}  // namespace optionsmgr
