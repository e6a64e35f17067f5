#include "qorvane/siblings/QVSettings.h"

#include <ctime>
#include <utility>

namespace qorvane::inline v1 {

namespace {

class FixedProduct : public QVSettings::Source {
 public:
  explicit FixedProduct(Product product) : product_(std::move(product)) {}

  bool isT2() const override { return product_.corporate; }
  int YOR() const override { return product_.taxYear; }
  bool isPROVER() const override { return product_.professional; }
  bool isT2_VER2() const override { return product_.release.view().ends_with("_2"); }
  bool isT2VER(const Text& release) const override {
    return product_.corporate && product_.release.isEqualTo(release);
  }

 private:
  Product product_;
};

// Returns are prepared in the year after the one that they are for.
int currentFilingSeason() {
  const std::time_t now = std::time(nullptr);
  std::tm today{};
  localtime_r(&now, &today);
  return today.tm_year + 1900 - 1;
}

// The professional personal product of the current filing season, which the calendar moves on.
class Season : public FixedProduct {
 public:
  Season() : FixedProduct({}) {}
  int YOR() const override { return currentFilingSeason(); }
};

constinit const QVSettings::Source* chosen = nullptr;

const QVSettings::Source& source() {
  if (chosen) return *chosen;
  static const Season& season = *new Season;  // Never destroyed: settings are asked for until the very end.
  return season;
}

}  // namespace

bool QVSettings::isT2() { return source().isT2(); }
int QVSettings::YOR() { return source().YOR(); }
bool QVSettings::isPROVER() { return source().isPROVER(); }
bool QVSettings::isT2_VER2() { return source().isT2_VER2(); }
bool QVSettings::isT2VER(const Text& release) { return source().isT2VER(release); }

void QVSettings::setProduct(Product product) {
  static FixedProduct& fixed = *new FixedProduct({});
  fixed = FixedProduct(std::move(product));
  setSource(&fixed);
}

void QVSettings::setSource(const Source* source) { chosen = source; }

}  // namespace qorvane::inline v1
