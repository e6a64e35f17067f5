// What a person does: changing, settling, saving, and the keys and menus for it.
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <algorithm>

#include "window/Failures.h"
#include "window/Undo.h"
#include "window/Window.h"
#include "window/Words.h"

namespace optionsmgr::window {

// ---- changing -----------------------------------------------------------------------------------------

void Window::put(Sheet& sheet, const Item& item, const std::optional<Edit>& edit) {
  sheet.put(item, edit);
  if (&sheet == sheet_)
    refreshRows({&item});
  else
    showCounts();
}

void Window::change(const Item& item, const Edit& edit, bool typing) {
  undo_.push(new ChangeCommand(
      *sheet_, item, edit, typing,
      [this](Sheet& sheet, const Item& changed, const std::optional<Edit>& to) { put(sheet, changed, to); }));
}

void Window::edited(const Item& item, const Edit& edit, bool finished) {
  change(item, edit, !finished);
  if (finished) judge();
}

// Refusals are shown when a field is left, never while it is typed in.
void Window::judge() {
  std::vector<const Item*> before;
  for (const Item& item : sheet_->items())
    if (sheet_->refusal(item)) before.push_back(&item);
  sheet_->judge();
  for (const Item& item : sheet_->items())
    if (sheet_->refusal(item) && std::ranges::find(before, &item) == before.end()) before.push_back(&item);
  if (!before.empty()) refreshRows(before);
}

void Window::reset(const Item& item) {
  if (sheet_->canBeSet(item)) edited(item, {true, nullptr}, true);
}

void Window::settle(const Item& item, Settle how) {
  Row* row = page_->rowOf(item);
  switch (how) {
    case Settle::Correct:
      break;
    case Settle::KeepAnyway:
      sheet_->keepAnyway(item);
      break;
    case Settle::KeepMine:
      sheet_->keepMine(item);
      break;
    case Settle::TakeTheirs:
      put(*sheet_, item, std::nullopt);
      break;
    case Settle::UseDefault:
      reset(item);
      break;
    case Settle::Why:
      return showDetails(item);
  }
  refreshRows({&item});
  if (!row) return;
  page_->goTo(*row);
  if (auto* line = dynamic_cast<QLineEdit*>(row->field()); line && how == Settle::Correct) line->selectAll();
}

// ---- saving -------------------------------------------------------------------------------------------

bool Window::apply() {
  banner_->clear();
  const Desk::Outcome outcome = desk_.apply();
  if (!outcome.saved.empty()) undo_.clear();
  page_->refreshAll();
  if (search_) search_->forgetValues();
  showBadges();
  showCounts();
  if (outcome.failed.empty()) {
    if (view_ == View::Unsaved) showView(View::Group);
    if (outcome.saved.empty()) return true;
    QStringList names;
    for (const Sheet* sheet : outcome.saved) names << sheet->name();
    banner_->tell(said(Word::Saved, names.join(", ")));
    return true;
  }
  Sheet& failed = *outcome.failed.front();
  if (&failed != sheet_) showSheet(failed.product().corporate, failed.product().taxYear);
  if (failed.blocked() != Sheet::Blocked::Not) {
    banner_->warn(
        said(failed.blocked() == Sheet::Blocked::ByRefusal ? Word::StillRefused : Word::StillConflict), {},
        {}, {});
    nextProblem(+1);
    return false;
  }
  const QString why = inShort(*failed.saveFailure());
  QStringList saved;
  for (const Sheet* sheet : outcome.saved) saved << sheet->name();
  banner_->warn(saved.isEmpty() ? said(Word::NothingSaved, why)
                                : said(Word::SomeSaved, saved.join(", "), failed.name(), why),
                inFull(*failed.saveFailure()), said(Word::TryAgain), [this] { apply(); });
  return false;
}

bool Window::mayClose() {
  const std::size_t count = desk_.unsaved();
  if (count == 0) return true;
  QMessageBox question(QMessageBox::Question, said(Word::AppName),
                       said(Word::DiscardQuestion, counted(count, Word::DiscardOne, Word::DiscardMany)),
                       QMessageBox::NoButton, this);
  question.setObjectName("discard");
  const QPushButton* discard = question.addButton(said(Word::Discard), QMessageBox::DestructiveRole);
  QPushButton* back = question.addButton(said(Word::GoBack), QMessageBox::RejectRole);
  question.setDefaultButton(back);
  question.setEscapeButton(back);
  question.exec();
  return question.clickedButton() == discard;
}

void Window::closeEvent(QCloseEvent* event) { event->setAccepted(mayClose()); }

// ---- keys and menus -----------------------------------------------------------------------------------

QAction* Window::add(Word word, const QList<QKeySequence>& keys, std::function<void()> run) {
  auto* action = new QAction(this);
  action->setShortcuts(keys);
  connect(action, &QAction::triggered, this, std::move(run));
  addAction(action);
  actions_.emplace_back(action, word);
  return action;
}

void Window::makeActions() {
  const auto onRow = [this](void (Window::*run)(const Item&)) {
    return [this, run] {
      if (Row* row = currentRow()) (this->*run)(row->item());
    };
  };
  const auto keys = [](const char* one, const char* two = nullptr) {
    QList<QKeySequence> all{QKeySequence(one)};
    if (two) all << QKeySequence(two);
    return all;
  };
  menu_->addAction(add(Word::DoSearch, keys("Ctrl+F"), [this] {
    words_->setFocus(Qt::ShortcutFocusReason);
    words_->selectAll();
  }));
  menu_->addAction(add(Word::DoChangedOnly, keys("Ctrl+H"),
                       [this] { showView(view_ == View::Changed ? View::Group : View::Changed); }));
  menu_->addAction(add(Word::DoCompare, keys("Ctrl+D"), [this] {
    if (view_ == View::Compare)
      showView(View::Group);
    else
      compare();
  }));
  menu_->addAction(add(Word::DoImport, {}, [this] { chooseImport(); }));
  menu_->addAction(add(Word::DoExport, {}, [this] { chooseExport(); }));
  menu_->addSeparator();
  menu_->addAction(add(Word::DoUndo, keys("Ctrl+Z"), [this] { undo_.undo(); }));
  menu_->addAction(add(Word::DoRedo, keys("Ctrl+Shift+Z"), [this] { undo_.redo(); }));
  menu_->addAction(add(Word::DoReset, keys("Ctrl+Backspace"), onRow(&Window::reset)));
  menu_->addAction(add(Word::DoDetails, keys("F1"), onRow(&Window::showDetails)));
  menu_->addAction(add(Word::DoRowMenu, keys("Shift+F10"), [this] {
    if (Row* row = currentRow()) row->openMenu();
  }));
  menu_->addAction(add(Word::DoOpenList, keys("Alt+Down"), [this] {
    if (Row* row = currentRow()) row->editor().open();
  }));
  menu_->addSeparator();
  menu_->addAction(add(Word::DoNextProblem, keys("F8"), [this] { nextProblem(+1); }));
  menu_->addAction(add(Word::DoPreviousProblem, keys("Shift+F8"), [this] { nextProblem(-1); }));
  menu_->addAction(add(Word::DoNextGroup, keys("Ctrl+PgDown"), [this] { nextGroup(+1); }));
  menu_->addAction(add(Word::DoPreviousGroup, keys("Ctrl+PgUp"), [this] { nextGroup(-1); }));
  menu_->addAction(add(Word::DoNextPane, keys("F6"), [this] { nextPane(+1); }));
  menu_->addAction(add(Word::DoPreviousPane, keys("Shift+F6"), [this] { nextPane(-1); }));
  menu_->addSeparator();
  menu_->addAction(add(Word::DoApply, keys("Ctrl+S"), [this] { apply(); }));
  menu_->addAction(add(Word::DoOk, keys("Ctrl+Return", "Ctrl+Enter"), [this] {
    if (apply()) close();
  }));
  menu_->addAction(add(Word::DoCancel, keys("Esc"), [this] { leave(); }));
}

void Window::openMenu(const Item& item, const QPoint& at) {
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->setObjectName("rowMenu");
  menu->addAction(said(Word::DoDetails), QKeySequence("F1"), this, [this, &item] { showDetails(item); });
  if (sheet_->canBeSet(item)) {
    menu->addAction(said(Word::TakeOfYear, QString::number(sheet_->product().taxYear - 1)), this,
                    [this, &item] { takeOfLastYear(item); });
    QString fallback = inWords(item, sheet_->product(), sheet_->fallback(item));
    if (fallback.size() > 40) fallback = fallback.left(39) + "…";
    menu->addAction(said(Word::DoResetTo, fallback.replace('&', "&&")), QKeySequence("Ctrl+Backspace"), this,
                    [this, &item] { reset(item); });
  }
  menu->addSeparator();
  const auto copy = [&](Word word, std::string_view text) {
    menu->addAction(said(word), this, [copied = shown(text)] { QApplication::clipboard()->setText(copied); });
  };
  copy(Word::DoCopyName, item.row->name);
  copy(Word::DoCopyKey, item.row->key(sheet_->product()));
  menu->popup(at);
}

// Esc leaves the search first, then a filtered page, and then the window.
void Window::leave() {
  if (view_ == View::Search || !words_->text().isEmpty()) {
    words_->clear();
    Row* const former = formerPlace_ ? page_->rowOf(*formerPlace_) : nullptr;
    if (former) page_->goTo(*former);
  } else if (view_ != View::Group)
    showView(View::Group);
  else
    close();
}

void Window::nextGroup(int step) {
  const int count = groups_->count();
  if (count == 0) return;
  groups_->setCurrentRow((groups_->currentRow() + step + count) % count);
  if (!page_->rows().empty()) page_->goTo(*page_->rows().front());
}

void Window::nextPane(int step) {
  const std::vector<QWidget*> panes{product_->parentWidget(), groups_, page_, ok_->parentWidget()};
  QWidget* const focus = QApplication::focusWidget();
  const auto now = std::ranges::find_if(
      panes, [&](QWidget* pane) { return focus && (pane == focus || pane->isAncestorOf(focus)); });
  const auto count = static_cast<int>(panes.size());
  const int at = now == panes.end() ? -step : static_cast<int>(now - panes.begin());
  QWidget* const next = panes[static_cast<std::size_t>((at + step + count) % count)];
  if (next == page_ && !page_->rows().empty())
    page_->goTo(*page_->rows().front());
  else if (next == product_->parentWidget())
    words_->setFocus(Qt::ShortcutFocusReason);
  else if (next == groups_)
    groups_->setFocus(Qt::ShortcutFocusReason);
  else
    ok_->setFocus(Qt::ShortcutFocusReason);
}

void Window::nextProblem(int step) {
  std::vector<const Item*> problems;
  for (const Item& item : sheet_->items())
    if (sheet_->state(item) >= State::Refused) problems.push_back(&item);
  if (problems.empty()) return;
  const Row* row = currentRow();
  const auto now = row ? std::ranges::find(problems, &row->item()) : problems.end();
  const auto count = static_cast<int>(problems.size());
  const int at = now != problems.end() ? static_cast<int>(now - problems.begin()) : step > 0 ? -1 : 0;
  const Item& next = *problems[static_cast<std::size_t>((at + step + count) % count)];
  if (Row* there = page_->rowOf(next))
    page_->goTo(*there);
  else
    goTo(next.row->name);
}

void Window::enterFound() {
  if (!page_->rows().empty()) page_->goTo(*page_->rows().front());
}

}  // namespace optionsmgr::window
