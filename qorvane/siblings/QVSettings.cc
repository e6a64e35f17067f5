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
  Product product() const override {
    Product product = product_;
    product.taxYear = YOR();
    return product;
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

// What keeps the chosen one alive; itself never destroyed.
std::shared_ptr<const QVSettings::Source>& keeper() {
  static auto& source = *new std::shared_ptr<const QVSettings::Source>;
  return source;
}

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

Product QVSettings::Source::product() const {
  return {.corporate = isT2(), .professional = isPROVER(), .taxYear = YOR(), .release = nullptr};
}

Product QVSettings::product() { return source().product(); }

void QVSettings::setProduct(Product product) { exchangeSource(sourceOf(std::move(product))); }

void QVSettings::setSource(const Source* source) {
  exchangeSource(std::shared_ptr<const Source>(std::shared_ptr<const Source>(), source));
}

std::shared_ptr<const QVSettings::Source> QVSettings::sourceOf(Product product) {
  return std::make_shared<FixedProduct>(std::move(product));
}

std::shared_ptr<const QVSettings::Source> QVSettings::exchangeSource(std::shared_ptr<const Source> source) {
  chosen = source.get();
  return std::exchange(keeper(), std::move(source));
}

}  // namespace qorvane::inline v1
