// Editor: what a row's value is changed with. One class for each kind of control (Control); which one a row
// gets is said by the catalogue, never by the option's name.
//
// An editor shows the sheet's value and hands on what the person does; it holds no value of its own, so it
// can be thrown away at any time. What is typed and is no value yet ("12 min" for a number) is handed on as
// the text it is.
#pragma once

#include <QWidget>
#include <functional>

#include "window/Sheet.h"

class QBoxLayout;
class QLineEdit;

namespace optionsmgr::window {

class Editor : public QWidget {
 public:
  /// Both outlive the editor.
  Editor(const Item& item, Sheet& sheet) : item_(item), sheet_(sheet) {}

  /// Shows what the sheet has now. What shows it already is left alone, with cursor and selection.
  virtual void refresh() = 0;
  /// The widget that takes the keyboard.
  virtual QWidget* field() = 0;
  /// Opens the list, or whatever it has to choose from.
  virtual void open() {}
  /// It stretches to the end of the row, as a text of several lines does.
  virtual bool isWide() const { return false; }
  /// It is several lines high, so that its label stands beside the first of them.
  virtual bool isTall() const { return false; }

  /// Called for each change; `finished` where it is no typing, and may be judged at once.
  std::function<void(const Item& item, const Edit& edit, bool finished)> changed;

  bool eventFilter(QObject* watched, QEvent* event) override;

 protected:
  const Item& item() const { return item_; }
  Sheet& sheet() const { return sheet_; }
  const qorvane::Product& product() const { return sheet_.product(); }
  qorvane::Value value() const { return sheet_.value(item_); }
  void give(const qorvane::Value& given, bool finished = false) { changed(item_, {false, given}, finished); }

  /// Undo and redo in it are the window's, and the wheel scrolls the page.
  void adopt(QWidget* control);
  /// A line that shows so many characters of its font where there is room for them.
  QLineEdit* line(int characters);
  /// The layout of a control that stands beside others.
  QBoxLayout* beside();
  /// Gives the control its name for those who do not see it: the row's label, and what it does beside that.
  void name(QWidget* control, const QString& also = {}) const;

 private:
  const Item& item_;
  Sheet& sheet_;
};

/// The editor of the row's kind, and one that only shows the value, to be read, reached with the keyboard and
/// copied.
Editor* makeEditor(const Item& item, Sheet& sheet);
Editor* makeReading(const Item& item, Sheet& sheet);

Editor* makeFlagEditor(const Item& item, Sheet& sheet);
Editor* makeListEditor(const Item& item, Sheet& sheet);
Editor* makeFontEditor(const Item& item, Sheet& sheet);
Editor* makeColorEditor(const Item& item, Sheet& sheet);
Editor* makeSecretEditor(const Item& item, Sheet& sheet);
Editor* makeDateEditor(const Item& item, Sheet& sheet);

}  // namespace optionsmgr::window
