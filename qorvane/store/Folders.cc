#include "qorvane/store/Folders.h"

#include <string>

#include "qorvane/desktop/Bundle.h"
#include "qorvane/desktop/FileManager.h"
#include "qorvane/siblings/ApplicationSupport.h"
#include "qorvane/siblings/PathUtils.h"
#include "qorvane/store/Options.h"

namespace qorvane::inline v1 {

namespace {

// The two joined as path components, with one separator between.
Text joined(std::string_view folder, std::string_view name) {
  while (folder.ends_with('/')) folder.remove_suffix(1);
  while (name.starts_with('/')) name.remove_prefix(1);
  return Text(std::string(folder).append("/").append(name));
}

}  // namespace

Text thisYear(const Running& now) { return Text(std::to_string(now.YOR())); }
Text previousYear(const Running& now) { return Text(std::to_string(now.YOR() - 1)); }

Text yearRoot(const Running& now, const Text& year) {
  const Text documents = PathUtils::userDocumentsPath();
  if (documents.isNil()) return "";
  const Text suite = joined(documents, "/Qorvane");
  ensureFolder(now, suite);
  const Text root = joined(suite, year);
  ensureFolder(now, root);
  return root;
}

Text byProduct(const Running& now, Text personal, Text corporate) {
  return now.isT2() ? corporate : personal;
}

Text folderBelow(const Text& root, const Text& prefix, const Text& name) {
  return Text(root.string().append(prefix).append(name));
}

void ensureFolder(const Running& now, const Text& path) {
  if (!now.makesFolders()) return;
  // A default without its documents folder would be made at the root of the file system.
  if (path.view().rfind('/') == 0 && PathUtils::hasNoWordsForDocuments()) return;
  FileManager& files = FileManager::defaultManager();
  if (!files.fileExistsAtPath(path)) files.createDirectoryAtPath(path, true);
}

Text Options::applicationUserFolder() { return applicationSupportDirectory(); }
Text Options::rootPath() { return yearRoot(StoreAccess(*this).running(), currentYear()); }
Text Options::lastYearRootPath() { return yearRoot(StoreAccess(*this).running(), lastYear()); }
Text Options::userDataPath() { return rootPath(); }

Text Options::helpFile() try {
  // The ".." is for whoever opens the file to resolve.
  return joined(Bundle::mainBundle().bundlePath(),
                IsEfile() ? "../Help/QorvaneProHelp.chm" : "../Help/QorvaneHelp.chm");
} catch (const Exception&) {
  return "";
}

}  // namespace qorvane::inline v1
