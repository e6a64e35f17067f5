// Details: everything about one setting that is asked for seldom: where its value comes from, last year's,
// earlier ones, the default, and its names for support.
#pragma once

#include <QDialog>
#include <functional>
#include <vector>

#include "qorvane/preferences/FileUserDefaults.h"
#include "window/Sheet.h"

class QVBoxLayout;

namespace optionsmgr::window {

class Details : public QDialog {
 public:
  /// Called with what a person takes; the dialog closes then.
  std::function<void(const Edit& edit)> taken;

  Details(const Item& item, Sheet& sheet, qorvane::FileUserDefaults& files, QWidget* parent);

 private:
  void addTitle(const QString& text);
  void addText(const QString& text);
  void addOrigin();
  void addLastYear();
  void addEarlier();
  void addNames();
  void addButtons();
  void take(const Edit& edit);
  QString words(const qorvane::Value& value) const;
  QString wordsIn(const qorvane::Dictionary& entries) const;

  const Item& item_;
  Sheet& sheet_;
  qorvane::FileUserDefaults& files_;
  QVBoxLayout* column_;
};

}  // namespace optionsmgr::window
