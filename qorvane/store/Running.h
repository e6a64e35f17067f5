// Running: the product that a store works for. Internal to the store.
#pragma once

#include "qorvane/siblings/QVSettings.h"

namespace qorvane::inline v1 {

/// A product of the store's own, or whatever the process runs, which is asked anew on each call.
class Running {
 public:
  /// What the process runs; folders that are asked for are made.
  Running() = default;
  /// That product, which outlives this object; null for what the process runs.
  explicit Running(const Product* product, bool makesFolders = false)
      : own_(product), makesFolders_(makesFolders || !product) {}

  bool isT2() const { return own_ ? own_->corporate : QVSettings::isT2(); }
  int YOR() const { return own_ ? own_->taxYear : QVSettings::YOR(); }
  Product product() const { return own_ ? *own_ : QVSettings::product(); }
  /// A folder that is asked for is made when it is missing.
  bool makesFolders() const { return makesFolders_; }

 private:
  const Product* own_ = nullptr;
  bool makesFolders_ = true;
};

}  // namespace qorvane::inline v1
