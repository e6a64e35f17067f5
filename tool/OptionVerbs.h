// The verbs that read and change options. Each prints its answer to `out` and throws Failure when it has
// none.
#pragma once

#include <ostream>
#include <string>

#include "tool/Session.h"

namespace optionsmgr {

struct ListRequest {
  std::string glob = "*";
  bool changedOnly = false;
  bool showSecrets = false;
};

void list(Session& session, const ListRequest& request, std::ostream& out);
void get(Session& session, const std::string& option, std::ostream& out);
void set(Session& session, const std::string& option, const std::string& words);
void reset(Session& session, const std::string& option);
void describe(Session& session, const std::string& option, bool showSecrets, std::ostream& out);
void restore(Session& session, std::ostream& out);

}  // namespace optionsmgr
