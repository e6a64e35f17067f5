// Banner: one message above the footer, with what can be done about it. It stays until it is answered or
// replaced, and takes the keyboard from nobody.
#pragma once

#include <QFrame>
#include <functional>

class QLabel;
class QPushButton;

namespace optionsmgr::window {

class Banner : public QFrame {
 public:
  explicit Banner(QWidget* parent);

  /// Something went wrong: the text, and what to do.
  void warn(const QString& text, const QString& details, const QString& answer, std::function<void()> then);
  /// Something was done.
  void tell(const QString& text);
  void clear() { hide(); }

 private:
  void show(const QString& text, const QString& details, bool warning);

  QLabel* text_;
  QPushButton* answer_;
  QPushButton* close_;
  std::function<void()> then_;
};

}  // namespace optionsmgr::window
