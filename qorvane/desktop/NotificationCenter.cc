#include "qorvane/desktop/NotificationCenter.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "qorvane/desktop/Log.h"
#include "qorvane/foundation/Exception.h"

namespace qorvane::inline v1 {

struct NotificationCenter::Entry {
  Text name;
  std::function<void(const Notification&)> observer;
  const void* object;
};

struct NotificationCenter::Registry {
  // An entry that leaves during a posting leaves a hole, so that the places of the others stay.
  std::vector<std::shared_ptr<Entry>> entries;
  int postings = 0;

  void remove(const Entry* entry) noexcept {
    const auto found = std::ranges::find_if(
        entries, [&](const std::shared_ptr<Entry>& each) { return each.get() == entry; });
    if (found == entries.end()) return;
    // Destroying what the function holds may end other observations: only after this one is gone.
    const std::shared_ptr<Entry> last = std::move(*found);
    if (postings == 0) entries.erase(found);
  }

  void closeHoles() noexcept {
    if (postings == 0) std::erase(entries, nullptr);
  }
};

namespace {

void logThrown(const Text& name, const char* reason) noexcept {
  try {
    log(Text("An observer of " + name.string() + " threw: " + reason));
  } catch (...) {
    // Out of memory: the other observers still count more than the message.
  }
}

}  // namespace

NotificationCenter::Observer::Observer(std::weak_ptr<Registry> registry,
                                       std::shared_ptr<Entry> entry) noexcept
    : registry_(std::move(registry)), entry_(std::move(entry)) {}

NotificationCenter::Observer& NotificationCenter::Observer::operator=(Observer&& other) noexcept {
  if (this != &other) {
    reset();
    registry_ = std::move(other.registry_);
    entry_ = std::move(other.entry_);
  }
  return *this;
}

void NotificationCenter::Observer::reset() noexcept {
  const std::shared_ptr<Entry> entry = std::exchange(entry_, nullptr);
  const std::shared_ptr<Registry> registry = std::exchange(registry_, {}).lock();
  if (entry && registry) registry->remove(entry.get());
}

NotificationCenter::NotificationCenter() : registry_(std::make_shared<Registry>()) {}

NotificationCenter& NotificationCenter::defaultCenter() {
  // Never destroyed: the destructors of other globals may still post.
  static NotificationCenter& centre = *new NotificationCenter;
  return centre;
}

NotificationCenter::Observer NotificationCenter::addObserver(
    Text name, std::function<void(const Notification&)> observer, const void* ofObject) {
  if (name.isNil()) throw Exception({FailureCode::observerNameless});
  if (!observer) throw Exception({FailureCode::observerWithoutFunction});
  auto entry = std::make_shared<Entry>(Entry{std::move(name), std::move(observer), ofObject});
  registry_->entries.push_back(entry);
  return Observer(registry_, std::move(entry));
}

void NotificationCenter::postNotificationName(const Text& name, const void* object) {
  // An observer may destroy the centre, its own token or the name that the poster gave: all three are held.
  const std::shared_ptr<Registry> registry = registry_;
  const Notification notification{name, object};
  std::exception_ptr first;
  ++registry->postings;
  // By position and up to the present end: observers that come now may move the list but wait their turn.
  const std::size_t end = registry->entries.size();
  for (std::size_t i = 0; i < end; ++i) {
    const std::shared_ptr<Entry> entry = registry->entries[i];
    if (!entry || !entry->name.isEqualTo(notification.name)) continue;
    if (entry->object && entry->object != object) continue;
    try {
      entry->observer(notification);
    } catch (const std::exception& thrown) {
      first ? logThrown(notification.name, thrown.what()) : void(first = std::current_exception());
    } catch (...) {
      first ? logThrown(notification.name, "something that is no exception")
            : void(first = std::current_exception());
    }
  }
  --registry->postings;
  registry->closeHoles();
  if (first) std::rethrow_exception(first);
}

}  // namespace qorvane::inline v1
