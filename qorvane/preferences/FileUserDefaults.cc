#include "qorvane/preferences/FileUserDefaults.h"

#include <fcntl.h>
#include <limits.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string_view>
#include <utility>

#include "qorvane/desktop/BaseDirectories.h"
#include "qorvane/desktop/Log.h"
#include "qorvane/preferences/FileContents.h"
#include "qorvane/preferences/Generations.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/preferences/LockedFolder.h"
#include "qorvane/preferences/OpenFile.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/propertylist/PropertyList.h"

namespace qorvane::inline v1 {

namespace {

// Settings are some kilobytes; a file beyond this is somebody's accident, not settings.
constexpr std::size_t kLargestFile = std::size_t{512} << 20;

}  // namespace

Settings FileUserDefaults::Pending::over(const Settings& standing) const {
  Settings merged{replacement.value_or(standing.object), chosen.value_or(standing.chosen)};
  for (const auto& merge : merges) merged = merge->mergedSettings(merged);
  if (!merged.chosen.isNil()) {
    const Dictionary* const entries = merged.object.asDictionary();
    merged.chosen = entries ? chosenAmong(merged.chosen, *entries) : Value();
  }
  return merged;
}

FileUserDefaults::FileUserDefaults(std::string folder, SystemCalls& calls)
    : folder_(std::move(folder)), calls_(calls) {}
FileUserDefaults::~FileUserDefaults() = default;

std::string FileUserDefaults::defaultFolder() {
  const std::string config = configPath();
  return config.empty() ? config : pathBelow(config, "Qorvane");
}

std::string FileUserDefaults::pathForKey(const Text& key) const {
  if (folder_.empty()) throw FileException(FailureCode::noPreferenceFolder, {}, ENOENT);
  const std::string_view name = key.view();
  if (name.empty() || name.front() == '.' || name.find_first_of(std::string_view("/\0", 2)) != name.npos)
    throw Exception({FailureCode::keyNamesNoFile, {key}});
  return folder_ + "/" + key.string() + ".plist";
}

bool FileUserDefaults::isLeftover(std::string_view name, const Text& key) {
  return isStagingName(name, key.view());
}

// ---- looking --------------------------------------------------------------------------------------------

// False when there is no folder.
bool FileUserDefaults::checkFolder(const std::string& folder) const {
  struct stat status;
  if (calls_.stat(folder.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return false;
    throw FileException(FailureCode::cannotExamineFolder, {folder}, errno);
  }
  requirePrivateFolder(calls_, folder, status, FolderUse::Reading);
  return true;
}

// Where the symbolic link points, whether or not there is something.
std::string FileUserDefaults::follow(const std::string& path) const {
  constexpr int kMostLinks = 40;  // As many as the kernel follows.
  std::string target = path;
  for (int followed = 0; followed <= kMostLinks; ++followed) {
    char next[PATH_MAX];
    const ssize_t length = calls_.readlink(target.c_str(), next, sizeof next);
    if (length >= 0) {
      const std::string_view name(next, static_cast<std::size_t>(length));
      target = name.starts_with('/') ? std::string(name) : folderOf(target) + "/" + std::string(name);
    } else if (errno == EINVAL || errno == ENOENT || errno == ENOTDIR) {
      return target;
    } else {
      throw FileException(FailureCode::cannotFollow, {target}, errno);
    }
  }
  throw FileException(FailureCode::cannotFollow, {path}, ELOOP);
}

// Reads the target, unless it is a link or not there.
void FileUserDefaults::read(Contents& contents) const {
  const std::string& path = contents.target;
  // Without O_NONBLOCK a named pipe in the file's place would hold the caller up for ever.
  OpenFile file(calls_, path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  if (!file) {
    if (errno == ENOENT || errno == ENOTDIR) return;
    if (errno == ELOOP && !contents.linked) {
      contents.linked = true;
      contents.target = follow(path);
      return;
    }
    throw FileException(FailureCode::cannotOpen, {path}, errno);
  }
  if (calls_.fstat(file.descriptor(), &contents.status) != 0)
    throw FileException(FailureCode::cannotExamine, {path}, errno);
  if (!S_ISREG(contents.status.st_mode)) throw FileException(FailureCode::notAFile, {path}, EINVAL);
  if (static_cast<std::uint64_t>(contents.status.st_size) > kLargestFile)
    throw FileException(FailureCode::fileTooLarge, {path}, EFBIG);
  if (!file.read(contents.bytes, static_cast<std::size_t>(contents.status.st_size)))
    throw FileException(FailureCode::cannotRead, {path}, errno);
  contents.wasRead = true;
}

// Says what the bytes are that were read.
void FileUserDefaults::judge(Contents& contents, const Text& key, const Known* known) const {
  if (!contents.wasRead) return;
  // No empty file is good, and none is known.
  if (known && !contents.bytes.empty() && contents.bytes == known->bytes) {
    contents.state = Inspection::State::Good;
    contents.sealed = known->sealed;
    contents.generation = known->generation;
    contents.top = known->top;
    return;
  }
  contents.state = Inspection::State::Damaged;
  const SealCheck seal = checkSeal(contents.bytes);
  if (seal.state == SealState::Broken) {
    contents.damage = Failure{FailureCode::checksumBroken};
    return;
  }
  try {
    contents.top = readPropertyList(contents.bytes);
    const Dictionary* entries = contents.top.asDictionary();
    if (!entries || !entries->find(key.view())) {
      contents.damage = Failure{FailureCode::entryMissing, {key}};
      return;
    }
    contents.state = Inspection::State::Good;
    contents.sealed = seal.state == SealState::Intact;
    contents.generation = seal.generation;
  } catch (const Exception& error) {
    contents.damage = error.failure();
  }
}

FileUserDefaults::Contents FileUserDefaults::examine(const std::string& path, const Text& key) const {
  Contents contents(path);
  contents.linked = true;  // No link is followed from here.
  read(contents);
  judge(contents, key);
  return contents;
}

FileUserDefaults::Contents FileUserDefaults::examineFile(const Text& key, const Known* known) const {
  Contents contents(pathForKey(key));
  if (!checkFolder(folder_)) return contents;
  read(contents);
  if (contents.linked && checkFolder(folderOf(contents.target))) read(contents);
  judge(contents, key, known);
  return contents;
}

FileUserDefaults::Inspection FileUserDefaults::inspect(const Text& key) const {
  Contents contents = examineFile(key);
  if (contents.isGood()) {
    contents.Inspection::object = contents.object(key);
    contents.chosen = chosenIn(contents.top);
  }
  return contents;
}

// ---- loading --------------------------------------------------------------------------------------------

Value FileUserDefaults::objectForKey(const Text& key) {
  const auto pending = pending_.find(key.view());
  return pending != pending_.end() && pending->second.merges.empty() ? pending->second.object
                                                                     : load(key).object;
}

FileUserDefaults::Loaded FileUserDefaults::load(const Text& key) {
  const Settings onDisk = stored(key);
  const auto pending = pending_.find(key.view());
  const Settings all = pending == pending_.end() ? onDisk : pending->second.over(onDisk);
  return {onDisk.object, all.object, onDisk.chosen, all.chosen};
}

Settings FileUserDefaults::stored(const Text& key) try {
  const std::string path = pathForKey(key);
  const auto unread = unread_.insert(key.string()).first;
  const auto known = known_.find(key.view());
  const Contents contents = examineFile(key, known == known_.end() ? nullptr : &known->second);
  // Who reads under the lock will save: nobody else may save in a link's folder meanwhile either. Where that
  // cannot be had, the save will say so.
  if (contents.linked && lockDepth_ > 0) try {
      hold(folderOf(contents.target));
    } catch (const FileException&) {
    }
  Settings settings;
  if (contents.state == Inspection::State::Damaged) {
    settings = recover(key, *contents.damage);
  } else if (contents.isGood()) {
    settings = contents.settings(key);
    if (known == known_.end() || known->second.bytes != contents.bytes)
      known_[key.string()] = contents.known();
  }
  unread_.erase(unread);
  return settings;
} catch (const FileException& error) {
  logFailure([&] { return Failure{FailureCode::settingsNotLoaded, {key}, 0, {error.failure()}}; });
  throw;
}

Settings FileUserDefaults::recover(const Text& key, const Failure& damage) {
  const std::string path = pathForKey(key);
  Contents good;
  std::optional<Generation> source;
  try {
    source = newestGood(key, good);
  } catch (const FileException& error) {
    // It may well be good, and hold what an older one does not.
    throw FileException(
        {FailureCode::damagedAndCopyUnread, {path}, error.systemError(), {damage, error.failure()}});
  }
  std::string quarantined;
  std::optional<Failure> trouble;
  try {
    const Lock lock(*this);
    // Another process may have mended or replaced the file meanwhile.
    const Contents now = examineToReplace(key, {}, {});
    if (now.state != Inspection::State::Damaged) return now.isGood() ? now.settings(key) : Settings();
    // The copy takes the file's place at once, so that the settings do not hang on a later save.
    Known mended;
    mended.generation = std::max(nextNumber(key, now, nullptr), good.generation + 1);
    if (source) {
      mended.top = good.top;
      mended.bytes = sealedPropertyList(mended.top, mended.generation);
    }
    quarantined = replace(key, now, mended);
    known_[key.string()] = std::move(mended);
  } catch (const FileException& error) {
    // In a folder that is read-only, for instance: the bytes stay where they are.
    trouble = error.failure();
  }
  logFailure([&]() -> Failure {
    const std::vector<Failure> causes = trouble ? std::vector{damage, *trouble} : std::vector{damage};
    if (trouble && source) return {FailureCode::readFromCopy, {path, source->path}, 0, causes};
    if (trouble) return {FailureCode::readAsNothing, {path}, 0, causes};
    if (source) return {FailureCode::healedFromCopy, {path, quarantined, source->path}, 0, causes};
    return {FailureCode::startedAfresh, {path, quarantined}, 0, causes};
  });
  return source ? good.settings(key) : Settings();
}

// ---- generations ----------------------------------------------------------------------------------------

void FileUserDefaults::collect(std::string_view name, const Text& key, Listing& listing) {
  if (const auto read = GenerationName::read(name, key.view())) {
    listing.generations.push_back(*read);
  } else if (isStagingName(name, key.view())) {
    listing.leftovers.emplace_back(name);
  } else if (name.starts_with(key.view()) && name.substr(key.view().size()) == kEarlierCopy) {
    listing.earlierCopy = true;
  }
}

// Those in the folder, the newest first, that of an earlier version of the library last.
std::vector<FileUserDefaults::Generation> FileUserDefaults::kept(const Text& key) const {
  const std::string path = pathForKey(key);
  if (!checkFolder(folder_)) return {};
  OpenFile folder(calls_, folder_, O_RDONLY | O_DIRECTORY);
  Listing listing;
  if (!folder) throw FileException(FailureCode::cannotOpenFolder, {folder_}, errno);
  if (!folder.list([&](std::string_view name, unsigned char) { collect(name, key, listing); }))
    throw FileException(FailureCode::cannotListFolder, {folder_}, errno);
  listing.sort();
  std::vector<Generation> found;
  const auto add = [&](std::uint64_t number, const std::string& name) {
    Generation generation{number, folder_ + "/" + name};
    struct stat status;
    if (calls_.lstat(generation.path.c_str(), &status) == 0) {
      generation.written = status.st_mtime;
      generation.size = static_cast<std::uint64_t>(status.st_size);
    } else if (errno == ENOENT) {
      return;  // It is gone by now.
    }
    found.push_back(std::move(generation));
  };
  for (const GenerationName& name : listing.generations) add(name.number, name.fileName(key.view()));
  if (listing.earlierCopy) add(0, key.string() + std::string(kEarlierCopy));
  return found;
}

std::vector<FileUserDefaults::Generation> FileUserDefaults::generations(const Text& key) const {
  return kept(key);
}

FileUserDefaults::Inspection FileUserDefaults::inspectGeneration(const Text& key,
                                                                 std::uint64_t number) const {
  for (const Generation& generation : kept(key)) {
    if (generation.number != number) continue;
    Contents contents = examine(generation.path, key);
    if (contents.isGood()) {
      contents.Inspection::object = contents.object(key);
      contents.chosen = chosenIn(contents.top);
    }
    return contents;
  }
  return {};
}

Settings FileUserDefaults::settingsOfGeneration(const Text& key, std::uint64_t number) const {
  for (const Generation& generation : kept(key)) {
    if (generation.number != number) continue;
    const Contents contents = examine(generation.path, key);
    if (contents.isGood()) return contents.settings(key);
    if (contents.state == Inspection::State::Damaged)
      throw Exception({FailureCode::generationDamaged, {generation.path}, 0, {*contents.damage}});
  }
  throw FileException(FailureCode::noGeneration, {key, std::to_string(number)}, ENOENT);
}

std::optional<FileUserDefaults::Generation> FileUserDefaults::newestGoodGeneration(const Text& key) const {
  Contents contents;
  return newestGood(key, contents);
}

// However many are damaged. One that cannot be read may be good: it is passed over only for another one, and
// never when it is this process that cannot read.
std::optional<FileUserDefaults::Generation> FileUserDefaults::newestGood(const Text& key,
                                                                         Contents& contents) const {
  std::optional<FileException> unread;
  for (const Generation& generation : kept(key)) try {
      contents = examine(generation.path, key);
      if (contents.isGood()) return generation;
    } catch (const FileException& error) {
      if (!isTroubleOfTheFile(error.systemError())) throw;
      if (!unread) unread = error;
    }
  if (unread) throw FileException(*unread);
  return std::nullopt;
}

std::size_t FileUserDefaults::forgetGenerations(const Text& key) {
  const Lock lock(*this);
  const auto newest = newestGoodGeneration(key);
  std::size_t removed = 0;
  for (const Generation& generation : kept(key)) {
    if (newest && generation.path == newest->path) continue;
    if (calls_.unlink(generation.path.c_str()) != 0)
      throw FileException(FailureCode::cannotRemove, {generation.path}, errno);
    ++removed;
  }
  if (removed != 0) locked_.front()->sync();
  return removed;
}

std::vector<std::string> FileUserDefaults::quarantineDamagedGenerations(const Text& key) {
  const Lock lock(*this);
  std::vector<std::string> quarantined;
  for (const Generation& generation : kept(key)) {
    if (examine(generation.path, key).state != Inspection::State::Damaged) continue;
    quarantined.push_back(quarantine(generation.path, key, false));
    if (calls_.unlink(generation.path.c_str()) != 0)
      throw FileException(FailureCode::cannotRemove, {generation.path}, errno);
  }
  return quarantined;
}

}  // namespace qorvane::inline v1
