// Row: one setting on the page: its mark, label and control, and below them, only where there is something to
// say, a refusal, a conflict or a lock.
#pragma once

#include <QWidget>

#include "window/Editor.h"
#include "window/Marks.h"
#include "window/Sheet.h"

class QGridLayout;
class QLabel;
class QToolButton;

namespace optionsmgr::window {

class Row;

/// What a row asks of the window.
class RowActions {
 public:
  virtual ~RowActions() = default;
  virtual void edited(const Item& item, const Edit& edit, bool finished) = 0;
  enum class Settle : std::uint8_t { Correct, KeepAnyway, KeepMine, TakeTheirs, UseDefault, Why };
  virtual void settle(const Item& item, Settle how) = 0;
  /// Takes the value of what the page is compared with.
  virtual void takeOther(const Item& item) = 0;
  /// Opens the row's menu at that place of the screen.
  virtual void openMenu(const Item& item, const QPoint& at) = 0;
};

class Row : public QWidget {
 public:
  /// All outlive the row.
  Row(const Item& item, Sheet& sheet, RowActions& actions, QWidget* parent);

  const Item& item() const { return item_; }
  QWidget* field() { return editor_->field(); }
  Editor& editor() { return *editor_; }
  /// Shows what the sheet has now; touches nothing that shows it already.
  void refresh();
  /// What a search found in it: the label with the letters in bold, and where else it matched. Empty for
  /// none.
  void setFound(const QString& richLabel, const QString& elsewhere);
  /// What the same row reads in what the page is compared with; none where it is compared with nothing.
  void setOther(const QString& name, const std::optional<QString>& value);
  void openMenu();
  /// What the Tab key stops at, as it is read.
  std::vector<QWidget*> stops() const;
  /// Of the label, and of what it is compared with; in pixels.
  void setWidths(int label, int other);
  /// The least that the row takes beside these two.
  int leastBesideLabel() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  struct Notice {
    QString text;
    std::vector<std::pair<QString, RowActions::Settle>> answers;
  };
  Notice notice() const;
  void placeEditor();
  void linkStops();
  void showNotice(const Notice& notice);
  void describe(const QString& noticed);

  const Item& item_;
  Sheet& sheet_;
  RowActions& actions_;
  State state_ = State::Default;
  QGridLayout* layout_;
  Mark* mark_;
  QLabel* label_;
  QLabel* found_ = nullptr;
  QToolButton* take_ = nullptr;
  QLabel* other_ = nullptr;
  Editor* editor_ = nullptr;
  bool isReading_ = false;
  QToolButton* more_;
  QWidget* notice_ = nullptr;
  QString noticed_;
};

}  // namespace optionsmgr::window
