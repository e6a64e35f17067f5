// What a person is told of a failure: in a few words, the whole reason being a tooltip away.
#pragma once

#include <QString>

#include "qorvane/foundation/Failure.h"

namespace optionsmgr::window {

/// "the disk is full", "permission denied": the innermost reason, in the language of the window.
QString inShort(const qorvane::Failure& failure);
/// The library's whole sentence.
QString inFull(const qorvane::Failure& failure);

}  // namespace optionsmgr::window
