#include "window/Sidebar.h"

#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>

#include "tool/speech/Language.h"
#include "window/Marks.h"
#include "window/Words.h"

namespace optionsmgr::window {

namespace {

constexpr int kBadge = Qt::UserRole;

class BadgeDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    QStyledItemDelegate::paint(painter, option, index);
    const QString badge = index.data(kBadge).toString();
    if (badge.isEmpty()) return;
    painter->save();
    const bool isUrgent = badge == "!";
    const QRect place = option.rect.adjusted(0, 0, -10, 0);
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    const bool isSelected = option.state & QStyle::State_Selected;
    painter->setPen(isSelected ? option.palette.color(QPalette::HighlightedText)
                    : isUrgent ? warningColor(option.palette)
                               : option.palette.color(QPalette::Text));
    painter->drawText(place, Qt::AlignRight | Qt::AlignVCenter, badge);
    painter->restore();
  }
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(option.fontMetrics.height() * 17 / 10);
    return size;
  }
};

}  // namespace

Sidebar::Sidebar(QWidget* parent) : QListWidget(parent) {
  setObjectName("groups");
  setItemDelegate(new BadgeDelegate(this));
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setTextElideMode(Qt::ElideRight);
  setFrameShape(QFrame::NoFrame);
}

void Sidebar::setGroups(const std::vector<const qorvane::OptionGroup*>& groups) {
  const QSignalBlocker quiet(this);
  const int before = currentRow();
  groups_ = groups;
  clear();
  for (const auto* group : groups) addItem(shown(group->name(language())));
  setAccessibleName(said(Word::Groups));
  setCurrentRow(std::clamp(before, 0, count() - 1));
  setFixedWidth(sizeHint().width());
}

QSize Sidebar::sizeHint() const {
  return {sizeHintForColumn(0) + fontMetrics().horizontalAdvance("  99  "), QListWidget::sizeHint().height()};
}

void Sidebar::setBadge(const qorvane::OptionGroup& group, const QString& badge, const QString& words) {
  const auto at = std::ranges::find(groups_, &group);
  if (at == groups_.end()) return;
  QListWidgetItem* shownItem = item(static_cast<int>(at - groups_.begin()));
  if (shownItem->data(kBadge).toString() == badge) return;
  shownItem->setData(kBadge, badge);
  shownItem->setToolTip(words);
  shownItem->setData(Qt::AccessibleTextRole,
                     words.isEmpty() ? shownItem->text() : QString("%1, %2").arg(shownItem->text(), words));
}

const qorvane::OptionGroup* Sidebar::current() const {
  return currentRow() < 0 ? nullptr : groups_[static_cast<std::size_t>(currentRow())];
}

void Sidebar::choose(const qorvane::OptionGroup& group) {
  const auto at = std::ranges::find(groups_, &group);
  if (at != groups_.end()) setCurrentRow(static_cast<int>(at - groups_.begin()));
}

}  // namespace optionsmgr::window
