#include "window/Row.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

#include "tool/speech/Language.h"
#include "window/Words.h"

namespace optionsmgr::window {

Row::Row(const Item& item, Sheet& sheet, RowActions& actions, QWidget* parent)
    : QWidget(parent), item_(item), sheet_(sheet), actions_(actions) {
  setObjectName("row:" + shown(item.row->name));
  layout_ = new QGridLayout(this);
  layout_->setContentsMargins(4, 3, 4, 3);
  layout_->setHorizontalSpacing(8);
  layout_->setVerticalSpacing(2);
  mark_ = new Mark(this);
  label_ = new QLabel(this);
  setFound({}, {});
  label_->setWordWrap(true);
  label_->setFixedWidth(1);  // Until the page says better.
  more_ = new QToolButton(this);
  more_->setText("⋮");
  more_->setAutoRaise(true);
  more_->setFocusPolicy(Qt::NoFocus);
  more_->setAccessibleName(said(Word::More, item.label()));
  connect(more_, &QToolButton::clicked, this, &Row::openMenu);
  layout_->addWidget(mark_, 0, 0);
  layout_->addWidget(label_, 0, 1);
  layout_->addWidget(more_, 0, 5);
  layout_->setColumnStretch(2, 1);
  refresh();
}

// A lock that comes leaves what was typed in its field until the person gives it up.
void Row::placeEditor() {
  const bool reads = !sheet_.canBeSet(item_) && !sheet_.edit(item_);
  if (editor_ && reads == isReading_) return;
  const bool hadFocus = editor_ && editor_->isAncestorOf(QApplication::focusWidget());
  Editor* const former = editor_;
  if (former) {
    layout_->removeWidget(former);
    former->hide();
    former->field()->setObjectName({});
    former->deleteLater();
  }
  isReading_ = reads;
  editor_ = reads ? makeReading(item_, sheet_) : makeEditor(item_, sheet_);
  editor_->setParent(this);
  editor_->field()->setObjectName("field:" + shown(item_.row->name));
  editor_->changed = [this](const Item& changed, const Edit& edit, bool finished) {
    actions_.edited(changed, edit, finished);
  };
  label_->setBuddy(editor_->field());
  // Beside the first line of a control that has several.
  const Qt::Alignment top = editor_->isTall() ? Qt::AlignTop : Qt::AlignVCenter;
  for (QWidget* beside : std::initializer_list<QWidget*>{mark_, label_, more_}) {
    layout_->setAlignment(beside, top);
    beside->setContentsMargins(0, editor_->isTall() && beside != more_ ? 4 : 0, 0, 0);
  }
  layout_->addWidget(editor_, 0, 2, editor_->isWide() ? Qt::Alignment() : Qt::AlignLeft | top);
  editor_->show();
  // Tab comes to it where it came to the one before.
  if (former) setTabOrder(former->field(), editor_->field());
  linkStops();
  if (hadFocus) editor_->field()->setFocus();
}

void Row::refresh() {
  placeEditor();
  editor_->refresh();
  state_ = sheet_.state(item_);
  mark_->show(state_);
  const Notice now = notice();
  if (now.text != noticed_) showNotice(now);
  describe(now.text);
  update();
}

Row::Notice Row::notice() const {
  using enum RowActions::Settle;
  if (const auto& lock = sheet_.lock(item_)) {
    const bool byFirm = lock->layer == qorvane::OptionOrigin::Layer::Firm;
    Notice locked{said(byFirm ? Word::LockedByFirm : Word::LockedByMachine), {{said(Word::Why), Why}}};
    if (sheet_.edit(item_)) locked.answers.emplace_back(said(Word::TakeTheirs), TakeTheirs);
    return locked;
  }
  if (const qorvane::Value* theirs = sheet_.conflict(item_)) {
    const bool hidden = item_.control == Control::Secret;
    return {hidden ? said(Word::SavedMeanwhileHidden)
                   : said(Word::SavedMeanwhile, inWords(item_, sheet_.product(), *theirs)),
            {{said(Word::KeepMine), KeepMine}, {said(Word::TakeTheirs), TakeTheirs}}};
  }
  if (const auto& refusal = sheet_.refusal(item_)) {
    QString reason = shown(refusal->failure.reason(language()));
    reason = reason.left(1).toUpper() + reason.mid(1) + ".";
    Notice notice{reason, {{said(Word::Correct), Correct}}};
    if (refusal->mayBeKept) notice.answers.emplace_back(said(Word::KeepAnyway), KeepAnyway);
    return notice;
  }
  if (sheet_.isUnreadable(item_) && !sheet_.edit(item_))
    return {said(Word::NoColour), {{said(Word::UseDefault), UseDefault}}};
  return {};
}

void Row::showNotice(const Notice& notice) {
  noticed_ = notice.text;
  if (notice_) {
    layout_->removeWidget(notice_);
    // It may be a button in it that was pressed.
    notice_->hide();
    notice_->deleteLater();
    notice_ = nullptr;
  }
  if (notice.text.isEmpty()) return;
  notice_ = new QWidget(this);
  auto* line = new QHBoxLayout(notice_);
  line->setContentsMargins(0, 0, 0, 2);
  auto* text = new QLabel(notice.text, notice_);
  text->setObjectName("notice:" + shown(item_.row->name));
  text->setTextFormat(Qt::PlainText);
  text->setWordWrap(true);
  text->setTextInteractionFlags(Qt::TextSelectableByMouse);
  if (state_ >= State::Refused) {
    QPalette colors = text->palette();
    colors.setColor(QPalette::WindowText, warningColor(palette()));
    text->setPalette(colors);
  }
  // The answers stand at the end of the text, not at the end of the row.
  text->setMaximumWidth(text->fontMetrics().horizontalAdvance(notice.text) + 4);
  line->addWidget(text, 1000);
  for (const auto& [answer, how] : notice.answers) {
    auto* button = new QPushButton(answer, notice_);
    button->setAccessibleDescription(notice.text);
    connect(button, &QPushButton::clicked, this, [this, settled = how] { actions_.settle(item_, settled); });
    line->addWidget(button);
  }
  line->addStretch(1);
  layout_->addWidget(notice_, 1, 1, 1, 5);
  notice_->show();
  linkStops();
}

// For those who hear the window: the description, how the value stands, and what is to be said of it.
void Row::describe(const QString& noticed) {
  QStringList parts{item_.description(), wordOf(state_) + "."};
  if (!noticed.isEmpty()) parts << noticed;
  editor_->field()->setAccessibleDescription(parts.join(' '));
}

void Row::setFound(const QString& richLabel, const QString& elsewhere) {
  if (richLabel.isEmpty()) {
    label_->setTextFormat(Qt::PlainText);
    label_->setText(item_.label().replace('&', "&&"));
  } else {
    label_->setTextFormat(Qt::RichText);
    label_->setText(richLabel);
  }
  if (elsewhere.isEmpty() && !found_) return;
  if (!found_) {
    found_ = new QLabel(this);
    found_->setTextFormat(Qt::PlainText);
    found_->setWordWrap(true);
    found_->setForegroundRole(QPalette::PlaceholderText);
    layout_->addWidget(found_, 2, 1, 1, 3);
  }
  found_->setText(elsewhere);
  found_->setVisible(!elsewhere.isEmpty());
}

void Row::setOther(const QString& name, const std::optional<QString>& value) {
  if (!value && !other_) return;
  if (!other_) {
    take_ = new QToolButton(this);
    take_->setText("←");
    connect(take_, &QToolButton::clicked, this, [this] { actions_.takeOther(item_); });
    other_ = new QLabel(this);
    other_->setTextFormat(Qt::PlainText);
    other_->setWordWrap(true);
    other_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    other_->setFixedWidth(fontMetrics().horizontalAdvance('0') * 22);
    layout_->addWidget(take_, 0, 3);
    layout_->addWidget(other_, 0, 4);
    linkStops();
  }
  take_->setToolTip(said(Word::TakeOfYear, name));
  take_->setAccessibleName(QString("%1: %2").arg(item_.label(), said(Word::TakeOfYear, name)));
  other_->setAccessibleName(QString("%1, %2").arg(item_.label(), name));
  other_->setText(value ? QString("%1: %2").arg(name, *value) : QString());
  take_->setVisible(value.has_value());
  other_->setVisible(value.has_value());
}

std::vector<QWidget*> Row::stops() const {
  std::vector<QWidget*> stops;
  const auto add = [&](QWidget* widget) {
    // What hands the keyboard on, as the line in a list does, is no stop of its own.
    if ((widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy()) stops.push_back(widget);
  };
  for (QWidget* widget : editor_->findChildren<QWidget*>())
    if (widget->window() == window()) add(widget);
  if (take_) add(take_);
  if (notice_)
    for (QPushButton* answer : notice_->findChildren<QPushButton*>()) add(answer);
  return stops;
}

void Row::linkStops() {
  const std::vector<QWidget*> all = stops();
  for (std::size_t i = 1; i < all.size(); ++i) setTabOrder(all[i - 1], all[i]);
}

void Row::setWidths(int label, int other) {
  label_->setFixedWidth(label);
  if (other_) other_->setFixedWidth(other);
}

int Row::leastBesideLabel() const { return layout_->minimumSize().width() - label_->minimumWidth(); }

void Row::openMenu() { actions_.openMenu(item_, more_->mapToGlobal(QPoint(0, more_->height()))); }

void Row::contextMenuEvent(QContextMenuEvent* event) {
  openMenu();
  event->accept();
}

void Row::paintEvent(QPaintEvent*) {
  if (state_ <= State::Locked) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QColor tint = state_ == State::Unsaved ? palette().color(QPalette::Highlight) : warningColor(palette());
  tint.setAlphaF(0.10F);
  painter.setPen(Qt::NoPen);
  painter.setBrush(tint);
  painter.drawRoundedRect(rect(), 4, 4);
}

}  // namespace optionsmgr::window
