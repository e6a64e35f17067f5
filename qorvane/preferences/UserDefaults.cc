#include "qorvane/preferences/UserDefaults.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/preferences/LayeredUserDefaults.h"

namespace qorvane::inline v1 {

namespace {

constexpr int kDeepest = 500;

bool isPropertyList(const Value& value, int depth) {
  if (depth > kDeepest) return false;
  switch (value.kind()) {
    case Value::Kind::Nil:
      return false;
    case Value::Kind::Array:
      return std::ranges::all_of(*value.asArray(),
                                 [&](const Value& v) { return isPropertyList(v, depth + 1); });
    case Value::Kind::Dictionary:
      return std::ranges::all_of(*value.asDictionary(), [&](const Dictionary::Entry& entry) {
        return isPropertyList(entry.value, depth + 1);
      });
    default:
      return true;
  }
}

UserDefaults* replacementStore = nullptr;

void raise(FaultInjectingUserDefaults::Fault fault, const Text& what) {
  switch (fault) {
    case FaultInjectingUserDefaults::Fault::None:
      return;
    case FaultInjectingUserDefaults::Fault::PlatformException:
      throw Exception({FailureCode::storeFailed, {what}});
    case FaultInjectingUserDefaults::Fault::OtherException:
      throw std::logic_error(what.c_str());
  }
}

}  // namespace

UserDefaults& UserDefaults::standardUserDefaults() {
  if (replacementStore) return *replacementStore;
  // Never destroyed: saves may come until the very end. So it outlives whatever serves for a while.
  static UserDefaults& files =
      *new LayeredUserDefaults(FileUserDefaults::defaultFolder(), optionLayerRule(), SystemCalls::real());
  return files;
}

UserDefaults* UserDefaults::setStandardUserDefaults(UserDefaults* replacement) {
  return std::exchange(replacementStore, replacement);
}

void UserDefaults::requirePropertyList(const Value& value, const Text& key) {
  if (key.isNil()) throw Exception({FailureCode::keyNil});
  if (!value.isNil() && !isPropertyList(value, 1)) throw Exception({FailureCode::valueNotStorable, {key}});
}

Settings UserDefaults::Merge::mergedLayers(const std::shared_ptr<const LayeredSettings>& standing) {
  return mergedSettings(standing->own());
}

void UserDefaults::setSettings(const Settings& settings, const Text& key) { setObject(settings.object, key); }

void UserDefaults::update(const Value& whole, const Text& key, std::shared_ptr<Merge>) {
  setObject(whole, key);
}

UserDefaults::Loaded UserDefaults::load(const Text& key) {
  const Value object = objectForKey(key);
  return {object, object};
}

std::string UserDefaults::fileOf(const Text&) const { return {}; }

void UserDefaults::forget(const Text&) {}

Value MemoryUserDefaults::objectForKey(const Text& key) {
  const auto found = objects_.find(key.view());
  return found == objects_.end() ? Value() : found->second;
}

void MemoryUserDefaults::setObject(const Value& value, const Text& key) {
  requirePropertyList(value, key);
  if (value.isNil())
    objects_.erase(key.string());
  else
    objects_.insert_or_assign(key.string(), value);
}

bool MemoryUserDefaults::synchronize() {
  ++synchronizeCount_;
  return true;
}

Value FaultInjectingUserDefaults::objectForKey(const Text& key) {
  raise(onRead, "the store cannot be read");
  return MemoryUserDefaults::objectForKey(key);
}

void FaultInjectingUserDefaults::setObject(const Value& value, const Text& key) {
  raise(onSet, "the store cannot take the value");
  MemoryUserDefaults::setObject(value, key);
}

bool FaultInjectingUserDefaults::synchronize() {
  raise(onSynchronize, "the store cannot be written");
  static_cast<void>(MemoryUserDefaults::synchronize());
  return !failure;
}

}  // namespace qorvane::inline v1
