// QVSettings: which product is running, in which edition, for which tax year and release.
//
// The suite's settings library answers these five questions; this class stands in for it. An application
// says what it is in one call (`setProduct`) or hands over another source of the same answers (`setSource`).
// With nothing said, it is the professional personal product of the current filing season: the year
// before today's, by the local calendar. Main thread only.
#pragma once

#include <memory>

#include "qorvane/foundation/Scoped.h"
#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// What an application is, said in one call.
struct Product {
  /// True for the corporate product (T2), false for the personal one (T1).
  bool corporate = false;
  /// True for the professional edition, false for the single-filer one.
  bool professional = true;
  /// The tax year, such as 2020.
  int taxYear = 0;
  /// The T2 release of the year, such as "VER2021_2"; nil or "" when there is none.
  Text release = "";
};

class QVSettings {
 public:
  /// The five answers. Each is asked anew on every call, and may change between calls.
  class Source {
   public:
    virtual ~Source() = default;
    virtual bool isT2() const = 0;
    virtual int YOR() const = 0;
    virtual bool isPROVER() const = 0;
    virtual bool isT2_VER2() const = 0;
    virtual bool isT2VER(const Text& release) const = 0;
    /// The answers in one.
    virtual Product product() const;
  };

  /// The corporate product is running.
  static bool isT2();
  /// The tax year.
  static int YOR();
  /// The professional edition is running.
  static bool isPROVER();
  /// The second T2 release of the year is running: the release's text ends in "_2".
  static bool isT2_VER2();
  /// The corporate product is running in exactly this release, such as "VER2021_2". Nil is no release.
  static bool isT2VER(const Text& release);

  /// The product that runs now. Its release is nil where the source tells it by single questions only.
  static Product product();

  /// Answers as this product from now on, whatever source was set before.
  static void setProduct(Product product);
  /// Asks this source from now on; the caller keeps it alive. Null: back to the current filing season.
  static void setSource(const Source* source);

  /// A source that always answers as this product.
  static std::shared_ptr<const Source> sourceOf(Product product);
  /// Asks this source from now on, null for the current filing season. Returns the one asked until now.
  static std::shared_ptr<const Source> exchangeSource(std::shared_ptr<const Source> source);
};

/// While it lives, another source is asked.
using ScopedProductSource = Scoped<&QVSettings::exchangeSource>;

/// While it lives, another product runs.
struct [[nodiscard]] ScopedProduct : ScopedProductSource {
  explicit ScopedProduct(Product product) : ScopedProductSource(QVSettings::sourceOf(std::move(product))) {}
};

}  // namespace v1
}  // namespace qorvane
