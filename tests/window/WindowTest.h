// A real window on real files in a temporary home, worked with as a person does: by keys and by pressing
// buttons.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <functional>
#include <memory>
#include <string>

#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "tests/TestHome.h"
#include "tool/speech/Language.h"
#include "window/LookingFileManager.h"
#include "window/Window.h"
#include "window/Words.h"

// What a failed comparison shows.
inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace testing_support {

using namespace optionsmgr::window;

inline constexpr int kYear = 2025;

class WindowTest : public testing::Test {
 protected:
  WindowTest() {
    // One for the whole process, for Qt allows no second one.
    static QApplication* const application = [] {
      static int count = 1;
      static char name[] = "test_window";
      static char* words[] = {name, nullptr};
      qputenv("QT_QPA_PLATFORM", "offscreen");
      return new QApplication(count, words);
    }();
    static_cast<void>(application);
    optionsmgr::speakFrench(false);
  }
  ~WindowTest() override {
    close();
    optionsmgr::speakFrench(false);
  }

  Window& open(Start start = {}) {
    if (start.year == 0) start.year = kYear;
    window = std::make_unique<Window>(start);
    window->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    window->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
    return *window;
  }
  void close() { window.reset(); }

  Sheet& sheet() { return window->sheet(); }
  const Item& item(std::string_view option) {
    const Item* found = sheet().itemOf(option);
    EXPECT_TRUE(found) << option;
    return *found;
  }
  Row& row(std::string_view option) {
    Row* found = window->page().rowOf(item(option));
    EXPECT_TRUE(found) << option;
    return *found;
  }
  State state(std::string_view option) { return sheet().state(item(option)); }
  /// Goes to the option's page and control.
  QWidget* goTo(std::string_view option) {
    EXPECT_TRUE(window->goTo(option)) << option;
    return row(option).field();
  }
  /// Types the characters where the keyboard is, as the input method of any language hands them on.
  static void type(const QString& text) {
    for (const QChar letter : text) {
      QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
      QApplication::sendEvent(QApplication::focusWidget(), &press);
    }
  }
  /// Presses such as "Ctrl+S" where the keyboard is.
  void press(const char* keys) {
    QWidget* const where = QApplication::focusWidget();
    QTest::keySequence(where ? where : window.get(), QKeySequence(keys));
  }
  /// The option's field holds this text in place of what it held.
  void fill(std::string_view option, const QString& text) {
    goTo(option);
    press("Ctrl+A");
    if (text.isEmpty())
      press("Backspace");
    else
      type(text);
  }
  QString fieldText(std::string_view option) { return dynamic_cast<QLineEdit&>(*row(option).field()).text(); }
  /// What stands under the row, or nothing.
  QString notice(std::string_view option) {
    for (const auto* label : row(option).findChildren<QLabel*>("notice:" + shown(option)))
      if (label->isVisible()) return label->text();
    return {};
  }
  QString textOf(const char* name) {
    for (const auto* label : window->findChildren<QLabel*>(name))
      if (label->isVisible()) return label->text();
    return {};
  }
  void click(const QString& text) {
    for (QPushButton* button : window->findChildren<QPushButton*>())
      if (button->text() == text && button->isVisible()) return QTest::mouseClick(button, Qt::LeftButton);
    FAIL() << "there is no button " << text.toStdString();
  }

  static qorvane::Product product(bool corporate = false, int year = kYear) {
    return {.corporate = corporate, .taxYear = year};
  }
  std::filesystem::path file(bool corporate = false) const {
    return home.store() / (corporate ? "QorvaneT2Settings2025.plist" : "QorvaneT1Settings2025.plist");
  }
  /// What another program does at the same desk.
  void elsewhere(const std::function<void(qorvane::Options&)>& change, bool corporate = false,
                 int year = kYear) {
    qorvane::FileUserDefaults files;
    qorvane::Options there(files, product(corporate, year));
    there.loadOptions();
    change(there);
    there.saveOptions();
    EXPECT_FALSE(there.saveFailure());
  }
  /// What another program reads there.
  qorvane::Value onDisk(std::string_view option, bool corporate = false, int year = kYear) const {
    qorvane::FileUserDefaults files;
    qorvane::Options there(files, product(corporate, year));
    there.loadOptions();
    return there.valueForKey(option);
  }
  /// Lets the window hear what others saved, until the condition holds.
  static bool until(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, 20'000); }

  TestHome home;
  LookingFileManager looking;
  qorvane::ScopedFileManager manager{&looking};
  std::unique_ptr<Window> window;
};

}  // namespace testing_support
