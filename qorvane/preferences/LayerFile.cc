#include "qorvane/preferences/LayerFile.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/FileException.h"
#include "qorvane/preferences/Generations.h"
#include "qorvane/preferences/Layers.h"
#include "qorvane/preferences/LockedFolder.h"
#include "qorvane/preferences/OpenFile.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/preferences/StagedFile.h"
#include "qorvane/propertylist/PropertyList.h"

namespace qorvane::inline v1 {

namespace {

constexpr std::string_view kLocked = "Locked";
constexpr mode_t kReadByAll = 0644;
constexpr mode_t kEnteredByAll = 0755;
constexpr int kLockWait = 10'000;

void makeFolder(const std::string& folder, SystemCalls& calls) {
  if (calls.mkdir(folder.c_str(), kEnteredByAll) == 0) {
    // A umask may have taken the others' rights.
    if (calls.chmod(folder.c_str(), kEnteredByAll) == 0) return;
  } else if (errno == EEXIST) {
    return;
  } else if (errno == ENOENT && folderOf(folder) != folder) {
    makeFolder(folderOf(folder), calls);
    return makeFolder(folder, calls);
  }
  throw FileException(FailureCode::cannotCreateFolder, {folder}, errno);
}

}  // namespace

LayerFile::LayerFile(std::string folder, Text key, SystemCalls& calls)
    : folder_(std::move(folder)), key_(std::move(key)), calls_(calls) {}

std::string LayerFile::path() const { return folder_ + "/" + key_.string() + ".plist"; }

Dictionary LayerFile::top() const {
  OpenFile file(calls_, path(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  struct stat status;
  std::string bytes;
  if (!file) {
    if (errno == ENOENT || errno == ENOTDIR) return {};
    throw FileException(FailureCode::cannotOpen, {path()}, errno);
  }
  if (calls_.fstat(file.descriptor(), &status) != 0)
    throw FileException(FailureCode::cannotExamine, {path()}, errno);
  if (!S_ISREG(status.st_mode)) throw FileException(FailureCode::notAFile, {path()}, EINVAL);
  if (!file.read(bytes, static_cast<std::size_t>(status.st_size)))
    throw FileException(FailureCode::cannotRead, {path()}, errno);
  if (checkSeal(bytes).state == SealState::Broken) throw Exception({FailureCode::checksumBroken});
  Value top = readPropertyList(bytes);
  if (!top.asDictionary()) throw Exception({FailureCode::entryMissing, {key_}});
  return std::move(top).takeDictionary();
}

LayerFile::Contents LayerFile::read() const {
  const Dictionary found = top();
  Contents contents;
  if (const Value* const entries = found.find(key_.view()); entries && entries->asDictionary())
    contents.entries = *entries->asDictionary();
  if (const Value* const locked = found.find(kLocked); locked && locked->asArray())
    for (const Value& key : *locked->asArray())
      if (key.asText()) contents.locked.push_back(*key.asText());
  return contents;
}

void LayerFile::change(const std::function<void(Contents&)>& change) const {
  if (folder_.empty()) throw FileException(FailureCode::noPreferenceFolder, {}, ENOENT);
  makeFolder(folder_, calls_);
  LockedFolder folder(calls_, folder_, kLockWait);
  const Dictionary before = top();
  Contents contents = read();
  change(contents);
  Dictionary after = before;
  Array locked(contents.locked.begin(), contents.locked.end());
  const bool empty = contents.entries.empty() && locked.empty();
  after.set(Text(kLocked), locked.empty() ? Value() : Value(std::move(locked)));
  after.set(key_, Value(std::move(contents.entries)));
  if (isIdentical(before, after)) return;
  folder.requireHeld();
  if (!empty)
    StagedFile(calls_, folder_ + "/" + stagingName(key_.view()), path(),
               writePropertyList(after, PropertyListFormat::Xml), kReadByAll)
        .publish();
  else if (calls_.unlink(path().c_str()) != 0 && errno != ENOENT)
    throw FileException(FailureCode::cannotRemove, {path()}, errno);
  folder.sync();
}

std::string machineFolder() {
  for (const LayerFolder& folder : layerFolders(SystemCalls::standard()))
    if (folder.kind == LayerFolder::Kind::Machine) return folder.path;
  return {};
}

}  // namespace qorvane::inline v1
