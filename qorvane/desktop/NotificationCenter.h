// NotificationCenter: tells the parts of an application that something happened.
//
// Posting is synchronous: it returns when every observer has been called, in the order in which they came.
// Main thread only.
#pragma once

#include <functional>
#include <memory>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

struct Notification {
  /// What happened.
  Text name;
  /// Whom it happened to, as given by the poster; may be null. Only an identity, never to be followed
  /// blindly.
  const void* object;
};

class NotificationCenter {
  struct Entry;
  struct Registry;

 public:
  /// An observation. It lasts until the token is destroyed, assigned to or reset; a token may outlive its
  /// centre.
  class Observer {
   public:
    /// Observes nothing.
    Observer() noexcept = default;
    Observer(Observer&&) noexcept = default;
    Observer& operator=(Observer&& other) noexcept;
    ~Observer() { reset(); }

    /// Ends the observation: from here on the function is not called, not even by a posting under way.
    void reset() noexcept;

   private:
    friend class NotificationCenter;
    Observer(std::weak_ptr<Registry> registry, std::shared_ptr<Entry> entry) noexcept;

    std::weak_ptr<Registry> registry_;
    std::shared_ptr<Entry> entry_;
  };

  /// The centre of the whole application; lives as long as the process.
  static NotificationCenter& defaultCenter();

  NotificationCenter();
  ~NotificationCenter() = default;
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

  /// Calls the function for each notification of the name, of any object when none is given. An observer
  /// added during a posting is first called by the next one. A nil name or an empty function throws
  /// Exception.
  [[nodiscard]] Observer addObserver(Text name, std::function<void(const Notification&)> observer,
                                     const void* ofObject = nullptr);

  /// Tells the observers of the name. One that throws does not silence the others: when all have been told,
  /// the first exception passes on to the poster; further ones are logged. A nil name tells nobody.
  void postNotificationName(const Text& name, const void* object);

 private:
  std::shared_ptr<Registry> registry_;
};

using Observer = NotificationCenter::Observer;

}  // namespace v1
}  // namespace qorvane
