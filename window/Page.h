// Page: the rows that are shown now, under their headings.
#pragma once

#include <QScrollArea>
#include <map>
#include <memory>
#include <vector>

#include "window/Row.h"

class QLabel;
class QVBoxLayout;

namespace optionsmgr::window {

/// Rows under a title, in so many columns where there is room for them.
struct Section {
  QString title;
  std::vector<const Item*> items;
  int columns = 1;
  /// It is a page of its own, with the headings of the catalogue of pages between the rows.
  bool hasHeadings = false;
};

class Page : public QScrollArea {
 public:
  /// Tab comes to the page from `before`.
  Page(RowActions& actions, QWidget* before, QWidget* parent);

  /// The rows of another sheet, or of the same one in another language, from now on.
  void forget();
  /// Shows these rows and nothing else, under `head`, which it takes over. Those that are shown already keep
  /// what they are, cursor and all.
  void show(Sheet& sheet, const std::vector<Section>& sections, QWidget* head = nullptr);
  /// A label that stands over a whole page.
  static QLabel* makeTitle(const QString& text, QWidget* parent);
  /// Shows a text in their place.
  void say(const QString& text, const QString& answer = {}, const std::function<void()>& then = {});

  /// The row of the setting, if it is shown.
  Row* rowOf(const Item& item) const;
  /// Those that are shown, from the top.
  const std::vector<Row*>& rows() const { return shown_; }
  /// The row that the widget belongs to, or null.
  static Row* rowAround(QWidget* widget);
  void refresh(const Item& item);
  /// Gives the labels their width; due when rows were shown, or something was put beside them.
  void fitLabels();
  void refreshAll();
  /// Scrolls to it and gives it the keyboard.
  void goTo(Row& row);

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  void clear();
  Row& rowFor(const Item& item);
  void addTitle(const QString& text, bool small);
  int widestLabel() const;
  bool haveRoom(const Section& section) const;

  RowActions& actions_;
  QWidget* const before_;
  Sheet* sheet_ = nullptr;
  std::vector<Section> sections_;
  // Sections of several columns have them.
  bool hasColumns_ = false;
  QWidget* content_;
  QWidget* column_;
  QVBoxLayout* layout_;
  std::map<const Item*, Row*> made_;
  std::vector<Row*> shown_;
  // In how many columns each of them stands.
  std::vector<int> columns_;
  std::vector<QWidget*> between_;
};

}  // namespace optionsmgr::window
