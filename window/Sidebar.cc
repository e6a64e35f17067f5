#include "window/Sidebar.h"

#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>
#include <utility>

#include "tool/speech/Language.h"
#include "window/Marks.h"
#include "window/Words.h"

namespace optionsmgr::window {

namespace {

constexpr int kBadge = Qt::UserRole;
constexpr int kMargin = 12;

class BadgeDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    QStyleOptionViewItem plain = option;
    initStyleOption(&plain, index);
    // The name stands in from the edge, in line with the header above.
    const QString name = std::exchange(plain.text, QString());
    option.widget->style()->drawControl(QStyle::CE_ItemViewItem, &plain, painter, option.widget);
    const QRect place = option.rect.adjusted(kMargin, 0, -kMargin, 0);
    const bool isSelected = option.state & QStyle::State_Selected;
    option.widget->style()->drawItemText(painter, place, Qt::AlignLeft | Qt::AlignVCenter, option.palette,
                                         true, name, isSelected ? QPalette::HighlightedText : QPalette::Text);
    const QString badge = index.data(kBadge).toString();
    if (badge.isEmpty()) return;
    painter->save();
    const bool isUrgent = badge == "!";
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
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
  return {sizeHintForColumn(0) + 2 * kMargin + fontMetrics().horizontalAdvance(" 99 "),
          QListWidget::sizeHint().height()};
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
