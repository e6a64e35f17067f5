// FileUserDefaults: the preference store as files, one for each key, in the user's configuration folder.
//
//   <folder>/<key>.plist        the dictionary { <key>: <object> }, a sealed binary property list
//   <folder>/.<key>.<number>.<yyyymmdd>.plist    a generation: what the file held before a save
//   <folder>/<key>.plist.damaged-<UTC time>      a damaged file, quarantined with its exact bytes
//   <folder>/<key>.plist.unreadable-<UTC time>   a file that could not be read when a save replaced it
//   <folder>/.lock              locked by whoever saves (FolderLock)
//
// A save writes a new file, syncs it, gives the old one a name as a generation, puts the new one in its place
// and syncs the folder, under the lock. So a crash at any point leaves the whole old or the whole new file;
// once `synchronize` has answered true, the new one. A read takes no lock. docs/reliability.md tells what is
// promised, what is not, and which test proves it.
//
// Beside <key> the top level may hold the array `Chosen`: entries that were set on purpose (Settings). Files
// written by other programs, binary or XML, are read too; other entries at their top level are kept when we
// save. The file may be a symbolic link: its target is replaced, not the link, under the
// lock of the target's folder, too. A target that belongs to another user is read, never replaced.
//
// Files are for their owner alone from the moment they exist, and so are folders that we make. The folder,
// and that of a link's target, must be ours to save in it and ours or root's to read from it (root reads
// any), and nobody else may be able to change what stands in it. Paths are bytes, in whatever encoding.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileException.h"
#include "qorvane/preferences/SystemCalls.h"
#include "qorvane/preferences/UserDefaults.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class LockedFolder;

class FileUserDefaults : public UserDefaults {
 public:
  /// folder: where the files stand, an absolute path; made with mode 0700 when first needed.
  explicit FileUserDefaults(std::string folder = defaultFolder(),
                            SystemCalls& calls = SystemCalls::standard());
  ~FileUserDefaults() override;

  /// $XDG_CONFIG_HOME/Qorvane, or $HOME/.config/Qorvane when that is unset or not absolute. Empty without a
  /// home: every operation of the store then throws or fails with that reason.
  static std::string defaultFolder();

  const std::string& folder() const { return folder_; }
  std::string pathForKey(const Text& key) const;

  /// What stands under a key, and what is wrong with it.
  struct Inspection {
    enum class State : std::uint8_t { Missing, Good, Damaged } state = State::Missing;
    /// False for a good file that another program wrote: damage to it need not show.
    bool sealed = false;
    /// Of a sealed good file: the number of the save that wrote it.
    std::uint64_t generation = 0;
    /// What is wrong with a damaged one; none of another.
    std::optional<Failure> damage;
    /// What a good one holds under the key, and what it notes as chosen: the bytes that were judged.
    Value object;
    Value chosen;
  };
  /// Looks at the key's file and changes nothing. Throws FileException when it cannot be read.
  Inspection inspect(const Text& key) const;

  /// What the key's file held before a save.
  struct Generation {
    /// The number of the save that kept it; 0 for the copy that an earlier version of the library kept.
    std::uint64_t number = 0;
    std::string path;
    /// When what it holds was written.
    std::time_t written = 0;
    /// In bytes.
    std::uint64_t size = 0;
  };
  /// Those that are kept, the newest first. Whether they are good is not examined. Throws FileException.
  std::vector<Generation> generations(const Text& key) const;
  /// As `inspect`, of a generation; missing when it is not kept.
  Inspection inspectGeneration(const Text& key, std::uint64_t number) const;
  /// What the generation holds. Throws FileException when it is not there or cannot be read, and
  /// Exception when it is damaged.
  Value objectOfGeneration(const Text& key, std::uint64_t number) const {
    return settingsOfGeneration(key, number).object;
  }
  Settings settingsOfGeneration(const Text& key, std::uint64_t number) const;
  /// The one from which a damaged file is healed; none when none is good. Throws FileException when one that
  /// may be good cannot be read.
  std::optional<Generation> newestGoodGeneration(const Text& key) const;
  /// Removes all but the newest good one, under the lock; answers how many. Throws FileException.
  std::size_t forgetGenerations(const Text& key);
  /// Quarantines the damaged ones like damaged files, under the lock; answers their new paths. Throws
  /// FileException.
  std::vector<std::string> quarantineDamagedGenerations(const Text& key);

  /// Whether the name in the folder is that of a file that a save of the key had not yet published when it
  /// was stopped.
  static bool isLeftover(std::string_view name, const Text& key);

  /// How long a save waits for another process's lock before it fails, in milliseconds; 10,000 at first.
  void setLockWait(int milliseconds) { lockWait_ = milliseconds; }

  /// Reads the file, unless an object was set and not yet written: then that one; where an update waits, what
  /// it makes of the file. A damaged file is quarantined, the newest good generation put in its place and
  /// answered, and one line of the log says so. A file that cannot be read throws FileException, and one line
  /// of the log says why.
  Value objectForKey(const Text& key) override;
  Loaded load(const Text& key) override;
  /// Besides what every store refuses: nil for a key that could not be read throws Exception, for whoever
  /// could not load the settings must not remove them.
  void setObject(const Value& value, const Text& key) override;
  void setSettings(const Settings& settings, const Text& key) override;
  /// Hands what the file holds at the moment of the save to `merge`, and writes its answer; a damaged file
  /// that is healed counts as what it was healed to. A file that is damaged beyond healing is
  /// quarantined and the whole object written; one that cannot be read fails the save.
  void update(const Value& whole, const Text& key, std::shared_ptr<Merge> merge) override;
  /// When it answers false, one line of the log says why. A key whose file is private and sealed and holds
  /// what is to be written is not written again; its folder is synced, unless this object wrote the file.
  [[nodiscard]] bool synchronize() override;
  std::optional<Failure> lastFailure() const override { return lastFailure_; }
  std::string fileOf(const Text& key) const override { return pathForKey(key); }
  /// Drops an object that was set and not yet written: the next `synchronize` does not try it again.
  void forget(const Text& key) override { pending_.erase(key.string()); }

 private:
  friend class PreferenceWatch;
  struct Contents;
  struct Listing;
  /// What waits to be written: a whole object, changes to what stands, or changes to a whole object.
  struct Pending {
    /// The whole object as it was last given.
    Value object;
    /// What replaces what stands, before the changes.
    std::optional<Value> replacement;
    /// What replaces what is noted as chosen; otherwise that stays.
    std::optional<Value> chosen;
    std::vector<std::shared_ptr<Merge>> merges;

    /// Notes without an entry are dropped.
    Settings over(const Settings& standing) const;
  };
  /// What is known of a key's file: its bytes when they were found good or written here, none when it was
  /// removed here; and what they hold. The same bytes need not be judged again.
  struct Known {
    std::string bytes;
    Value top;
    std::uint64_t generation = 0;
    bool sealed = false;
    /// This object wrote or removed it; then also which of its writes that was, which file it is, and a time
    /// after its last change.
    bool ours = false;
    std::uint64_t write = 0;
    ino_t file = 0;
    timespec since = {};
    /// This object synced it to the disk.
    bool synced = false;
  };

  /// No other process or store object saves in the folder meanwhile. Throws FileException (EAGAIN when the
  /// wait was in vain).
  void lock() override;
  void unlock() noexcept override;

  bool checkFolder(const std::string& folder) const;
  std::string follow(const std::string& path) const;
  LockedFolder& hold(const std::string& folder);
  void makeFolder(const std::string& folder);
  void requireOwnWay() const;

  void read(Contents& contents) const;
  void judge(Contents& contents, const Text& key, const Known* known = nullptr) const;
  Contents examine(const std::string& path, const Text& key) const;
  Contents examineFile(const Text& key, const Known* known = nullptr) const;
  Contents examineToReplace(const Text& key, const Pending& pending, const Known& known);
  Settings stored(const Text& key);
  Settings recover(const Text& key, const Failure& damage);

  static void collect(std::string_view name, const Text& key, Listing& listing);
  std::vector<Generation> kept(const Text& key) const;
  std::optional<Generation> newestGood(const Text& key, Contents& contents) const;
  std::uint64_t nextNumber(const Text& key, const Contents& old, const Known* known);
  void thin(const Text& key) noexcept;

  void save(const Text& key, const Pending& pending);
  bool isThere(const Text& key, const Contents& old, const Settings& settings, Known& known);
  std::string replace(const Text& key, const Contents& old, Known& replacement);
  std::string keep(const Text& key, const Contents& old, std::uint64_t number);
  bool putBack(const std::string& kept, const Contents& old, const Text& key) noexcept;
  std::string quarantine(const std::string& file, const Text& key, bool unreadable);
  void copy(const std::string& from, const std::string& staging, const std::string& to) const;
  std::string stagingIn(const std::string& folder, const Text& key) const;
  void noteFailure(const std::string& key) noexcept;

  std::string folder_;
  SystemCalls& calls_;
  std::map<std::string, Pending, std::less<>> pending_;
  std::map<std::string, Known, std::less<>> known_;
  /// The keys whose last read failed.
  std::set<std::string, std::less<>> unread_;
  std::optional<Failure> lastFailure_;
  /// How many files this object wrote or removed.
  std::uint64_t writes_ = 0;
  int lockWait_ = 10'000;
  /// The folders that are locked, our own first; those of links' targets behind it.
  std::vector<std::unique_ptr<LockedFolder>> locked_;
  int lockDepth_ = 0;
};

}  // namespace v1
}  // namespace qorvane
