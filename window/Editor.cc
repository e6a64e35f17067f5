#include "window/Editor.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <algorithm>

#include "window/Numbers.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Text;
using qorvane::Value;

namespace {

// As wide as so many characters where there is room for them, and narrower in a narrow window.
class Line : public QLineEdit {
 public:
  Line(int characters, QWidget* parent) : QLineEdit(parent), characters_(characters) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  }
  QSize sizeHint() const override { return {widthOf(characters_), QLineEdit::sizeHint().height()}; }
  QSize minimumSizeHint() const override {
    return {widthOf(std::min(characters_, kLeast)), QLineEdit::minimumSizeHint().height()};
  }

 private:
  static constexpr int kLeast = 12;
  // An even mix of digits and letters, and the frame.
  int widthOf(int characters) const {
    return fontMetrics().horizontalAdvance('0') * characters + fontMetrics().horizontalAdvance("MM");
  }

  int characters_;
};

// Keys that a field would take for itself, though they are the window's: undo, and those of an editor of
// another age.
bool isOfTheWindow(const QKeyEvent& key) {
  if (!(key.modifiers() & Qt::ControlModifier)) return false;
  switch (key.key()) {
    case Qt::Key_Z:
    case Qt::Key_Y:
    case Qt::Key_D:
    case Qt::Key_H:
    case Qt::Key_F:
    case Qt::Key_S:
    case Qt::Key_Backspace:
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool Editor::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride && isOfTheWindow(*static_cast<QKeyEvent*>(event))) {
    event->ignore();
    return true;
  }
  if (event->type() == QEvent::Wheel && !qobject_cast<QPlainTextEdit*>(watched)) {
    event->ignore();
    return true;
  }
  return QWidget::eventFilter(watched, event);
}

void Editor::adopt(QWidget* control) {
  control->installEventFilter(this);
  if (control->focusPolicy() == Qt::WheelFocus) control->setFocusPolicy(Qt::StrongFocus);
}

QLineEdit* Editor::line(int characters) {
  auto* edit = new Line(characters, this);
  adopt(edit);
  return edit;
}

QBoxLayout* Editor::beside() {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  return row;
}

void Editor::name(QWidget* control, const QString& also) const {
  control->setAccessibleName(also.isEmpty() ? item_.label() : QString("%1, %2").arg(item_.label(), also));
  control->setAccessibleDescription(item_.description());
  if (!qobject_cast<QComboBox*>(control)) return;
  // On Linux a list's name is what is chosen in it; what it is for is told by a label, which has to be its
  // sibling.
  auto* label = new QLabel(control->accessibleName(), control->parentWidget());
  label->setBuddy(control);
  label->hide();
}

namespace {

// What a form shows in a field: a text as it stands, a number in digits.
QString fieldText(const Value& value) {
  if (const qorvane::Number* number = value.asNumber()) return digits(*number);
  return shown(value.textValue());
}

class TextEditor : public Editor {
 public:
  TextEditor(const Item& item, Sheet& sheet) : Editor(item, sheet) {
    QBoxLayout* row = beside();
    line_ = line(item.width);
    row->addWidget(line_);
    name(line_);
    connect(line_, &QLineEdit::textEdited, this, [this](const QString& text) { give(meant(text)); });
    if (item.control == Control::Folder) addChooser(row);
    TextEditor::refresh();
  }

  void refresh() override {
    const QString text = fieldText(value());
    if (line_->text() == text) return;
    line_->setText(text);
    if (!line_->hasFocus()) line_->setCursorPosition(0);
  }
  QWidget* field() override { return line_; }
  void open() override {
    if (item().control == Control::Folder) choose();
  }

 private:
  Value meant(const QString& text) const {
    if (item().control != Control::Number) return typed(text);
    if (text.trimmed().isEmpty()) return fallbackOfNumber();
    const auto number = numberTyped(text);
    return number ? Value(*number) : Value(typed(text));
  }
  // An empty field says that nobody set it.
  Value fallbackOfNumber() const { return sheet().fallback(item()); }

  void addChooser(QBoxLayout* row) {
    auto* button = new QPushButton(said(Word::ChooseFolder), this);
    name(button, said(Word::ChooseFolder));
    connect(button, &QPushButton::clicked, this, [this] { choose(); });
    row->addWidget(button);
  }
  void choose() {
    const QString folder =
        QFileDialog::getExistingDirectory(this, said(Word::ChooseFolderFor, item().label()), line_->text());
    if (!folder.isEmpty()) give(typed(folder), true);
  }

  QLineEdit* line_;
};

class LinesEditor : public Editor {
 public:
  LinesEditor(const Item& item, Sheet& sheet) : Editor(item, sheet) {
    QBoxLayout* row = beside();
    text_ = new QPlainTextEdit(this);
    text_->setTabChangesFocus(true);
    text_->setFixedHeight(text_->fontMetrics().lineSpacing() * 6);
    row->addWidget(text_);
    adopt(text_);
    name(text_);
    LinesEditor::refresh();
    connect(text_, &QPlainTextEdit::textChanged, this, [this] {
      if (!showing_) give(typed(text_->toPlainText()));
    });
  }

  void refresh() override {
    const QString text = fieldText(value());
    if (text_->toPlainText() == text) return;
    showing_ = true;
    text_->setPlainText(text);
    showing_ = false;
  }
  QWidget* field() override { return text_; }
  bool isWide() const override { return true; }
  bool isTall() const override { return true; }

 private:
  QPlainTextEdit* text_;
  bool showing_ = false;
};

// A value that cannot be changed: to be read, reached with the keyboard, and copied.
class Reading : public Editor {
 public:
  Reading(const Item& item, Sheet& sheet) : Editor(item, sheet) {
    QBoxLayout* row = beside();
    label_ = new QLabel(this);
    label_->setTextFormat(Qt::PlainText);
    label_->setWordWrap(true);
    label_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label_->setFocusPolicy(Qt::StrongFocus);
    row->addWidget(label_);
    Reading::refresh();
  }

  void refresh() override {
    label_->setText(inWords(item(), product(), value()));
    name(label_, label_->text());
  }
  QWidget* field() override { return label_; }
  bool isWide() const override { return true; }

 private:
  QLabel* label_;
};

}  // namespace

Editor* makeReading(const Item& item, Sheet& sheet) { return new Reading(item, sheet); }

Editor* makeEditor(const Item& item, Sheet& sheet) {
  switch (item.control) {
    case Control::Flag:
      return makeFlagEditor(item, sheet);
    case Control::List:
      return makeListEditor(item, sheet);
    case Control::Date:
      return makeDateEditor(item, sheet);
    case Control::Font:
      return makeFontEditor(item, sheet);
    case Control::Color:
      return makeColorEditor(item, sheet);
    case Control::Secret:
      return makeSecretEditor(item, sheet);
    case Control::Lines:
      return new LinesEditor(item, sheet);
    case Control::Text:
    case Control::Number:
    case Control::Folder:
      break;
  }
  return new TextEditor(item, sheet);
}

}  // namespace optionsmgr::window
