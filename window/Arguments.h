// The command line of the window.
#pragma once

#include <QString>
#include <QStringList>

#include "window/Window.h"

namespace optionsmgr::window {

struct Arguments {
  Start start;
  /// To be printed in place of opening the window: help, the version, or what is wrong.
  QString answer;
  bool isWrong = false;
};

/// Reads the words, the program's name first, and sets the language: that of --lang, else what LC_ALL,
/// LC_MESSAGES or LANG names, if that is French or English, else that of the settings that are opened.
Arguments readArguments(const QStringList& words);

}  // namespace optionsmgr::window
