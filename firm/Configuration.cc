#include "firm/Configuration.h"

#include <grp.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "firm/Words.h"
#include "qorvane/desktop/BaseDirectories.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/propertylist/PropertyList.h"

namespace optionsmgr::firm {

using qorvane::Dictionary;
using qorvane::Value;

namespace {

std::vector<std::string> candidates() {
  std::vector<std::string> paths;
  const char* const said = getenv("XDG_CONFIG_DIRS");
  std::string folders = said && *said ? said : "/etc/xdg";
  for (std::size_t at = 0, end = 0; at <= folders.size(); at = end + 1) {
    end = std::min(folders.find(':', at), folders.size());
    if (folders[at] == '/') paths.push_back(folders.substr(at, end - at) + "/Qorvane/Firm.plist");
  }
  if (const qorvane::Text own = qorvane::configDirectory(); !own.isNil())
    paths.push_back(qorvane::pathBelow(own, "Qorvane/Firm.plist").string());
  return paths;
}

std::string textUnder(const Dictionary& dictionary, const char* key) {
  const Value* value = dictionary.find(key);
  return value && value->asText() ? value->asText()->string() : std::string();
}

Configuration configurationIn(const std::string& path, const std::string& bytes) try {
  Configuration configuration;
  const Value top = qorvane::readPropertyList(bytes);
  if (!top.asDictionary()) throw FirmFailure(Exit::BadData, Word::badConfiguration, path);
  configuration.service = textUnder(*top.asDictionary(), "Service");
  configuration.folder = textUnder(*top.asDictionary(), "Folder");
  const Value* places = top.asDictionary()->find("Places");
  if (places && places->asDictionary())
    for (const auto& [who, place] : *places->asDictionary())
      configuration.places[who.string()] = place.textValue().string();
  return configuration;
} catch (const qorvane::Exception&) {
  throw FirmFailure(Exit::BadData, Word::badConfiguration, path);
}

}  // namespace

std::string Configuration::placeOfUser() const {
  const passwd* const user = getpwuid(geteuid());
  if (!user) return {};
  if (const auto own = places.find(user->pw_name); own != places.end()) return own->second;
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, getgroups(0, nullptr))));
  groups.resize(
      static_cast<std::size_t>(std::max(0, getgroups(static_cast<int>(groups.size()), groups.data()))));
  groups.push_back(user->pw_gid);
  for (const gid_t number : groups)
    if (const group* const known = getgrgid(number))
      if (const auto found = places.find("@" + std::string(known->gr_name)); found != places.end())
        return found->second;
  return {};
}

Configuration readConfiguration() {
  for (const std::string& path : candidates()) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
      if (access(path.c_str(), F_OK) == 0)
        throw FirmFailure(Exit::NoPermission, Word::badConfiguration, path);
      continue;
    }
    Configuration configuration = configurationIn(path, std::string(std::istreambuf_iterator<char>(in), {}));
    if (!configuration.service.empty()) setenv("PGSERVICE", configuration.service.c_str(), 1);
    return configuration;
  }
  return {};
}

}  // namespace optionsmgr::firm
