// Numbers as people type them: digits, with a point or a comma before decimals.
#pragma once

#include <QString>
#include <cmath>
#include <cstdint>
#include <optional>

#include "qorvane/foundation/Number.h"
#include "tool/speech/Language.h"
#include "window/Words.h"

namespace optionsmgr::window {

/// The number in digits, with the decimal sign of the window's language.
inline QString digits(const qorvane::Number& number) {
  QString text = shown(number.stringValue());
  return speaksFrench() ? text.replace('.', ',') : text;
}

/// The finite number that the text is; none for any other text. Whole ones come as integers.
inline std::optional<qorvane::Number> numberTyped(const QString& text) {
  bool right = false;
  const double number = QString(text).replace(',', '.').trimmed().toDouble(&right);
  if (!right || !std::isfinite(number)) return std::nullopt;
  if (number == std::floor(number) && std::abs(number) < 9e15)
    return qorvane::Number(static_cast<std::int64_t>(number));
  return qorvane::Number(number);
}

}  // namespace optionsmgr::window
