// Secrets and expiry dates: a field with something beside it.
#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QToolButton>

#include "window/Editor.h"
#include "window/Marks.h"
#include "window/Numbers.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Number;
using qorvane::Text;
using qorvane::Value;

namespace {

// Says nothing of how long the secret is.
const QString kMask(8, QChar(0x2022));

// What is typed replaces the secret; the field itself never holds the one that stands, so nothing can copy
// it.
class SecretEditor : public Editor {
 public:
  SecretEditor(const Item& item, Sheet& sheet) : Editor(item, sheet) {
    QBoxLayout* row = beside();
    line_ = line(item.width);
    line_->setEchoMode(QLineEdit::Password);
    line_->setInputMethodHints(Qt::ImhHiddenText | Qt::ImhSensitiveData | Qt::ImhNoPredictiveText);
    QPalette colors = line_->palette();
    colors.setColor(QPalette::PlaceholderText, colors.color(QPalette::Text));
    line_->setPalette(colors);
    row->addWidget(line_);
    name(line_);
    connect(line_, &QLineEdit::textEdited, this, [this](const QString& text) { give(typed(text)); });
    eye_ = new QToolButton(this);
    eye_->setAutoRaise(true);
    eye_->setIcon(eyeIcon(palette()));
    eye_->setToolTip(said(Word::Reveal));
    name(eye_, said(Word::Reveal));
    connect(eye_, &QToolButton::pressed, this, [this] { reveal(true); });
    connect(eye_, &QToolButton::released, this, [this] { reveal(false); });
    row->addWidget(eye_);
    SecretEditor::refresh();
  }

  void refresh() override {
    if (revealed_) return;
    const bool isSet = !value().textValue().isNilOrEmpty();
    // While it is typed the field shows a dot a letter; what was typed before is masked like any other.
    const bool isTyping = line_->hasFocus() && typed(line_->text()) == value().textValue();
    if (!isTyping) line_->clear();
    line_->setPlaceholderText(isSet ? kMask : QString());
  }
  QWidget* field() override { return line_; }

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == line_ && event->type() == QEvent::FocusOut) {
      line_->clear();
    } else if (watched == line_ && event->type() == QEvent::KeyPress && line_->text().isEmpty()) {
      const int key = static_cast<QKeyEvent*>(event)->key();
      if (key == Qt::Key_Backspace || key == Qt::Key_Delete) give("", true);
    }
    return Editor::eventFilter(watched, event);
  }

 private:
  void reveal(bool on) {
    revealed_ = on;
    line_->setReadOnly(on);
    line_->setEchoMode(on ? QLineEdit::Normal : QLineEdit::Password);
    line_->setText(on ? shown(value().textValue()) : QString());
    refresh();
  }

  QLineEdit* line_;
  QToolButton* eye_;
  bool revealed_ = false;
};

// What the number counts is the application's affair, so there is no calendar; no date is the number 0.
class DateEditor : public Editor {
 public:
  DateEditor(const Item& item, Sheet& sheet) : Editor(item, sheet) {
    QBoxLayout* row = beside();
    line_ = line(item.width);
    row->addWidget(line_);
    name(line_);
    none_ = new QCheckBox(said(Word::NoDate), this);
    adopt(none_);
    name(none_, said(Word::NoDate));
    row->addWidget(none_);
    connect(line_, &QLineEdit::textEdited, this, [this](const QString& text) {
      const auto number = numberTyped(text);
      if (text.trimmed().isEmpty())
        give(Number(0));
      else
        give(number ? Value(*number) : Value(typed(text)));
    });
    connect(none_, &QCheckBox::clicked, this, [this](bool checked) {
      if (checked)
        give(Number(0), true);
      else
        line_->setFocus();
    });
    DateEditor::refresh();
  }

  void refresh() override {
    const Value now = value();
    const Number* number = now.asNumber();
    const bool isNone = now.isNil() || (number && number->doubleValue() == 0);
    none_->setChecked(isNone);
    const QString text = isNone ? QString() : number ? digits(*number) : shown(now.textValue());
    if (line_->text() == text ||
        (line_->hasFocus() && numberTyped(line_->text()) == std::optional(number ? *number : Number(0))))
      return;
    line_->setText(text);
  }
  QWidget* field() override { return line_; }

 private:
  QLineEdit* line_;
  QCheckBox* none_;
};

}  // namespace

Editor* makeSecretEditor(const Item& item, Sheet& sheet) { return new SecretEditor(item, sheet); }
Editor* makeDateEditor(const Item& item, Sheet& sheet) { return new DateEditor(item, sheet); }

}  // namespace optionsmgr::window
