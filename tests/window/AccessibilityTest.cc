// What those who do not see the window hear, and what those who use no mouse reach.
#include <QAccessible>
#include <QComboBox>
#include <QListWidget>
#include <QToolButton>
#include <algorithm>

#include "tests/window/WindowTest.h"

namespace {

using testing_support::WindowTest;
using namespace optionsmgr::window;

/// Both products in both languages.
class AccessibilityTest : public WindowTest, public testing::WithParamInterface<std::pair<bool, bool>> {
 protected:
  void openParameter() {
    optionsmgr::speakFrench(GetParam().second);
    Start start;
    start.corporate = GetParam().first;
    open(start);
  }
  static QString heard(QWidget* widget, QAccessible::Text text) {
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
    return interface ? interface->text(text) : QString();
  }
  /// By its own name; or, as a list on Linux, whose name is what is chosen, by the label beside it.
  static bool isNamed(QWidget* widget, const QString& label) {
    if (heard(widget, QAccessible::Name).startsWith(label)) return true;
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
    return std::ranges::any_of(interface->relations(QAccessible::Label), [&](const auto& relation) {
      return relation.first->text(QAccessible::Name) == label;
    });
  }
  QListWidget& groups() { return *window->findChild<QListWidget*>("groups"); }
  /// Calls back with each group's page shown.
  void onEachPage(const std::function<void()>& look) {
    ASSERT_EQ(groups().count(), 12);
    for (int i = 0; i < groups().count(); ++i) {
      groups().setCurrentRow(i);
      SCOPED_TRACE(groups().currentItem()->text().toStdString());
      ASSERT_FALSE(window->page().rows().empty());
      look();
    }
  }
  /// Top to bottom, and from left to right in a line.
  static bool isReadBefore(QWidget* one, QWidget* other) {
    const auto box = [](QWidget* widget) {
      return QRect(widget->mapTo(widget->window(), QPoint()), widget->size());
    };
    const QRect a = box(one);
    const QRect b = box(other);
    const bool inOneLine = a.top() <= b.center().y() && b.top() <= a.center().y();
    return inOneLine ? a.left() < b.left() : a.top() < b.top();
  }
};

TEST_P(AccessibilityTest, NamesAndDescribesEachControlInTheCataloguesWords) {
  openParameter();
  std::size_t rows = 0;
  onEachPage([&] {
    for (Row* row : window->page().rows()) {
      ++rows;
      const Item& item = row->item();
      SCOPED_TRACE(item.row->name);
      ASSERT_FALSE(row->stops().empty());
      for (QWidget* stop : row->stops()) {
        EXPECT_TRUE(isNamed(stop, item.label())) << heard(stop, QAccessible::Name).toStdString();
        EXPECT_TRUE(heard(stop, QAccessible::Description).contains(item.description()))
            << heard(stop, QAccessible::Description).toStdString();
      }
      EXPECT_TRUE(heard(row->field(), QAccessible::Description).contains(said(Word::MarkDefault)) ||
                  state(item.row->name) != State::Default);
      for (auto* button : row->findChildren<QToolButton*>()) {
        EXPECT_TRUE(heard(button, QAccessible::Name).contains(item.label()))
            << heard(button, QAccessible::Name).toStdString();
      }
    }
  });
  EXPECT_EQ(rows, sheet().items().size());
}

TEST_P(AccessibilityTest, NamesWhatStandsAroundThePage) {
  openParameter();
  int controls = 0;
  for (QWidget* widget : window->findChildren<QWidget*>()) {
    if (!widget->isVisible() || widget->window() != window.get()) continue;
    if (!(widget->focusPolicy() & Qt::TabFocus) || Page::rowAround(widget)) continue;
    ++controls;
    EXPECT_NE(heard(widget, QAccessible::Name), "")
        << widget->metaObject()->className() << ' ' << widget->objectName().toStdString();
  }
  EXPECT_EQ(heard(window->findChild<QWidget*>("product"), QAccessible::Description), said(Word::Product));
  EXPECT_EQ(heard(window->findChild<QWidget*>("year"), QAccessible::Description), said(Word::TaxYear));
  // Product, year, search, two languages, menu, groups, Cancel, Apply, OK.
  EXPECT_GE(controls, 10);
}

TEST_P(AccessibilityTest, GoesThroughEachPageByTabAsItIsRead) {
  openParameter();
  onEachPage([&] {
    window->page().rows().front()->stops().front()->setFocus();
    QWidget* before = nullptr;
    std::set<const Row*> reached;
    for (QWidget* now = QApplication::focusWidget(); Row* row = Page::rowAround(now);
         now = QApplication::focusWidget()) {
      reached.insert(row);
      EXPECT_TRUE(!before || isReadBefore(before, now)) << now->objectName().toStdString();
      EXPECT_FALSE(qobject_cast<QToolButton*>(now) && static_cast<QToolButton*>(now)->text() == "⋮");
      ASSERT_NE(now, before);
      before = now;
      press("Tab");
    }
    EXPECT_EQ(reached.size(), window->page().rows().size());
    // Behind the page come Cancel, Apply and OK.
    EXPECT_EQ(QApplication::focusWidget()->objectName(), "cancel");
    press("Shift+Tab");
    EXPECT_EQ(QApplication::focusWidget(), before);
  });
}

INSTANTIATE_TEST_SUITE_P(Spoken, AccessibilityTest,
                         testing::Values(std::pair(false, false), std::pair(false, true),
                                         std::pair(true, false), std::pair(true, true)),
                         [](const auto& parameter) {
                           return std::string(parameter.param.first ? "Corporate" : "Personal") +
                                  (parameter.param.second ? "French" : "English");
                         });

class HeardTest : public WindowTest {};

TEST_F(HeardTest, TellsOfARefusalAtItsControl) {
  open();
  fill("preparerPostalCode", "12");
  press("Tab");
  QAccessibleInterface* field = QAccessible::queryAccessibleInterface(row("preparerPostalCode").field());
  EXPECT_TRUE(field->text(QAccessible::Description).contains("A Canadian postal code looks like K1A 0B1."));
  EXPECT_TRUE(field->text(QAccessible::Description).contains(said(Word::MarkRefused)));
  // Its answers come behind it.
  const auto stops = row("preparerPostalCode").stops();
  ASSERT_EQ(stops.size(), 3U);
  goTo("preparerPostalCode");
  press("Tab");
  EXPECT_EQ(QApplication::focusWidget(), stops[1]);
  press("Tab");
  EXPECT_EQ(QApplication::focusWidget(), stops[2]);
  press("Tab");
  EXPECT_EQ(QApplication::focusWidget(), row("preparerCountry").field());
}

TEST_F(HeardTest, TellsWithAGroupHowManyChangesItHas) {
  open();
  fill("preparerCity", "Alma");
  QAccessibleInterface* groups =
      QAccessible::queryAccessibleInterface(window->findChild<QListWidget*>("groups"));
  bool told = false;
  for (int i = 0; i < groups->childCount(); ++i)
    told = told || groups->child(i)->text(QAccessible::Name) == "Preparer and firm, 1 unsaved change";
  EXPECT_TRUE(told);
}

TEST_F(HeardTest, NeverSaysASecret) {
  elsewhere([](qorvane::Options& there) { there.setPreparerPassword("hush-hush"); });
  open();
  goTo("preparerPassword");
  type("whisper");
  for (QWidget* widget : row("preparerPassword").findChildren<QWidget*>()) {
    QAccessibleInterface* heard = QAccessible::queryAccessibleInterface(widget);
    if (!heard) continue;
    for (const auto text :
         {QAccessible::Name, QAccessible::Description, QAccessible::Value, QAccessible::Help}) {
      EXPECT_FALSE(heard->text(text).contains("hush-hush"));
      EXPECT_FALSE(heard->text(text).contains("whisper"));
    }
    if (auto* letters = heard->textInterface()) {
      EXPECT_FALSE(letters->text(0, letters->characterCount()).contains("whisper"));
    }
  }
}

}  // namespace
