// Page: the rows that are shown now, under their headings.
#pragma once

#include <QScrollArea>
#include <map>
#include <memory>
#include <vector>

#include "window/Row.h"

class QVBoxLayout;

namespace optionsmgr::window {

/// Rows under a title, in so many columns.
struct Section {
  QString title;
  std::vector<const Item*> items;
  int columns = 1;
  /// The smaller headings of the catalogue of pages stand between them.
  bool hasHeadings = false;
};

class Page : public QScrollArea {
 public:
  Page(RowActions& actions, QWidget* parent);

  /// The rows of another sheet, or of the same one in another language, from now on.
  void forget();
  /// Shows these rows and nothing else, under `head`, which it takes over. Those that are shown already keep
  /// what they are, cursor and all.
  void show(Sheet& sheet, const std::vector<Section>& sections, QWidget* head = nullptr);
  /// Shows a text in their place.
  void say(const QString& text, const QString& answer = {}, const std::function<void()>& then = {});

  /// The row of the setting, if it is shown.
  Row* rowOf(const Item& item) const;
  /// Those that are shown, from the top.
  const std::vector<Row*>& rows() const { return shown_; }
  /// The row that the widget belongs to, or null.
  static Row* rowAround(QWidget* widget);
  void refresh(const Item& item);
  void refreshAll();
  /// Scrolls to it and gives it the keyboard.
  void goTo(Row& row);

 private:
  void clear();
  Row& rowFor(const Item& item);
  void addTitle(const QString& text, bool small);
  int labelWidth() const;

  RowActions& actions_;
  Sheet* sheet_ = nullptr;
  QWidget* content_;
  QVBoxLayout* layout_;
  std::map<const Item*, Row*> made_;
  std::vector<Row*> shown_;
  std::vector<QWidget*> between_;
};

}  // namespace optionsmgr::window
