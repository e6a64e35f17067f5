// The fonts, which are the only options of two entries each: the name under a key of its own, and the size
// under one key for both, so that a size set for the header is the footer's as well.
#include <array>
#include <charconv>
#include <limits>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/store/Accessors.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

namespace {

constexpr Key kHeaderFontName{optsStr_HeaderFontName};
constexpr Key kFooterFontName{optsStr_FooterFontName};
constexpr Key kFontSize{optsStr_HeaderFontSize};

std::optional<FontDescriptor> readFont(const Dictionary* options, const Key& nameKey) {
  const Value* name = options ? options->find(nameKey) : nullptr;
  const Value* size = options ? options->find(kFontSize) : nullptr;
  if (!name || !size || name->textValue().isNil()) return std::nullopt;
  return FontDescriptor(name->textValue(), static_cast<float>(size->doubleValue()));
}

// Six decimals behind a point, whatever the locale: settings travel.
Text sizeText(double size) {
  std::array<char, std::numeric_limits<double>::max_exponent10 + 16> digits;
  const char* end = std::to_chars(digits.begin(), digits.end(), size, std::chars_format::fixed, 6).ptr;
  return Text(std::string_view(digits.data(), end));
}

void writeFont(StoreAccess store, const Key& nameKey, const std::optional<FontDescriptor>& font) {
  Dictionary* const options = store.dictionary();
  if (!options || !font || font->postscriptName().isNil() || store.isLocked(nameKey, kFontSize)) return;
  options->set(nameKey, font->postscriptName());
  options->set(kFontSize, sizeText(font->pointSize()));
}

}  // namespace

std::optional<FontDescriptor> Options::printFontForHeader() { return readFont(opts_.get(), kHeaderFontName); }
void Options::setPrintFontForHeader(const std::optional<FontDescriptor>& font) {
  writeFont(StoreAccess(*this), kHeaderFontName, font);
}

std::optional<FontDescriptor> Options::printFontForFooter() { return readFont(opts_.get(), kFooterFontName); }
void Options::setPrintFontForFooter(const std::optional<FontDescriptor>& font) {
  writeFont(StoreAccess(*this), kFooterFontName, font);
}

}  // namespace qorvane::inline v1
