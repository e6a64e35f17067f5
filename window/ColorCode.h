// Colours as people write them: "#RRGGBB".
#pragma once

#include <QColor>
#include <QString>
#include <optional>

#include "qorvane/foundation/Value.h"

namespace optionsmgr::window {

/// The colour of an option's value (the archive of one); none where it is no colour, or one that no code can
/// tell.
std::optional<QColor> colorOf(const qorvane::Value& value);
/// The archive of an opaque colour, as an option takes it.
qorvane::Value archiveOf(const QColor& color);
/// The colour that "#RRGGBB" or "RRGGBB" is.
std::optional<QColor> colorTyped(const QString& text);
/// "#CCFFFF"; words for a colour without a code and for what is no colour; a text stays.
QString colorInWords(const qorvane::Value& value);

}  // namespace optionsmgr::window
