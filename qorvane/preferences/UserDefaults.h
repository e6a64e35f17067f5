// UserDefaults: the user's preference store, a value under each text key.
//
// What it promises: an object set is answered from then on, and is on the disk once `synchronize` has
// answered true. What it does not promise: that anything reaches the disk before that, or that another
// process's changes are seen by an object already handed out. Main thread only.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "qorvane/foundation/Failure.h"
#include "qorvane/foundation/Scoped.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class LayeredSettings;

/// A user's settings under one key.
struct Settings {
  /// The dictionary of the entries; nil when there is nothing.
  Value object;
  /// Names of entries that were set on purpose though they do not look it, as an array of texts; nil for
  /// none. What is set for many desks does not override these (LayeredUserDefaults).
  Value chosen;
};

class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// The value under the key, nil when there is none. A store that cannot be read throws Exception.
  virtual Value objectForKey(const Text& key) = 0;
  /// Puts the value under the key, in memory; nil removes the entry. A value that is no property list (a nil
  /// inside an array, nesting beyond 500 levels) or a nil key throws Exception and changes nothing.
  virtual void setObject(const Value& value, const Text& key) = 0;

  /// Changes an object that others change, too: puts what they saved and what we changed together.
  class Merge {
   public:
    virtual ~Merge() = default;
    /// The object to be written, from the one that stands under the key now (nil: none). Asked under the
    /// store's lock, again at each retry, and perhaps long after whoever made the update has gone. What it
    /// throws fails the save of this key.
    virtual Value merged(const Value& standing) = 0;
    /// The same with what is noted beside the object, which by default stays. What a store that keeps such
    /// notes asks.
    virtual Settings mergedSettings(const Settings& standing) {
      return {merged(standing.object), standing.chosen};
    }
    /// The user's own settings to be written, from those that stand there with what farther layers say over
    /// and under them. What a store with layers asks; by default the layers are not looked at.
    virtual Settings mergedLayers(const std::shared_ptr<const LayeredSettings>& standing);
    /// What `merged` last answered, or the whole object when it was not asked, is on the disk.
    virtual void written() = 0;
  };

  /// As `setObject`, with what is to be noted as chosen; a store that keeps no notes drops them. `setObject`
  /// itself keeps the notes of the entries that stay.
  virtual void setSettings(const Settings& settings, const Text& key);

  /// As `setObject(whole, key)`, but a store that others write to as well hands what stands under the key,
  /// when `synchronize` writes, to `merge` and writes its answer. This one sets the whole object and drops
  /// the merge. Where several wait for one key they are asked in the order in which they came, each with the
  /// answer of the one before; the same merge again takes its earlier place, and `setObject` that of them
  /// all.
  virtual void update(const Value& whole, const Text& key, std::shared_ptr<Merge> merge);

  /// What a load finds under a key.
  struct Loaded {
    /// What the disk holds; nil when there is nothing.
    Value stored;
    /// The same, with what waits to be written put over it: what `objectForKey` answers.
    Value object;
    /// What the user's own settings note as chosen, on the disk and with what waits.
    Value storedChosen = nullptr;
    Value chosen = nullptr;
    /// In a store with layers, where a farther layer has settings: all that `stored` was made of. Null
    /// elsewhere.
    std::shared_ptr<const LayeredSettings> layers = nullptr;
  };
  /// Throws as `objectForKey`. In a store that does not tell them apart both are what that answers.
  virtual Loaded load(const Text& key);

  /// The path of the key's file; empty in a store without files.
  virtual std::string fileOf(const Text& key) const;

  /// Drops what was set under the key and is not yet on the disk, where the store can.
  virtual void forget(const Text& key);

  /// Writes what was set since the last time to the disk. False when anything could not be written: it stays
  /// set, the next call tries again, and `lastFailure` tells why.
  [[nodiscard]] virtual bool synchronize() = 0;
  /// Why the last `synchronize` answered false; none after true. A store that is none of the library's tells
  /// its own sentence as the argument of FailureCode::storeFailed.
  virtual std::optional<Failure> lastFailure() const = 0;

  /// The store that the library uses: the user's own files, with what is set for many desks
  /// (LayeredUserDefaults, which is a FileUserDefaults), unless replaced.
  static UserDefaults& standardUserDefaults();
  /// Replaces it; the caller keeps the replacement alive. Null puts the user's own files back. Returns the
  /// one that was set until now, or null.
  static UserDefaults* setStandardUserDefaults(UserDefaults* replacement);

  /// While it lives, nobody else saves in the store: for reading, changing and saving as one step. Nests. A
  /// store that nobody else can reach has nothing to lock. Throws Exception when the lock cannot be had.
  class [[nodiscard]] Lock {
   public:
    explicit Lock(UserDefaults& store) : store_(store) { store.lock(); }
    ~Lock() { store_.unlock(); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    UserDefaults& store_;
  };

 protected:
  /// Throws Exception when the pair cannot be stored.
  static void requirePropertyList(const Value& value, const Text& key);

  /// Take and give back the lock; each `lock` that returned is followed by one `unlock`.
  virtual void lock() {}
  virtual void unlock() noexcept {}
};

/// While it lives, the library uses another store.
using ScopedUserDefaults = Scoped<&UserDefaults::setStandardUserDefaults>;

/// A store that forgets everything with the process, for tests and for trying things out.
class MemoryUserDefaults : public UserDefaults {
 public:
  Value objectForKey(const Text& key) override;
  void setObject(const Value& value, const Text& key) override;
  [[nodiscard]] bool synchronize() override;
  std::optional<Failure> lastFailure() const override { return std::nullopt; }

  /// How often `synchronize` was called.
  int synchronizeCount() const { return synchronizeCount_; }
  bool empty() const { return objects_.empty(); }

 private:
  std::map<std::string, Value, std::less<>> objects_;
  int synchronizeCount_ = 0;
};

/// A store in memory whose operations fail when told to.
class FaultInjectingUserDefaults : public MemoryUserDefaults {
 public:
  enum class Fault { None, PlatformException, OtherException };

  Fault onRead = Fault::None;
  Fault onSet = Fault::None;
  Fault onSynchronize = Fault::None;
  /// `synchronize` answers false with this failure.
  std::optional<Failure> failure;

  Value objectForKey(const Text& key) override;
  void setObject(const Value& value, const Text& key) override;
  [[nodiscard]] bool synchronize() override;
  std::optional<Failure> lastFailure() const override { return failure; }
};

}  // namespace v1
}  // namespace qorvane
