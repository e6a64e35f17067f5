#include "window/Page.h"

#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <set>

#include "tool/speech/Language.h"
#include "window/Words.h"

namespace optionsmgr::window {

Page::Page(RowActions& actions, QWidget* before, QWidget* parent)
    : QScrollArea(parent), actions_(actions), before_(before) {
  setWidgetResizable(true);
  setFrameShape(QFrame::NoFrame);
  setFocusPolicy(Qt::NoFocus);
  content_ = new QWidget;
  auto* outer = new QHBoxLayout(content_);
  outer->setContentsMargins(16, 8, 16, 16);
  // Rows end where a person still sees which ⋮ belongs to which label.
  column_ = new QWidget(content_);
  column_->setMaximumWidth(fontMetrics().horizontalAdvance('0') * 100);
  layout_ = new QVBoxLayout(column_);
  layout_->setContentsMargins(0, 0, 0, 0);
  layout_->setSpacing(1);
  outer->addWidget(column_, 1, Qt::AlignTop);
  outer->addStretch(0);
  setWidget(content_);
}

void Page::forget() {
  clear();
  for (const auto& [item, row] : made_) {
    row->hide();
    row->deleteLater();
  }
  made_.clear();
}

void Page::clear() {
  while (QLayoutItem* item = layout_->takeAt(0)) delete item;
  for (QWidget* widget : between_) {
    widget->hide();
    widget->deleteLater();
  }
  between_.clear();
  sections_.clear();
  shown_.clear();
  columns_.clear();
}

int Page::widestLabel() const {
  int width = 0;
  for (const Item& item : sheet_->items())
    width = std::max(width, fontMetrics().horizontalAdvance(item.label()) + 4);
  return width;
}

// Labels form one column on every page; where it would leave too little to the fields, the longer ones wrap.
void Page::fitLabels() {
  if (shown_.empty()) return;
  const int width = std::min(viewport()->width() - column_->x() * 2, column_->maximumWidth());
  const int letter = fontMetrics().horizontalAdvance('0');
  const int other = std::clamp(width / 4, letter * 12, letter * 26);
  const int widest = widestLabel();
  for (const int columns : std::set<int>(columns_.begin(), columns_.end())) {
    int beside = 0;
    for (std::size_t i = 0; i < shown_.size(); ++i)
      if (columns_[i] == columns) beside = std::max(beside, shown_[i]->leastBesideLabel());
    const int share = width / columns * (columns == 1 ? 40 : 65) / 100;
    const int fitting = std::max(letter * 16, std::min({widest, share, width / columns - beside}));
    for (std::size_t i = 0; i < shown_.size(); ++i)
      if (columns_[i] == columns) shown_[i]->setWidths(fitting, other);
  }
}

bool Page::haveRoom(const Section& section) const {
  return viewport()->width() >= section.columns * fontMetrics().horizontalAdvance('0') * 42;
}

void Page::resizeEvent(QResizeEvent* event) {
  const bool change = std::ranges::any_of(sections_, [&](const Section& section) {
    return section.columns > 1 && haveRoom(section) != hasColumns_;
  });
  if (change) show(*sheet_, std::vector<Section>(sections_));
  fitLabels();
  QScrollArea::resizeEvent(event);
}

Row& Page::rowFor(const Item& item) {
  Row*& row = made_[&item];
  if (!row) row = new Row(item, *sheet_, actions_, content_);
  return *row;
}

QLabel* Page::makeTitle(const QString& text, QWidget* parent) {
  auto* title = new QLabel(text, parent);
  title->setTextFormat(Qt::PlainText);
  title->setWordWrap(true);
  QFont larger = title->font();
  larger.setPointSizeF(larger.pointSizeF() * 1.35);
  title->setFont(larger);
  title->setContentsMargins(4, 8, 4, 4);
  return title;
}

void Page::addTitle(const QString& text, bool small) {
  QLabel* title = makeTitle(text, this);
  if (small) {
    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    title->setFont(bold);
    title->setContentsMargins(4, 12, 4, 2);
  }
  layout_->addWidget(title);
  title->show();
  between_.push_back(title);
}

void Page::show(Sheet& sheet, const std::vector<Section>& sections, QWidget* head) {
  setUpdatesEnabled(false);
  const std::vector<Row*> before = shown_;
  clear();
  sheet_ = &sheet;
  if (head) {
    layout_->addWidget(head);
    head->show();
    between_.push_back(head);
  }
  sections_ = sections;
  hasColumns_ = false;
  for (const Section& section : sections) {
    addTitle(section.title, !section.hasHeadings);
    const int columns = haveRoom(section) ? section.columns : 1;
    hasColumns_ = hasColumns_ || columns > 1;
    QGridLayout* grid = nullptr;
    int place = 0;
    for (const Item* item : section.items) {
      if (section.hasHeadings && item->headingEnglish) {
        addTitle(QString::fromUtf8(speaksFrench() ? item->headingFrench : item->headingEnglish), true);
        grid = nullptr;
      }
      Row& row = rowFor(*item);
      shown_.push_back(&row);
      columns_.push_back(columns);
      if (columns == 1) {
        layout_->addWidget(&row);
        continue;
      }
      if (!grid) {
        place = 0;
        grid = new QGridLayout;
        grid->setSpacing(1);
        grid->setContentsMargins(0, 0, 0, 0);
        layout_->addLayout(grid);
      }
      grid->addWidget(&row, place / columns, place % columns);
      ++place;
    }
  }
  layout_->addStretch(1);
  for (Row* row : before)
    if (std::ranges::find(shown_, row) == shown_.end()) row->hide();
  for (Row* row : shown_) row->setVisible(true);
  // Tab follows what is read.
  QWidget* last = before_;
  const auto follow = [&](QWidget* stop) {
    setTabOrder(last, stop);
    last = stop;
  };
  if (head)
    for (QPushButton* button : head->findChildren<QPushButton*>()) follow(button);
  for (Row* row : shown_)
    for (QWidget* stop : row->stops()) follow(stop);
  setUpdatesEnabled(true);
}

void Page::say(const QString& text, const QString& answer, const std::function<void()>& then) {
  const std::vector<Row*> before = shown_;
  clear();
  for (Row* row : before) row->hide();
  auto* message = new QLabel(text, this);
  message->setObjectName("pageMessage");
  message->setTextFormat(Qt::PlainText);
  message->setWordWrap(true);
  message->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  message->setContentsMargins(4, 24, 4, 12);
  layout_->addWidget(message);
  message->show();
  between_.push_back(message);
  if (!answer.isEmpty()) {
    auto* button = new QPushButton(answer, this);
    button->setObjectName("pageAnswer");
    connect(button, &QPushButton::clicked, this, then);
    layout_->addWidget(button, 0, Qt::AlignLeft);
    button->show();
    setTabOrder(before_, button);
    between_.push_back(button);
  }
  layout_->addStretch(1);
}

Row* Page::rowOf(const Item& item) const {
  const auto row = std::ranges::find(shown_, &item, [](const Row* one) { return &one->item(); });
  return row == shown_.end() ? nullptr : *row;
}

Row* Page::rowAround(QWidget* widget) {
  for (; widget; widget = widget->parentWidget())
    if (auto* row = dynamic_cast<Row*>(widget)) return row;
  return nullptr;
}

void Page::refresh(const Item& item) {
  if (const auto row = made_.find(&item); row != made_.end()) row->second->refresh();
}

void Page::refreshAll() {
  for (const auto& [item, row] : made_) row->refresh();
}

void Page::goTo(Row& row) {
  ensureWidgetVisible(&row);
  row.field()->setFocus(Qt::TabFocusReason);
}

}  // namespace optionsmgr::window
