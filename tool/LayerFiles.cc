#include "tool/LayerFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/SystemCalls.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tool/Failure.h"
#include "tool/PreferenceFile.h"
#include "tool/WholeFile.h"

namespace optionsmgr {

using qorvane::Array;
using qorvane::Dictionary;
using qorvane::Layer;
using qorvane::LayeredSettings;
using qorvane::LayerFolder;
using qorvane::OptionRow;
using qorvane::SystemCalls;
using qorvane::Text;
using qorvane::Value;

namespace fs = std::filesystem;

std::shared_ptr<const LayeredSettings> layersOf(Session& session, const Domain& domain,
                                                const qorvane::Settings& own) try {
  return qorvane::LayeredUserDefaults(session.files().folder()).over(domain.key(), own);
} catch (const qorvane::FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
}

std::optional<Dictionary> seenEntries(Session& session, const Domain& domain) {
  const std::string& layer = session.settings().layer;
  if (layer == "user") return storedEntries(session, domain);
  if (!asksForFartherLayer(session.settings())) {
    const auto own = storedSettings(session, domain);
    const auto layers = layersOf(session, domain, own.value_or(qorvane::Settings()));
    if (own || !layers->layers().empty()) return layers->effective();
    return std::nullopt;
  }
  Dictionary entries;
  bool any = false;
  const auto layers = layersOf(session, domain, {});
  for (const Layer& one : layers->layers()) {
    if (say(layerName(one.kind())) != say(layer == "firm" ? Phrase("firm") : Phrase("machine"))) continue;
    any = true;
    // The nearest folder comes first, and in it the year's file.
    for (const Dictionary* file : {&one.year(), &one.everyYear()})
      for (const auto& [key, value] : *file)
        if (!entries.find(key.view())) entries.set(key, value);
  }
  return any ? std::optional(entries) : std::nullopt;
}

Phrase layerName(LayerFolder::Kind kind) {
  return kind == LayerFolder::Kind::Firm ? Phrase("firm") : Phrase("machine");
}

const Layer* lockOn(const LayeredSettings& layers, const OptionRow& row, const qorvane::Product& product) {
  for (const Text& key : row.entries(product))
    if (const Layer* lock = layers.layers().lockOf(key.view())) return lock;
  return nullptr;
}

void requireUnlocked(const LayeredSettings& layers, const OptionRow& row, const qorvane::Product& product) {
  if (const Layer* lock = lockOn(layers, row, product))
    throw Failure(Exit::NoPermission,
                  say("{} is locked by {}; nothing was changed. `optionsmgr why {}` tells more", row.name,
                      lock->folder().path, row.name));
}

void requireUnlocked(Session& session, const Domain& domain, const Dictionary& before,
                     const Dictionary& after) {
  const auto layers = layersOf(session, domain, {});
  if (!layers->layers().lock()) return;
  const qorvane::Product product = session.product(domain.corporate, domain.year);
  for (const OptionRow& row : qorvane::optionTable()) {
    const Text key = row.key(product);
    const Value* const old = key.isNil() ? nullptr : before.find(key.view());
    const Value* const now = key.isNil() ? nullptr : after.find(key.view());
    if (old && now ? !isIdentical(*old, *now) : old || now) requireUnlocked(*layers, row, product);
  }
}

std::vector<Text> pinsAmong(const LayeredSettings& layers, const std::vector<Text>& keys,
                            const Dictionary& entries) {
  std::vector<Text> pins;
  for (const Text& key : keys) {
    const Value* const value = entries.find(key.view());
    if (value && layers.layers().has(key.view()) && !layers.isChosenByItself(key.view(), *value))
      pins.push_back(key);
  }
  return pins;
}

// ---- the machine's files --------------------------------------------------------------------------------

namespace {

constexpr Text kLocked = "Locked";

std::string machineFolder() {
  for (const LayerFolder& folder : qorvane::layerFolders(SystemCalls::standard()))
    if (folder.kind == LayerFolder::Kind::Machine) return folder.path;
  throw Failure(Exit::CannotCreate, say("XDG_CONFIG_DIRS names no folder"));
}

// The property list as it stands, what is not ours included; empty where there is no file.
Dictionary wholeFile(const std::string& path) try {
  std::error_code none;
  if (!fs::exists(path, none)) return {};
  const Value list = qorvane::readPropertyList(bytesOfFile(path));
  if (!list.asDictionary()) throw Failure(Exit::BadData, say("{} holds no dictionary of settings", path));
  return *list.asDictionary();
} catch (const qorvane::Exception& error) {
  throw Failure(Exit::BadData, say("{} is damaged ({}); nothing was changed", path, told(error.failure())));
}

MachineSettings settingsIn(const Dictionary& whole, const Text& key) {
  MachineSettings settings;
  const Value* const entries = whole.find(key.view());
  if (entries && entries->asDictionary()) settings.entries = *entries->asDictionary();
  const Value* const locked = whole.find(kLocked.view());
  if (locked && locked->asArray())
    for (const Value& name : *locked->asArray())
      if (name.asText()) settings.locked.push_back(*name.asText());
  return settings;
}

void put(const MachineSettings& settings, const Text& key, Dictionary& whole) {
  whole.set(key, settings.entries.empty() ? Value() : Value(settings.entries));
  Array locked;
  for (const Text& name : settings.locked) locked.push_back(name);
  whole.set(kLocked, locked.empty() ? Value() : Value(std::move(locked)));
}

// Whoever edits the folder at the same time waits; the kernel forgets it with the process.
class FolderHeld {
 public:
  explicit FolderHeld(const std::string& folder)
      : folder_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (folder_ < 0 || flock(folder_, LOCK_EX) != 0) {
      const int error = errno;
      if (folder_ >= 0) close(folder_);
      throw Failure(exitFor(error), say("cannot lock {}: {}", folder, systemReason(error)));
    }
  }
  ~FolderHeld() { close(folder_); }
  FolderHeld(const FolderHeld&) = delete;
  FolderHeld& operator=(const FolderHeld&) = delete;

 private:
  int folder_;
};

// Makes the folder, which everybody may look into, and sees to it that only root can change it.
void prepareMachineFolder(const std::string& folder) {
  const mode_t before = umask(022);
  std::error_code error;
  fs::create_directories(folder, error);
  umask(before);
  if (error)
    throw Failure(exitFor(error.value()), say("cannot make {}: {}", folder, systemReason(error.value())));
  for (const fs::path& path : {fs::path(folder), fs::path(folder).parent_path()})
    if (const auto why = distrusted(path.string(), 0))
      throw Failure(Exit::NoPermission, say("{} {}; nothing was changed", path.string(), *why));
}

}  // namespace

std::optional<std::string> distrusted(const std::string& path, uid_t trusted) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  if (status.st_uid != 0 && status.st_uid != trusted) return say("belongs to another user");
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) return say("can be changed by others");
  return std::nullopt;
}

Domain editedDomain(const Session& session) {
  const Settings& said = session.settings();
  return {said.corporate, said.yearSaid ? said.year : 0};
}

bool isFarther(const Session& session, const LayeredSettings& layers, const Domain& domain,
               std::string_view entryKey) {
  if (session.settings().layer != "machine") return layers.layers().has(entryKey);
  const std::string edited = machineFolder();
  return std::ranges::any_of(layers.layers(), [&](const Layer& layer) {
    // In its own folder the file for every year stands behind the year's.
    if (layer.folder().path == edited) return domain.year != 0 && layer.everyYear().find(entryKey);
    return layer.find(entryKey).has_value();
  });
}

std::string machineFile(Session&, const Domain& domain) {
  return machineFolder() + "/" + domain.key().string() + ".plist";
}

MachineSettings machineSettings(Session& session, const Domain& domain) {
  return settingsIn(wholeFile(machineFile(session, domain)), domain.key());
}

void changeMachineSettings(Session& session, const Domain& domain,
                           const std::function<void(MachineSettings&)>& change) {
  const std::string folder = machineFolder();
  const std::string file = machineFile(session, domain);
  if (geteuid() != 0)
    throw Failure(Exit::NoPermission,
                  say("only root changes the machine's settings in {}; nothing was changed", folder));
  prepareMachineFolder(folder);
  const FolderHeld held(folder);
  Dictionary whole = wholeFile(file);
  MachineSettings settings = settingsIn(whole, domain.key());
  change(settings);
  put(settings, domain.key(), whole);
  if (!whole.empty()) {
    writeWholeFile(file, writePropertyList(Value(whole), qorvane::PropertyListFormat::Xml),
                   Existing::Replaced, 0644);
  } else if ((unlink(file.c_str()) != 0 && errno != ENOENT) || !syncFolder(folder)) {
    throw Failure(exitFor(errno), say("cannot remove {}: {}", file, systemReason(errno)));
  }
}

}  // namespace optionsmgr
