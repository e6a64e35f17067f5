// Fonts and colours.
#include <QColorDialog>
#include <QComboBox>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <algorithm>

#include "window/ColorCode.h"
#include "window/Editor.h"
#include "window/Numbers.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Value;

namespace {

// A font as it is typed: "name, size", where the size may be no number yet.
struct TypedFont {
  QString name;
  QString size;
};

TypedFont fontIn(const Value& value) {
  const QString text = shown(value.textValue());
  const qsizetype comma = text.lastIndexOf(", ");
  return comma < 0 ? TypedFont{text, {}} : TypedFont{text.left(comma), text.mid(comma + 2)};
}

// Font names take a while to list, so that is done when they are asked for.
class FontList : public QComboBox {
 public:
  using QComboBox::QComboBox;
  void showPopup() override {
    if (count() == 0) {
      const QString now = currentText();
      addItem(QString());
      addItems(QFontDatabase::families());
      setEditText(now);
    }
    QComboBox::showPopup();
  }
};

// Fonts that keep their size in one entry have one field for it, beside the first of them.
class FontEditor : public Editor {
 public:
  FontEditor(const Item& item, Sheet& sheet) : Editor(item, sheet) {
    for (const Item& other : sheet.items())
      if (sharesSize(other)) sharing_.push_back(&other);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    list_ = new FontList(this);
    list_->setEditable(true);
    list_->setInsertPolicy(QComboBox::NoInsert);
    list_->setFixedWidth(list_->fontMetrics().horizontalAdvance('0') * 26);
    list_->lineEdit()->setPlaceholderText(said(Word::NotSet));
    adopt(list_);
    adopt(list_->lineEdit());
    name(list_);
    column->addWidget(list_, 0, Qt::AlignLeft);
    connect(list_->lineEdit(), &QLineEdit::textEdited, this, [this] { giveName(false); });
    connect(list_, &QComboBox::activated, this, [this] { giveName(true); });
    if (sharing_.front() == &item) addSize(column);
    FontEditor::refresh();
  }

  void refresh() override {
    const QString name = fontIn(value()).name;
    if (list_->currentText() != name) list_->setEditText(name);
    if (!size_) return;
    const QString size = sizeNow();
    if (size_->text() != size) size_->setText(size);
    sizeLabel_->setVisible(!size.isNull());
    size_->setVisible(!size.isNull());
  }
  QWidget* field() override { return list_; }
  void open() override { list_->showPopup(); }
  bool isTall() const override { return size_ != nullptr; }

 private:
  static constexpr const char* kFirstSize = "12";

  bool sharesSize(const Item& other) const {
    if (other.control != Control::Font) return false;
    return &other == &item() || std::ranges::any_of(other.row->furtherKeys, [&](const qorvane::Text& key) {
      return std::ranges::find(item().row->furtherKeys, key) != item().row->furtherKeys.end();
    });
  }
  // Null where no font is set.
  QString sizeNow() const {
    for (const Item* font : sharing_)
      if (const TypedFont now = fontIn(sheet().value(*font)); !now.name.isEmpty())
        return now.size.isNull() ? QString("") : now.size;
    return {};
  }

  void addSize(QBoxLayout* column) {
    sizeLabel_ = new QLabel(said(Word::FontSize), this);
    size_ = line(4);
    sizeLabel_->setBuddy(size_);
    name(size_, said(Word::FontSize));
    auto* row = new QHBoxLayout;
    row->addWidget(sizeLabel_);
    row->addWidget(size_);
    row->addStretch();
    column->addLayout(row);
    connect(size_, &QLineEdit::textEdited, this, [this](const QString& size) {
      for (const Item* font : sharing_)
        if (const TypedFont now = fontIn(sheet().value(*font)); !now.name.isEmpty())
          changed(*font, {false, typed(now.name + ", " + size)}, false);
    });
  }
  void giveName(bool finished) {
    const QString name = list_->currentText().trimmed();
    const QString size = sizeNow().isNull() ? QString(kFirstSize) : sizeNow();
    if (name.isEmpty())
      changed(item(), {true, nullptr}, finished);
    else
      give(typed(name + ", " + size), finished);
  }

  std::vector<const Item*> sharing_;
  FontList* list_;
  QLabel* sizeLabel_ = nullptr;
  QLineEdit* size_ = nullptr;
};

// A line of a form on that background.
class Swatch : public QPushButton {
 public:
  explicit Swatch(QWidget* parent) : QPushButton(parent) {
    setFixedSize(fontMetrics().horizontalAdvance("00 000,00 $") + 24, fontMetrics().height() + 12);
  }
  void show(std::optional<QColor> color) {
    color_ = color;
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    const QRect body = rect().adjusted(1, 1, -2, -2);
    painter.fillRect(body,
                     color_ ? QBrush(*color_) : QBrush(palette().color(QPalette::Mid), Qt::BDiagPattern));
    painter.setPen(
        QPen(palette().color(hasFocus() ? QPalette::Highlight : QPalette::Mid), hasFocus() ? 2 : 1));
    painter.drawRect(body);
    if (!color_) return;
    painter.setPen(color_->lightnessF() > 0.45 ? Qt::black : Qt::white);
    painter.drawText(body.adjusted(6, 0, -6, 0), Qt::AlignRight | Qt::AlignVCenter,
                     QLocale(speaksFrench() ? "fr_CA" : "en_CA").toString(1234.56, 'f', 2));
  }

 private:
  std::optional<QColor> color_;
};

class ColorEditor : public Editor {
 public:
  ColorEditor(const Item& item, Sheet& sheet) : Editor(item, sheet) {
    QBoxLayout* row = beside();
    swatch_ = new Swatch(this);
    adopt(swatch_);
    name(swatch_, said(Word::ChooseColour, item.label()));
    row->addWidget(swatch_);
    code_ = line(9);
    name(code_);
    row->addWidget(code_);
    connect(swatch_, &QPushButton::clicked, this, [this] { open(); });
    connect(code_, &QLineEdit::textEdited, this, [this](const QString& text) {
      const auto color = colorTyped(text);
      give(color ? archiveOf(*color) : Value(typed(text)));
    });
    ColorEditor::refresh();
  }

  void refresh() override {
    const Value now = value();
    swatch_->show(colorOf(now));
    const bool showsIt =
        code_->hasFocus() && colorTyped(code_->text()) && colorTyped(code_->text()) == colorOf(now);
    const QString text = sheet().isUnreadable(item()) && now.isNil() ? QString() : colorInWords(now);
    if (!showsIt && code_->text() != text) code_->setText(text);
  }
  QWidget* field() override { return code_; }
  void open() override {
    const QColor before = colorOf(value()).value_or(QColor(Qt::white));
    const QColor chosen = QColorDialog::getColor(before, this, said(Word::ChooseColour, item().label()));
    if (chosen.isValid()) give(archiveOf(chosen), true);
  }

 private:
  Swatch* swatch_;
  QLineEdit* code_;
};

}  // namespace

Editor* makeFontEditor(const Item& item, Sheet& sheet) { return new FontEditor(item, sheet); }
Editor* makeColorEditor(const Item& item, Sheet& sheet) { return new ColorEditor(item, sheet); }

}  // namespace optionsmgr::window
