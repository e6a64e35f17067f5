#include "window/ColorCode.h"

#include <QRegularExpression>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Exception.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Value;

namespace {

std::optional<qorvane::Color> unarchived(const Value& value) try {
  const qorvane::Data* archive = value.asData();
  return archive ? std::optional(qorvane::unarchiveColor(*archive)) : std::nullopt;
} catch (const qorvane::Exception&) {
  return std::nullopt;
}

}  // namespace

std::optional<QColor> colorOf(const Value& value) {
  const auto color = unarchived(value);
  const auto rgb = color ? color->colorUsingColorSpace(qorvane::ColorSpace::CalibratedRGB) : std::nullopt;
  if (!rgb) return std::nullopt;
  const auto parts = rgb->components();
  const auto part = [&](std::size_t i) { return static_cast<float>(std::clamp(parts[i], 0.0, 1.0)); };
  return QColor::fromRgbF(part(0), part(1), part(2));
}

Value archiveOf(const QColor& color) {
  return qorvane::archiveColor(qorvane::Color::colorWithCalibratedRed(
      color.red() / 255.0, color.green() / 255.0, color.blue() / 255.0, 1));
}

std::optional<QColor> colorTyped(const QString& text) {
  static const QRegularExpression kCode("^#?([0-9A-Fa-f]{6})$");
  const auto match = kCode.match(text.trimmed());
  return match.hasMatch() ? std::optional(QColor("#" + match.captured(1))) : std::nullopt;
}

QString colorInWords(const Value& value) {
  if (value.asText()) return shown(*value.asText());
  if (const auto color = colorOf(value)) return color->name().toUpper();
  return said(unarchived(value) ? Word::ColourWithoutCode : Word::NoColour);
}

}  // namespace optionsmgr::window
