// Switches and lists.
#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QPainter>

#include "window/Editor.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Value;

namespace {

// A check box that is drawn as a switch; to those who do not see it it stays a check box.
class Switch : public QCheckBox {
 public:
  using QCheckBox::QCheckBox;

  QSize sizeHint() const override {
    const int height = fontMetrics().height() + 6;
    const int word = std::max(fontMetrics().horizontalAdvance(said(Word::Yes)),
                              fontMetrics().horizontalAdvance(said(Word::No)));
    return {track(height).toSize().width() + word + height, height};
  }
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  bool hitButton(const QPoint& at) const override { return rect().contains(at); }

  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QSizeF size = track(height());
    const QRectF body(1.5, (height() - size.height()) / 2, size.width() - 3, size.height());
    const qreal round = body.height() / 2;
    painter.setPen(QPen(palette().color(isChecked() ? QPalette::Highlight : QPalette::Mid), 1));
    painter.setBrush(isChecked() ? palette().highlight() : palette().base());
    painter.drawRoundedRect(body, round, round);
    const qreal side = body.height() - 6;
    const qreal left = isChecked() ? body.right() - side - 3 : body.left() + 3;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? palette().highlightedText() : palette().text());
    painter.drawEllipse(QRectF(left, body.top() + 3, side, side));
    if (hasFocus()) {
      painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
      painter.setBrush(Qt::NoBrush);
      painter.drawRoundedRect(body.adjusted(-1, -2, 1, 2), round + 1, round + 1);
    }
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(QRectF(size.width() + 6, 0, width(), height()), Qt::AlignVCenter | Qt::AlignLeft,
                     said(isChecked() ? Word::Yes : Word::No));
  }

 private:
  static QSizeF track(int height) {
    const qreal thick = height * 0.8;
    return {thick * 1.9, thick};
  }
};

class FlagEditor : public Editor {
 public:
  FlagEditor(const Item& item, Sheet& sheet) : Editor(item, sheet) {
    QBoxLayout* row = beside();
    switch_ = new Switch(this);
    adopt(switch_);
    name(switch_);
    row->addWidget(switch_);
    row->addStretch();
    connect(switch_, &QCheckBox::clicked, this, [this](bool on) { give(valueFor(on), true); });
    FlagEditor::refresh();
  }

  void refresh() override { switch_->setChecked(value().boolValue()); }
  QWidget* field() override { return switch_; }

 private:
  // Some flags are kept as the texts YES and NO, also by those who read them.
  Value valueFor(bool on) const {
    if (item().row->type == qorvane::OptionType::Flag) return on;
    return on ? "YES" : "NO";
  }

  Switch* switch_;
};

class ListEditor : public Editor {
 public:
  ListEditor(const Item& item, Sheet& sheet) : Editor(item, sheet), offers_(offersOf(item, sheet.product())) {
    QBoxLayout* row = beside();
    list_ = new QComboBox(this);
    // Narrower than its longest entry in a narrow window.
    list_->setMinimumWidth(list_->fontMetrics().horizontalAdvance('0') * 14);
    adopt(list_);
    name(list_);
    row->addWidget(list_);
    row->addStretch();
    connect(list_, &QComboBox::activated, this,
            [this](int index) { choose(list_->itemData(index).toString()); });
    ListEditor::refresh();
  }

  void refresh() override {
    const Value now = value();
    const QString meaning = meaningOf(item(), product(), now);
    if (list_->count() > 0 && list_->currentData().toString() == meaning) return;
    fill(meaning, now);
    list_->setCurrentIndex(list_->findData(meaning));
  }
  QWidget* field() override { return list_; }
  void open() override { list_->showPopup(); }

 private:
  // The offers; before them "(none)" where nothing is an answer, and behind them what stands but is not
  // offered.
  void fill(const QString& meaning, const Value& now) {
    list_->clear();
    const bool canBeNone = meaningOf(item(), product(), sheet().fallback(item())).isEmpty();
    if (canBeNone || meaning.isEmpty()) list_->addItem(said(Word::None), QString(""));
    for (const Offer& offer : offers_) list_->addItem(offer.label, offer.id);
    if (list_->findData(meaning) < 0)
      list_->addItem(said(Word::OtherValue, inWords(item(), product(), now)), meaning);
  }

  void choose(const QString& id) {
    for (const Offer& offer : offers_)
      if (offer.id == id) return give(offer.value, true);
    // Back to what is not offered: as it stands.
    if (id == meaningOf(item(), product(), sheet().saved(item())))
      give(sheet().saved(item()), true);
    else
      give("", true);
  }

  std::vector<Offer> offers_;
  QComboBox* list_;
};

}  // namespace

Editor* makeFlagEditor(const Item& item, Sheet& sheet) { return new FlagEditor(item, sheet); }
Editor* makeListEditor(const Item& item, Sheet& sheet) { return new ListEditor(item, sheet); }

}  // namespace optionsmgr::window
