// FileUserDefaults: the preference store as files, one for each key, in the user's configuration folder.
//
//   <folder>/<key>.plist        the dictionary { <key>: <object> }, a sealed binary property list
//   <folder>/<key>.plist.bak    what the file held before the last save: the last good copy
//   <folder>/<key>.plist.damaged-<UTC time>      a damaged file, set aside with its exact bytes
//   <folder>/<key>.plist.unreadable-<UTC time>   a file that could not be read when a save replaced it
//   <folder>/.lock              locked by whoever saves (FolderLock)
//
// A save writes a new file, syncs it, keeps the old one as the last good copy, puts the new one in its place
// and syncs the folder, under the lock. So a crash at any point leaves the whole old or the whole new file;
// once `synchronize` has answered true, the new one. A read takes no lock. docs/reliability.md tells what is
// promised, what is not, and which test proves it.
//
// Files written by other programs, binary or XML, are read too; other entries beside <key> at their top level
// are kept when we save. The file may be a symbolic link: its target is replaced, not the link. A target that
// belongs to another user is read, never replaced.
//
// Files are for their owner alone from the moment they exist, and so are folders that we make. The folder
// must be ours to save in it and ours or root's to read from it (root reads any), and nobody else may be able
// to change what stands in it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileException.h"
#include "qorvane/preferences/SystemCalls.h"
#include "qorvane/preferences/UserDefaults.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class FolderLock;

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
  std::string backupPathForKey(const Text& key) const { return pathForKey(key) + ".bak"; }

  /// What stands under a key, and what is wrong with it.
  struct Inspection {
    enum class State : std::uint8_t { Missing, Good, Damaged } state = State::Missing;
    /// False for a good file that another program wrote: damage to it need not show.
    bool sealed = false;
    /// Of a sealed good file: how many saves it has seen.
    std::uint64_t generation = 0;
    /// What is wrong with a damaged one; none of another.
    std::optional<Failure> damage;
  };
  /// Looks at the key's file, or at its last good copy, and changes nothing. Throws FileException when it
  /// cannot be read.
  Inspection inspect(const Text& key) const;
  Inspection inspectBackup(const Text& key) const;

  /// How long a save waits for another process's lock before it fails, in milliseconds; 10,000 at first.
  void setLockWait(int milliseconds) { lockWait_ = milliseconds; }

  /// Reads the file, unless an object was set and not yet written: then that one. A damaged file is set
  /// aside, the last good copy put in its place and answered, and one line of the log says so. A file that
  /// cannot be read throws FileException, and one line of the log says why.
  Value objectForKey(const Text& key) override;
  /// Besides what every store refuses: nil for a key that could not be read throws Exception, for whoever
  /// could not load the settings must not remove them.
  void setObject(const Value& value, const Text& key) override;
  /// When it answers false, one line of the log says why.
  [[nodiscard]] bool synchronize() override;
  std::optional<Failure> lastFailure() const override { return lastFailure_; }
  /// Drops an object that was set and not yet written: the next `synchronize` does not try it again.
  void forget(const Text& key) override { pending_.erase(key.string()); }

 private:
  struct Contents;
  /// The bytes of a file that was found good or written here with nothing in it but its key's object.
  struct Known {
    std::string bytes;
    std::uint64_t generation = 0;
  };
  class StagedFile;
  enum class Use : std::uint8_t { Reading, Saving };

  /// No other process or store object saves in the folder meanwhile. Throws FileException (EAGAIN when the
  /// wait was in vain).
  void lock() override;
  void unlock() noexcept override;

  bool checkFolder(Use use) const;
  std::optional<std::string> readFile(const std::string& path) const;
  Contents examine(const std::string& path, const Text& key, const Known* known = nullptr) const;
  static Contents judge(std::string_view bytes, const Text& key);
  Value recover(const Text& key, const Failure& damage);
  void save(const Text& key, const Value& value);
  std::string replace(const std::string& path, const Contents& old, const std::string* bytes);
  void copy(const std::string& from, const std::string& staging, const std::string& to);
  void keepAsBackup(const std::string& file, const std::string& spare, const std::string& backup);
  bool putBack(const std::string& kept, const std::string& staging, const std::string& file) noexcept;
  std::string setAside(const std::string& file, const std::string& path, const std::string& spare,
                       bool unreadable);
  void noteFailure(const std::string& key, const Failure& cause) noexcept;
  void makeFolder(const std::string& folder);
  std::string targetOf(const std::string& path) const;

  std::string folder_;
  SystemCalls& calls_;
  std::map<std::string, Value, std::less<>> pending_;
  /// What the files of the keys held: the same bytes need not be judged again before a save replaces them.
  std::map<std::string, Known, std::less<>> known_;
  /// The keys whose last read failed.
  std::set<std::string, std::less<>> unread_;
  std::optional<Failure> lastFailure_;
  int lockWait_ = 10'000;
  std::unique_ptr<FolderLock> lock_;
  int lockDepth_ = 0;
};

}  // namespace v1
}  // namespace qorvane
