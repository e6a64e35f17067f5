#include "qorvane/store/Folders.h"

#include <string>

#include "qorvane/desktop/Bundle.h"
#include "qorvane/desktop/FileManager.h"
#include "qorvane/siblings/ApplicationSupport.h"
#include "qorvane/siblings/PathUtils.h"
#include "qorvane/siblings/QVSettings.h"
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

Text thisYear() { return Text(std::to_string(QVSettings::YOR())); }
Text previousYear() { return Text(std::to_string(QVSettings::YOR() - 1)); }

Text yearRoot(const Text& year) {
  const Text documents = PathUtils::userDocumentsPath();
  if (documents.isNil()) return "";
  const Text suite = joined(documents, "/Qorvane");
  ensureFolder(suite);
  const Text root = joined(suite, year);
  ensureFolder(root);
  return root;
}

Text byProduct(Text personal, Text corporate) { return QVSettings::isT2() ? corporate : personal; }

Text folderBelow(const Text& root, const Text& prefix, const Text& name) {
  return Text(root.string().append(prefix).append(name));
}

void ensureFolder(const Text& path) {
  FileManager& files = FileManager::defaultManager();
  if (!files.fileExistsAtPath(path)) files.createDirectoryAtPath(path, true);
}

Text Options::applicationUserFolder() { return applicationSupportDirectory(); }
Text Options::rootPath() { return yearRoot(currentYear()); }
Text Options::lastYearRootPath() { return yearRoot(lastYear()); }
Text Options::userDataPath() { return rootPath(); }

Text Options::helpFile() try {
  // The ".." is for whoever opens the file to resolve.
  return joined(Bundle::mainBundle().bundlePath(),
                IsEfile() ? "../Help/QorvaneProHelp.chm" : "../Help/QorvaneHelp.chm");
} catch (const Exception&) {
  return "";
}

}  // namespace qorvane::inline v1
