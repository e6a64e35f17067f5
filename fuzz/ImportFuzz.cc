#include <fstream>
#include <iostream>
#include <stdexcept>

#include "fuzz/FuzzTargets.h"
#include "fuzz/Sandbox.h"
#include "tool/Domains.h"
#include "tool/Exchange.h"
#include "tool/Failure.h"
#include "tool/PreferenceFile.h"

namespace qorvane::fuzzing {

using optionsmgr::Failure;
using optionsmgr::ImportRequest;
using optionsmgr::Session;

namespace {

void require(bool truth, const char* what) {
  if (!truth) throw std::logic_error(what);
}

bool imported(Session& session, const ImportRequest& request) try {
  optionsmgr::importSettings(session, request, std::cout);
  return true;
} catch (const Failure&) {
  return false;
} catch (const FileException&) {
  return false;
}

}  // namespace

void fuzzImport(std::string_view bytes) {
  const Sandbox sandbox;
  ImportRequest request;
  request.file = sandbox.path() / "given";
  request.replace = bytes.size() % 2 == 1;
  std::ofstream(request.file, std::ios::binary) << bytes;
  const auto before = sandbox.files();
  optionsmgr::Settings settings;
  settings.folder = sandbox.store();
  settings.lockWait = 0;
  settings.json = bytes.size() % 3 == 0;
  Session session(settings);

  request.dryRun = true;
  const bool foreseen = imported(session, request);
  require(sandbox.files() == before, "a preview changed something");
  request.dryRun = false;
  const bool done = imported(session, request);
  require(done == foreseen, "the preview foretold something else");
  if (!done) {
    require(sandbox.files() == before, "an import that failed changed something");
    return;
  }
  // What was taken is there: taking it again changes nothing.
  const auto after = sandbox.files();
  require(imported(session, request), "what was imported is refused the second time");
  require(sandbox.files() == after, "what was imported is changed the second time");
  for (const auto& [name, held] : sandbox.files())
    require(name.ends_with(".plist"), "an import left something behind");
}

}  // namespace qorvane::fuzzing
