// Comparing with another year, taking over from it or from a file, and handing settings on.
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSaveFile>
#include <algorithm>

#include "qorvane/foundation/Exception.h"
#include "window/Details.h"
#include "window/Failures.h"
#include "window/TakeDialog.h"
#include "window/Undo.h"
#include "window/Window.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Exception;

void Window::compare() {
  qorvane::Product before = sheet_->product();
  --before.taxYear;
  const QString year = QString::number(before.taxYear);
  try {
    compared_ = sourceOfYear(desk_.files(), before);
    if (!compared_) banner_->tell(said(Word::NothingToCompare, year));
  } catch (const Exception& error) {
    compared_.reset();
    banner_->warn(said(Word::CannotCompare, year, inShort(error.failure())), inFull(error.failure()),
                  said(Word::TryAgain), [this] { compare(); });
  }
  showView(compared_ ? View::Compare : View::Group);
}

QWidget* Window::makeCompareHead(std::size_t count) {
  const auto all = std::ranges::count_if(sheet_->items(), &Item::canBeSet);
  auto* head = new QWidget(this);
  auto* line = new QHBoxLayout(head);
  line->setContentsMargins(0, 0, 4, 0);
  auto* title = Page::makeTitle(
      said(Word::DifferFrom, QString::number(count), QString::number(all), compared_->name()), head);
  title->setObjectName("compareTitle");
  line->addWidget(title, 1);
  auto* takeAll = new QPushButton(said(Word::TakeAll), head);
  takeAll->setObjectName("takeAll");
  connect(takeAll, &QPushButton::clicked, this,
          [this] { askWhatToTake(*compared_, differing(*sheet_, *compared_, false)); });
  line->addWidget(takeAll);
  return head;
}

void Window::takeOther(const Item& item) {
  if (!compared_ || !sheet_->canBeSet(item)) return;
  if (const auto value = compared_->value(item)) edited(item, {false, *value}, true);
}

void Window::askWhatToTake(const Source& source, const std::vector<const Item*>& items) {
  auto* dialog = new TakeDialog(*sheet_, source, items, this);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  connect(dialog, &QDialog::accepted, this, [this, dialog, &source, sheet = sheet_] {
    if (sheet != sheet_) return;
    undo_.beginMacro(said(Word::TakeAll));
    for (const Item* item : dialog->ticked())
      if (const auto value = source.value(*item)) change(*item, {false, *value}, false);
    undo_.endMacro();
    judge();
    showView(View::Unsaved);
  });
  dialog->open();
}

// ---- files --------------------------------------------------------------------------------------------

void Window::chooseImport() {
  const QString path =
      QFileDialog::getOpenFileName(this, said(Word::DoImport), {}, said(Word::SettingsFiles));
  if (!path.isEmpty()) importFile(path);
}

void Window::importFile(const QString& path) {
  const QString name = QFileInfo(path).fileName();
  const auto refuse = [&](const QString& why) {
    banner_->warn(said(Word::CannotImport, path, why), {}, {}, {});
  };
  QFile file(path);
  // Settings are some kilobytes; more than this is another kind of file.
  constexpr qint64 kLargest = qint64{1} << 26;
  if (!file.open(QIODevice::ReadOnly) || file.size() > kLargest)
    return refuse(file.isOpen() ? said(Word::NotReadAsSettings) : file.errorString());
  try {
    imported_ = sourceOfBytes(name, file.readAll().toStdString(), *sheet_);
  } catch (const Exception& error) {
    return refuse(inShort(error.failure()));
  }
  const auto items = differing(*sheet_, *imported_, true);
  if (items.empty()) return banner_->tell(said(Word::NothingImported, name, sheet_->name()));
  askWhatToTake(*imported_, items);
}

void Window::chooseExport() {
  const QString path = QFileDialog::getSaveFileName(this, said(Word::DoExport), sheet_->name() + ".plist",
                                                    said(Word::SettingsFiles));
  if (!path.isEmpty()) exportFile(path);
}

void Window::exportFile(const QString& path) {
  try {
    const std::string bytes = exported(*sheet_, desk_.files());
    QSaveFile file(path);
    // They hold names and addresses.
    const bool written = file.open(QIODevice::WriteOnly) &&
                         file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) &&
                         file.write(bytes.data(), static_cast<qint64>(bytes.size())) >= 0 && file.commit();
    if (written) return banner_->tell(said(Word::Exported, path));
    banner_->warn(said(Word::CannotExport, path, file.errorString()), {}, {}, {});
  } catch (const Exception& error) {
    banner_->warn(said(Word::CannotExport, path, inShort(error.failure())), {}, {}, {});
  }
}

// ---- one setting --------------------------------------------------------------------------------------

void Window::showDetails(const Item& item) {
  auto* details = new Details(item, *sheet_, desk_.files(), this);
  details->taken = [this, &item, sheet = sheet_](const Edit& edit) {
    if (sheet == sheet_) edited(item, edit, true);
  };
  details->open();
}

void Window::takeOfLastYear(const Item& item) {
  qorvane::Product before = sheet_->product();
  --before.taxYear;
  try {
    const auto source = sourceOfYear(desk_.files(), before);
    if (!source) return banner_->tell(said(Word::NothingToCompare, QString::number(before.taxYear)));
    if (const auto value = source->value(item)) edited(item, {false, *value}, true);
  } catch (const Exception& error) {
    banner_->warn(said(Word::CannotCompare, QString::number(before.taxYear), inShort(error.failure())),
                  inFull(error.failure()), {}, {});
  }
}

}  // namespace optionsmgr::window
