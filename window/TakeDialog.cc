#include "window/TakeDialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "tool/speech/Language.h"
#include "window/Words.h"

namespace optionsmgr::window {

namespace {

// Why a row is not taken unless it is asked for.
QString reserve(const Item& item, const Source& source) {
  if (item.row->secret) return said(Word::IsSecret);
  if (item.row->machineSpecific) return said(Word::OfThisMachine);
  if (source.isUnset(item)) return said(Word::UnsetThere);
  return {};
}

}  // namespace

TakeDialog::TakeDialog(const Sheet& sheet, const Source& source, const std::vector<const Item*>& items,
                       QWidget* parent)
    : QDialog(parent), items_(items) {
  setObjectName("take");
  setWindowTitle(said(Word::TakeTitle, source.name()));
  auto* column = new QVBoxLayout(this);
  auto* intro = new QLabel(said(Word::TakeIntro), this);
  intro->setWordWrap(true);
  column->addWidget(intro);
  list_ = new QTreeWidget(this);
  list_->setRootIsDecorated(false);
  list_->setAccessibleName(windowTitle());
  list_->setHeaderLabels({said(Word::SettingColumn), said(Word::NowColumn), source.name(), QString()});
  for (const Item* item : items_) {
    const QString why = reserve(*item, source);
    auto* line = new QTreeWidgetItem(list_);
    line->setText(0, QString("%1 – %2").arg(shown(item->row->group().name(language())), item->label()));
    line->setText(1, inWords(*item, sheet.product(), sheet.value(*item)));
    line->setText(2, inWords(*item, sheet.product(), source.value(*item).value_or(qorvane::Value())));
    line->setText(3, why);
    line->setCheckState(0, why.isEmpty() ? Qt::Checked : Qt::Unchecked);
  }
  for (int i = 0; i < list_->columnCount(); ++i) list_->resizeColumnToContents(i);
  column->addWidget(list_);
  auto* buttons = new QDialogButtonBox(this);
  auto* take = buttons->addButton(said(Word::TakeTicked), QDialogButtonBox::AcceptRole);
  take->setObjectName("takeTicked");
  buttons->addButton(said(Word::Cancel), QDialogButtonBox::RejectRole);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  column->addWidget(buttons);
  resize(fontMetrics().horizontalAdvance('0') * 100, fontMetrics().height() * 30);
}

std::vector<const Item*> TakeDialog::ticked() const {
  std::vector<const Item*> ticked;
  for (int i = 0; i < list_->topLevelItemCount(); ++i)
    if (list_->topLevelItem(i)->checkState(0) == Qt::Checked)
      ticked.push_back(items_[static_cast<std::size_t>(i)]);
  return ticked;
}

}  // namespace optionsmgr::window
