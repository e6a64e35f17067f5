// Window: the settings of one product and year at a time, made from the catalogue.
//
// It owns the desk and knows which rows are shown; the rows show what the sheets have. All that a person
// changes goes through `edited` into a sheet, all that is saved through `apply`.
#pragma once

#include <QUndoStack>
#include <QWidget>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "window/Banner.h"
#include "window/Desk.h"
#include "window/Page.h"
#include "window/Row.h"
#include "window/Search.h"
#include "window/Sidebar.h"
#include "window/Source.h"
#include "window/Words.h"

class QAction;
class QButtonGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QToolButton;

namespace optionsmgr::window {

/// What the window is opened with.
struct Start {
  bool corporate = false;
  int year = 0;        ///< 0: the current filing season.
  std::string folder;  ///< Of the store; empty for the user's own.
  std::string search;
  std::string option;  ///< To go to; a name of the option table.
};

class Window : public QWidget, private RowActions {
 public:
  explicit Window(const Start& start);
  ~Window() override;

  Sheet& sheet() { return *sheet_; }
  Desk& desk() { return desk_; }
  Page& page() { return *page_; }

  void showSheet(bool corporate, int year);
  void speak(bool french);
  /// Shows the setting's group and gives its control the keyboard; false where the sheet has no such row.
  bool goTo(std::string_view option);
  void search(const QString& words);
  /// Saves every change of every sheet. False where one stays; the window says why.
  bool apply();
  /// Shows what differs from the year before.
  void compare();
  /// Offers what the file holds to be taken over, one tick a row.
  void importFile(const QString& path);
  /// Writes the settings as they stand to the file, without what belongs to this desk.
  void exportFile(const QString& path);
  /// Asks before it drops changes; false when they are kept.
  bool mayClose();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  enum class View : std::uint8_t { Group, Search, Unsaved, Changed, Compare };

  // Made once.
  QWidget* makeHeader();
  QWidget* makeStrip();
  QWidget* makeFooter();
  void makeActions();
  QAction* add(Word word, const QList<QKeySequence>& keys, std::function<void()> run);

  // What is shown.
  void translate();
  void fillYears();
  void showView(View view);
  void rebuild();
  void showPage();
  std::vector<Section> sections();
  void showStrip(const Item* item);
  void showCounts();
  void showUnsaved();
  void showBadges();
  void showTold();
  void refreshRows(const std::vector<const Item*>& items);
  void focusMoved(QWidget* from, QWidget* to);

  // What a row asks.
  void edited(const Item& item, const Edit& edit, bool finished) override;
  void settle(const Item& item, Settle how) override;
  void takeOther(const Item& item) override;
  void openMenu(const Item& item, const QPoint& at) override;

  // What keys and menu do.
  void put(Sheet& sheet, const Item& item, const std::optional<Edit>& edit);
  void change(const Item& item, const Edit& edit, bool typing);
  void judge();
  void reset(const Item& item);
  QWidget* makeHead(std::size_t count);
  QWidget* makeCompareHead(std::size_t count);
  void askWhatToTake(const Source& source, const std::vector<const Item*>& items);
  void chooseImport();
  void chooseExport();
  void showDetails(const Item& item);
  void takeOfLastYear(const Item& item);
  void leave();
  void nextGroup(int step);
  void nextPane(int step);
  void nextProblem(int step);
  void enterFound();
  Row* currentRow() const;

  Desk desk_;
  Sheet* sheet_ = nullptr;
  std::unique_ptr<Search> search_;
  /// What the page is compared with, and what was last read of a file.
  std::unique_ptr<Source> compared_, imported_;
  QUndoStack undo_;
  View view_ = View::Group;
  View former_ = View::Group;
  const Item* stripped_ = nullptr;
  /// Where the keyboard was before the search.
  const Item* formerPlace_ = nullptr;

  QComboBox* product_;
  QComboBox* year_;
  QLineEdit* words_;
  QToolButton* english_;
  QToolButton* french_;
  QToolButton* menuButton_;
  QMenu* menu_;
  Sidebar* groups_;
  Page* page_;
  Banner* banner_;
  QLabel* description_;
  QLabel* default_;
  QLabel* counts_;
  QPushButton* showUnsaved_;
  QPushButton* cancel_;
  QPushButton* apply_;
  QPushButton* ok_;
  std::vector<std::pair<QAction*, Word>> actions_;
};

}  // namespace optionsmgr::window
