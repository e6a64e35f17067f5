#include "qorvane/preferences/Layers.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <mutex>
#include <new>
#include <set>

#include "qorvane/desktop/BaseDirectories.h"
#include "qorvane/desktop/Log.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/FileException.h"
#include "qorvane/preferences/LockedFolder.h"
#include "qorvane/preferences/OpenFile.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/preferences/SystemCalls.h"
#include "qorvane/propertylist/PropertyList.h"

namespace qorvane::inline v1 {

namespace {

constexpr std::string_view kBelow = "Qorvane";
// An office has a handful; a variable of a thousand names is somebody's accident.
constexpr std::size_t kMostFolders = 64;
constexpr std::size_t kLargestFile = std::size_t{16} << 20;

// A layer is read at each load, and what is wrong with it does not change between them: one line tells it
// once.
void logOnce(const std::string& line) noexcept try {
  static std::mutex& guard = *new std::mutex;
  static std::set<std::string>& told = *new std::set<std::string>;
  const std::lock_guard lock(guard);
  if (told.insert(line).second) log(Text(line));
} catch (const std::bad_alloc&) {
}

void leaveOut(const std::string& path, std::string_view why) noexcept try {
  logOnce(path + " is left out of the settings: " + std::string(why));
} catch (const std::bad_alloc&) {
}

// Nothing stands there that could count, and no try again would change that.
bool isAbsent(int error) { return error == ENOENT || error == ENOTDIR; }
bool isForeign(int error) { return error == EACCES || error == ELOOP || error == ENXIO || error == EPERM; }

// Whether nobody but root and the owner could have changed it; otherwise it is left out.
bool isTrusted(const struct stat& status, uid_t owner, const std::string& path) {
  const bool ours = status.st_uid == 0 || status.st_uid == owner;
  if (ours && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0) return true;
  leaveOut(path, ours ? "others could change it" : "it belongs to another user");
  return false;
}

// Opens what may be a layer's folder or file: false when it does not count. Throws when it cannot be told.
bool opens(const OpenFile& file, const std::string& path, uid_t owner, SystemCalls& calls,
           struct stat& status) {
  if (!file) {
    if (isForeign(errno)) leaveOut(path, "it may not be opened, or is a link");
    if (isAbsent(errno) || isForeign(errno)) return false;
    throw FileException(FailureCode::cannotOpen, {Text(path)}, errno);
  }
  if (calls.fstat(file.descriptor(), &status) != 0)
    throw FileException(FailureCode::cannotExamine, {Text(path)}, errno);
  return isTrusted(status, owner, path);
}

// Whoever can change the folder that `current` stands in can turn it.
bool isTrustedFolder(const std::string& path, uid_t owner, SystemCalls& calls) {
  struct stat status;
  if (calls.stat(path.c_str(), &status) == 0) return isTrusted(status, owner, path);
  if (isAbsent(errno) || isForeign(errno)) return false;
  throw FileException(FailureCode::cannotExamineFolder, {Text(path)}, errno);
}

// The top-level dictionary of the property list of that name; empty when it does not count.
Value listIn(const OpenFile& folder, const std::string& path, const std::string& name, uid_t owner,
             SystemCalls& calls, KnownLayerFiles* known) {
  const std::string whole = path + "/" + name;
  struct stat status;
  // Without O_NONBLOCK a named pipe in the file's place would hold the caller up for ever.
  OpenFile file(calls, folder, name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  if (!opens(file, whole, owner, calls, status)) return Dictionary();
  if (!S_ISREG(status.st_mode) || static_cast<std::uint64_t>(status.st_size) > kLargestFile) {
    leaveOut(whole, S_ISREG(status.st_mode) ? "it is too large" : "it is no file");
    return Dictionary();
  }
  std::string bytes;
  if (!file.read(bytes, static_cast<std::size_t>(status.st_size)))
    throw FileException(FailureCode::cannotRead, {Text(whole)}, errno);
  if (const Value* const top = known ? known->find(whole, bytes) : nullptr) return *top;
  if (checkSeal(bytes).state == SealState::Broken) {
    leaveOut(whole, "it is damaged: its checksum is wrong");
    return Dictionary();
  }
  try {
    Value top = readPropertyList(bytes);
    if (!top.asDictionary()) {
      leaveOut(whole, "it is no dictionary");
      return Dictionary();
    }
    if (known) known->keep(whole, std::move(bytes), top);
    return top;
  } catch (const Exception& error) {
    leaveOut(whole, error.what());
    return Dictionary();
  }
}

// The dictionary under the key; an empty one where there is none.
Value dictionaryIn(const Dictionary& top, std::string_view key) {
  const Value* const found = top.find(key);
  return found && found->asDictionary() ? *found : Value(Dictionary());
}

// The number of the user whom root's Firm.plist names, by name or number; none when there is no such user.
std::optional<uid_t> userNamed(const Text& owner) {
  uid_t number = 0;
  const std::string_view digits = owner;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error == std::errc() && end == digits.data() + digits.size()) return number;
  char strings[4096];
  struct passwd entry;
  struct passwd* found = nullptr;
  if (getpwnam_r(owner.c_str(), &entry, strings, sizeof strings, &found) != 0 || !found) return std::nullopt;
  return found->pw_uid;
}

Text textIn(const Dictionary& dictionary, std::string_view key) {
  const Value* value = dictionary.find(key);
  return value ? value->textValue() : Text();
}

std::vector<std::string> machineFolders() {
  const char* listed = std::getenv("XDG_CONFIG_DIRS");
  std::string_view rest = listed && *listed ? listed : "/etc/xdg";
  std::vector<std::string> folders;
  while (!rest.empty() && folders.size() < kMostFolders) {
    const std::size_t end = std::min(rest.find(':'), rest.size());
    if (rest.starts_with('/')) {
      std::string folder = std::string(rest.substr(0, end)) + "/" + std::string(kBelow);
      if (std::ranges::find(folders, folder) == folders.end()) folders.push_back(std::move(folder));
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  if (!rest.empty())
    leaveOut(std::string(rest.substr(0, rest.find(':'))) + " and all behind it in XDG_CONFIG_DIRS",
             "too many folders");
  return folders;
}

// What root says of the firm in the first machine folder that says anything; empty when it does not.
Dictionary firmByRoot(const std::vector<std::string>& machine, SystemCalls& calls) {
  for (const std::string& path : machine) {
    struct stat status;
    OpenFile folder(calls, path, O_RDONLY | O_DIRECTORY);
    if (!folder || !opens(folder, path, 0, calls, status)) continue;
    const Value firm = listIn(folder, path, "Firm.plist", 0, calls, nullptr);
    if (!firm.asDictionary()->empty()) return *firm.asDictionary();
  }
  return {};
}

}  // namespace

std::string_view everyYearKey(std::string_view key) {
  return key.substr(0, key.find_last_not_of("0123456789") + 1);
}

std::vector<LayerFolder> layerFolders(SystemCalls& calls) {
  std::vector<LayerFolder> folders;
  const uid_t me = calls.geteuid();
  const std::vector<std::string> machine = machineFolders();
  for (const std::string& path : machine) folders.push_back({LayerFolder::Kind::Machine, path, me});
  const Dictionary firm = firmByRoot(machine, calls);
  const Text folder = textIn(firm, "Folder"), owner = textIn(firm, "Owner");
  if (folder.view().starts_with('/')) {
    // Where root says where the firm's settings stand, nothing that the user could change stands for the
    // firm.
    if (const std::optional<uid_t> user = owner.isNilOrEmpty() ? 0 : userNamed(owner))
      folders.push_back({LayerFolder::Kind::Firm, folder.string() + "/current", *user});
    else
      leaveOut(folder.string(), "its owner is no user of this machine");
  } else if (const std::string state = statePath(); !state.empty()) {
    folders.push_back({LayerFolder::Kind::Firm, pathBelow(state, "Qorvane/firm/current"), me});
  }
  return folders;
}

const Value* KnownLayerFiles::find(const std::string& path, std::string_view bytes) const {
  const auto found = files_.find(path);
  return found != files_.end() && found->second.bytes == bytes ? &found->second.top : nullptr;
}
void KnownLayerFiles::keep(const std::string& path, std::string bytes, Value top) {
  files_.insert_or_assign(path, Known{std::move(bytes), std::move(top)});
}

std::optional<Layer> Layer::read(const LayerFolder& folder, const Text& key, SystemCalls& calls,
                                 KnownLayerFiles* known) {
  struct stat status;
  // Both files are read through the one open folder: whatever takes its place meanwhile, they belong
  // together.
  const OpenFile open(calls, folder.path, O_RDONLY | O_DIRECTORY);
  if (!opens(open, folder.path, folder.owner, calls, status)) return std::nullopt;
  if (folder.kind == LayerFolder::Kind::Firm && !isTrustedFolder(folderOf(folder.path), folder.owner, calls))
    return std::nullopt;
  Layer layer(folder, key);
  layer.enforced_ = status.st_uid == 0 || status.st_uid != calls.geteuid();
  const Text everyYear = everyYearKey(key);
  for (const Text& name : {key, everyYear}) {
    const Value list = listIn(open, folder.path, name.string() + ".plist", folder.owner, calls, known);
    const Dictionary& top = *list.asDictionary();
    (name == key ? layer.year_ : layer.everyYear_) = dictionaryIn(top, name);
    (name == key ? layer.origins_ : layer.everyYearOrigins_) = dictionaryIn(top, "Origins");
    const Value* locked = top.find("Locked");
    if (!locked || !locked->asArray()) continue;
    for (const Value& entry : *locked->asArray())
      if (const Text* entryKey = entry.asText()) {
        layer.locksAll_ |= entryKey->view() == "*";
        layer.locked_.set(*entryKey, Number(true));
      }
  }
  return layer;
}

std::optional<Layer::Entry> Layer::find(std::string_view entryKey) const {
  if (const Value* value = year().find(entryKey)) return Entry{value, false};
  if (const Value* value = everyYear().find(entryKey)) return Entry{value, true};
  return std::nullopt;
}

std::string Layer::file(bool everyYear) const {
  return folder_.path + "/" + std::string(everyYear ? everyYearKey(key_) : key_.view()) + ".plist";
}

Layers::Layers(std::vector<Layer> layers) : layers_(std::move(layers)) {
  lock_ = std::ranges::any_of(layers_,
                              [](const Layer& layer) { return layer.locksAll() || !layer.locked().empty(); });
}

Layers Layers::read(const std::vector<LayerFolder>& folders, const Text& key, SystemCalls& calls,
                    KnownLayerFiles* known) {
  std::vector<Layer> layers;
  for (const LayerFolder& folder : folders)
    if (std::optional<Layer> layer = Layer::read(folder, key, calls, known); layer && !layer->empty())
      layers.push_back(std::move(*layer));
  return Layers(std::move(layers));
}

bool Layers::has(std::string_view entryKey) const {
  return std::ranges::any_of(layers_, [&](const Layer& layer) { return layer.find(entryKey).has_value(); });
}

const Layer* Layers::lockOf(std::string_view entryKey) const {
  if (!lock_) return nullptr;
  bool held = false;
  for (std::size_t i = layers_.size(); i-- > 0;) {
    held |= layers_[i].find(entryKey).has_value();
    // Nothing to lock where neither this folder nor a farther one has the entry.
    if (!held || !layers_[i].locks(entryKey)) continue;
    return &layers_[i];
  }
  return nullptr;
}

Layers::Standing Layers::standing(std::string_view entryKey, const Value* user, bool chosen) const {
  Standing standing;
  standing.lock = lockOf(entryKey);
  if (user && chosen && !standing.lock) {
    standing.value = user;
    return standing;
  }
  // A lock is its folder's: what is nearer does not count.
  const std::size_t from = standing.lock ? static_cast<std::size_t>(standing.lock - layers_.data()) : 0;
  for (std::size_t i = from; i < layers_.size(); ++i)
    if (const std::optional<Layer::Entry> entry = layers_[i].find(entryKey)) {
      standing.value = entry->value;
      standing.layer = &layers_[i];
      standing.everyYear = entry->everyYear;
      return standing;
    }
  standing.value = user;
  return standing;
}

}  // namespace qorvane::inline v1
