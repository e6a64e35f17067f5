// The drawn signs of the window: a row's state, and the eye beside a secret. They follow palette, font and
// scale.
#pragma once

#include <QIcon>
#include <QPalette>
#include <QWidget>

#include "window/Sheet.h"

class QPainter;

namespace optionsmgr::window {

/// The word for a state, for those who do not see the sign or do not know it.
QString wordOf(State state);

/// The sign of a row's state; nothing for a default.
class Mark : public QWidget {
 public:
  explicit Mark(QWidget* parent);
  void show(State state);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  State state_ = State::Default;
};

/// Draws the sign into the square.
void drawMark(QPainter& painter, const QRectF& square, State state, const QPalette& palette);

QIcon eyeIcon(const QPalette& palette);

/// Colours that say "look here" and "this went wrong", readable on that palette's background, light or dark.
QColor warningColor(const QPalette& palette);
bool isDark(const QPalette& palette);

}  // namespace optionsmgr::window
