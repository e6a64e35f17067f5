#include "window/Marks.h"

#include <QPainter>
#include <QPainterPath>

#include "window/Words.h"

namespace optionsmgr::window {

bool isDark(const QPalette& palette) { return palette.color(QPalette::Window).lightnessF() < 0.5; }

QColor warningColor(const QPalette& palette) {
  return isDark(palette) ? QColor(255, 170, 90) : QColor(176, 60, 0);
}

QString wordOf(State state) {
  switch (state) {
    case State::Default:
      return said(Word::MarkDefault);
    case State::Changed:
      return said(Word::MarkChanged);
    case State::Locked:
      return said(Word::MarkLocked);
    case State::Unsaved:
      return said(Word::MarkUnsaved);
    case State::Refused:
      return said(Word::MarkRefused);
    case State::Conflict:
      return said(Word::MarkConflict);
  }
  return {};
}

namespace {

// Each is drawn in a square of 16 by 16.
void drawPencil(QPainter& painter) {
  painter.drawPolygon(QPolygonF({{3, 13}, {3.6, 10.2}, {10.6, 3.2}, {12.8, 5.4}, {5.8, 12.4}}));
  painter.drawLine(QPointF(9, 4.8), QPointF(11.2, 7));
}
void drawLock(QPainter& painter, const QColor& color) {
  QPainterPath bow;
  bow.moveTo(5, 8);
  bow.lineTo(5, 6);
  bow.arcTo(QRectF(5, 3, 6, 6), 180, -180);
  bow.lineTo(11, 8);
  painter.drawPath(bow);
  painter.setBrush(color);
  painter.drawRoundedRect(QRectF(3.5, 8, 9, 6), 1, 1);
}
void drawWarning(QPainter& painter) {
  painter.drawPolygon(QPolygonF({{8, 2.5}, {14, 13.5}, {2, 13.5}}));
  painter.drawLine(QPointF(8, 6.5), QPointF(8, 9.8));
  painter.drawPoint(QPointF(8, 11.7));
}
void drawArrows(QPainter& painter) {
  painter.drawLine(QPointF(2.5, 5.5), QPointF(13, 5.5));
  painter.drawPolyline(QPolygonF({{10, 2.5}, {13, 5.5}, {10, 8.5}}));
  painter.drawLine(QPointF(13.5, 11), QPointF(3, 11));
  painter.drawPolyline(QPolygonF({{6, 8.3}, {3, 11}, {6, 14}}));
}

}  // namespace

void drawMark(QPainter& painter, const QRectF& square, State state, const QPalette& palette) {
  if (state == State::Default) return;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(square.topLeft());
  painter.scale(square.width() / 16, square.height() / 16);
  const bool isUrgent = state == State::Refused || state == State::Conflict;
  const QColor color = isUrgent ? warningColor(palette) : palette.color(QPalette::WindowText);
  painter.setPen(QPen(color, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  switch (state) {
    case State::Default:
      break;
    case State::Changed:
      painter.setPen(Qt::NoPen);
      painter.setBrush(color);
      painter.drawEllipse(QPointF(8, 8), 2.6, 2.6);
      break;
    case State::Locked:
      drawLock(painter, color);
      break;
    case State::Unsaved:
      drawPencil(painter);
      break;
    case State::Refused:
      drawWarning(painter);
      break;
    case State::Conflict:
      drawArrows(painter);
      break;
  }
  painter.restore();
}

Mark::Mark(QWidget* parent) : QWidget(parent) { setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed); }

QSize Mark::sizeHint() const {
  const int side = fontMetrics().height() + 2;
  return {side, side + contentsMargins().top()};
}

void Mark::show(State state) {
  state_ = state;
  setToolTip(state == State::Default ? QString() : wordOf(state));
  setAccessibleName(wordOf(state));
  update();
}

void Mark::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  drawMark(painter, QRectF(contentsRect()).adjusted(1, 1, -1, -1), state_, palette());
}

QIcon eyeIcon(const QPalette& palette) {
  QPixmap picture(64, 64);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(4, 4);
  painter.setPen(QPen(palette.color(QPalette::ButtonText), 1.3));
  QPainterPath eye;
  eye.moveTo(1.5, 8);
  eye.quadTo(8, 1.5, 14.5, 8);
  eye.quadTo(8, 14.5, 1.5, 8);
  painter.drawPath(eye);
  painter.setBrush(palette.color(QPalette::ButtonText));
  painter.drawEllipse(QPointF(8, 8), 2, 2);
  return QIcon(picture);
}

}  // namespace optionsmgr::window
