// UserDefaults: the user's preference store, a value under each text key.
//
// What it promises: an object set is answered from then on, and is on the disk once `synchronize` has
// answered true. What it does not promise: that anything reaches the disk before that, or that another
// process's changes are seen by an object already handed out. Main thread only.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "qorvane/foundation/Failure.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// The value under the key, nil when there is none. A store that cannot be read throws Exception.
  virtual Value objectForKey(const Text& key) = 0;
  /// Puts the value under the key, in memory; nil removes the entry. A value that is no property list (a nil
  /// inside an array, nesting beyond 500 levels) or a nil key throws Exception and changes nothing.
  virtual void setObject(const Value& value, const Text& key) = 0;
  /// Writes what was set since the last time to the disk. False when anything could not be written: it stays
  /// set, the next call tries again, and `lastFailure` tells why.
  [[nodiscard]] virtual bool synchronize() = 0;
  /// Why the last `synchronize` answered false; none after true. A store that is none of the library's tells
  /// its own sentence as the argument of FailureCode::storeFailed.
  virtual std::optional<Failure> lastFailure() const = 0;

  /// The store that the library uses: the user's own files (FileUserDefaults) unless replaced.
  static UserDefaults& standardUserDefaults();
  /// Replaces it; the caller keeps the replacement alive. Null puts the user's own files back.
  static void setStandardUserDefaults(UserDefaults* replacement);

 protected:
  /// Throws Exception when the pair cannot be stored.
  static void requirePropertyList(const Value& value, const Text& key);
};

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
