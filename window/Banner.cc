#include "window/Banner.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "window/Marks.h"
#include "window/Words.h"

namespace optionsmgr::window {

Banner::Banner(QWidget* parent) : QFrame(parent) {
  setObjectName("banner");
  setFrameShape(QFrame::StyledPanel);
  setAutoFillBackground(true);
  auto* line = new QHBoxLayout(this);
  text_ = new QLabel(this);
  text_->setObjectName("bannerText");
  text_->setTextFormat(Qt::PlainText);
  text_->setWordWrap(true);
  text_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  line->addWidget(text_, 1);
  answer_ = new QPushButton(this);
  answer_->setObjectName("bannerAnswer");
  connect(answer_, &QPushButton::clicked, this, [this] {
    hide();
    // It may show the next message.
    if (const auto then = then_) then();
  });
  line->addWidget(answer_);
  close_ = new QPushButton(this);
  connect(close_, &QPushButton::clicked, this, &QWidget::hide);
  line->addWidget(close_);
  hide();
}

void Banner::show(const QString& text, const QString& details, bool warning) {
  text_->setText(text);
  text_->setToolTip(details);
  setAccessibleName(text);
  setAccessibleDescription(details);
  QPalette colors = parentWidget()->palette();
  QColor back = warning ? warningColor(colors) : colors.color(QPalette::Highlight);
  const QColor base = colors.color(QPalette::Window);
  const float share = 0.16F;
  colors.setColor(QPalette::Window, QColor::fromRgbF(back.redF() * share + base.redF() * (1 - share),
                                                     back.greenF() * share + base.greenF() * (1 - share),
                                                     back.blueF() * share + base.blueF() * (1 - share)));
  setPalette(colors);
  close_->setText(said(Word::Close));
  setVisible(true);
  QAccessibleEvent alert(this, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

void Banner::warn(const QString& text, const QString& details, const QString& answer,
                  std::function<void()> then) {
  then_ = std::move(then);
  answer_->setText(answer);
  answer_->setVisible(!answer.isEmpty());
  show(text, details, true);
}

void Banner::tell(const QString& text) {
  then_ = nullptr;
  answer_->hide();
  show(text, {}, false);
}

}  // namespace optionsmgr::window
