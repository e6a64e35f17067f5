// A preference store that several programs share, in memory: what each of them saves stands on one disk, and
// updates are merged with what stands there. For trying out what programs do to each other.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/UserDefaults.h"

namespace testing_support {

using Disk = std::map<std::string, qorvane::Value>;

class SharedUserDefaults : public qorvane::UserDefaults {
 public:
  explicit SharedUserDefaults(Disk& disk) : disk_(disk) {}

  /// While it is set, saves fail.
  bool failing = false;
  /// While it is set, reads throw.
  bool unreadable = false;
  /// Called under the lock before each write, which is then tried again if it answers true: another program
  /// that gets in between.
  std::function<bool()> beforeWrite;
  int writes = 0;

  qorvane::Value objectForKey(const qorvane::Text& key) override { return load(key).object; }

  Loaded load(const qorvane::Text& key) override {
    if (unreadable)
      throw qorvane::Exception(qorvane::Failure{qorvane::FailureCode::storeFailed, {"cannot be read"}});
    const qorvane::Value stored = standing(key.string());
    const auto found = pending_.find(key.string());
    return {stored, found == pending_.end() ? stored : answerOf(found->second, stored)};
  }

  void setObject(const qorvane::Value& value, const qorvane::Text& key) override {
    requirePropertyList(value, key);
    pending_[key.string()] = {value, {}};
  }

  void update(const qorvane::Value& whole, const qorvane::Text& key, std::shared_ptr<Merge> merge) override {
    requirePropertyList(whole, key);
    auto& merges = pending_[key.string()].merges;
    if (std::ranges::find(merges, merge) == merges.end()) merges.push_back(std::move(merge));
  }

  void forget(const qorvane::Text& key) override { pending_.erase(key.string()); }

  bool synchronize() override {
    if (failing) return false;
    for (auto& [key, pending] : std::exchange(pending_, {})) {
      qorvane::Value answer = answerOf(pending, standing(key));
      while (beforeWrite && beforeWrite()) answer = answerOf(pending, standing(key));
      ++writes;
      if (answer.isNil())
        disk_.erase(key);
      else
        disk_[key] = answer;
      for (const auto& merge : pending.merges) merge->written();
    }
    return true;
  }

  std::optional<qorvane::Failure> lastFailure() const override { return std::nullopt; }

 private:
  struct Pending {
    std::optional<qorvane::Value> whole;
    std::vector<std::shared_ptr<Merge>> merges;
  };

  qorvane::Value standing(const std::string& key) const {
    const auto found = disk_.find(key);
    return found == disk_.end() ? qorvane::Value() : found->second;
  }
  static qorvane::Value answerOf(const Pending& pending, qorvane::Value standing) {
    if (pending.whole) standing = *pending.whole;
    for (const auto& merge : pending.merges) standing = merge->merged(standing);
    return standing;
  }

  Disk& disk_;
  std::map<std::string, Pending> pending_;
};

}  // namespace testing_support
