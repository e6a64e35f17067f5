// Changing settings in the window: what is shown, what is kept, what is saved.
#include <QCheckBox>
#include <QComboBox>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "tests/window/WindowTest.h"

namespace {

using qorvane::Text;
using qorvane::Value;
using testing_support::WindowTest;
using namespace optionsmgr::window;

class EditingTest : public WindowTest {};

TEST_F(EditingTest, ShowsEveryPageWithoutLeavingAnythingOnTheDisk) {
  open();
  for (const auto& item : sheet().items()) goTo(item.row->name);
  EXPECT_TRUE(window->mayClose());
  EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

TEST_F(EditingTest, SavesWhatIsTypedWhenItIsApplied) {
  open();
  EXPECT_EQ(state("preparerCity"), State::Default);
  fill("preparerCity", "Gaspé");
  EXPECT_EQ(state("preparerCity"), State::Unsaved);
  EXPECT_EQ(textOf("counts"), "1 unsaved change");
  EXPECT_FALSE(std::filesystem::exists(file()));
  press("Ctrl+S");
  EXPECT_EQ(state("preparerCity"), State::Changed);
  EXPECT_EQ(textOf("counts"), "No unsaved changes");
  EXPECT_EQ(textOf("bannerText"), "Saved: T1 2025.");
  EXPECT_EQ(onDisk("preparerCity"), Value("Gaspé"));
}

TEST_F(EditingTest, TakesAChangeBackThatComesToWhatStands) {
  open();
  fill("preparerCity", "Alma");
  fill("preparerCity", "");
  EXPECT_EQ(state("preparerCity"), State::Default);
  EXPECT_EQ(textOf("counts"), "No unsaved changes");
}

TEST_F(EditingTest, UndoesAndRedoesWhatWasTypedInOneField) {
  open();
  fill("preparerCity", "Alma");
  fill("preparerPhone", "418 555-0100");
  press("Ctrl+Z");
  EXPECT_EQ(state("preparerPhone"), State::Default);
  EXPECT_EQ(fieldText("preparerPhone"), "");
  EXPECT_EQ(fieldText("preparerCity"), "Alma");
  press("Ctrl+Z");
  EXPECT_EQ(state("preparerCity"), State::Default);
  press("Ctrl+Shift+Z");
  EXPECT_EQ(fieldText("preparerCity"), "Alma");
  EXPECT_EQ(state("preparerPhone"), State::Default);
}

TEST_F(EditingTest, ResetsARowToItsDefault) {
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Alma"); });
  open();
  goTo("preparerCity");
  press("Ctrl+Backspace");
  EXPECT_EQ(fieldText("preparerCity"), "");
  EXPECT_EQ(state("preparerCity"), State::Unsaved);
  press("Ctrl+S");
  EXPECT_EQ(onDisk("preparerCity"), Value(""));
}

TEST_F(EditingTest, RefusesAtTheFieldWhenItIsLeft) {
  open();
  fill("preparerPostalCode", "12");
  EXPECT_EQ(notice("preparerPostalCode"), "");
  press("Tab");
  EXPECT_EQ(notice("preparerPostalCode"), "A Canadian postal code looks like K1A 0B1.");
  EXPECT_EQ(state("preparerPostalCode"), State::Refused);
  press("Ctrl+S");
  EXPECT_FALSE(std::filesystem::exists(file()));
  EXPECT_EQ(QApplication::focusWidget(), row("preparerPostalCode").field());
  EXPECT_EQ(fieldText("preparerPostalCode"), "12");
  click("Keep anyway");
  EXPECT_EQ(notice("preparerPostalCode"), "");
  press("Ctrl+S");
  EXPECT_EQ(onDisk("preparerPostalCode"), Value("12"));
}

TEST_F(EditingTest, KeepsWhatIsNoNumberUntilItIsCorrected) {
  open();
  fill("autoSaveAfter", "ten");
  press("Tab");
  EXPECT_EQ(notice("autoSaveAfter"), "Only a whole number of minutes from 0 to 1440 fits.");
  EXPECT_EQ(fieldText("autoSaveAfter"), "ten");
  click("Correct");
  EXPECT_EQ(QApplication::focusWidget(), row("autoSaveAfter").field());
  type("10");
  press("Ctrl+S");
  EXPECT_EQ(onDisk("autoSaveAfter"), Value(10));
}

TEST_F(EditingTest, KeepsAChoiceThatIsNotInItsList) {
  elsewhere([](qorvane::Options& there) { there.setT1013LevelOfAuth("7"); });
  open();
  auto& list = dynamic_cast<QComboBox&>(*goTo("t1013LevelOfAuth"));
  EXPECT_EQ(list.currentText(), "(other: 7)");
  fill("t1013GroupID", "G1");
  press("Ctrl+S");
  EXPECT_EQ(onDisk("t1013LevelOfAuth"), Value("7"));
}

TEST_F(EditingTest, OffersNothingWhereNothingIsTheDefault) {
  open();
  auto& list = dynamic_cast<QComboBox&>(*goTo("preparerProvince"));
  EXPECT_EQ(list.currentText(), "(none)");
  list.setCurrentIndex(list.findText("Quebec"));
  emit list.activated(list.currentIndex());
  press("Ctrl+S");
  EXPECT_EQ(onDisk("preparerProvince"), Value("Quebec"));
  EXPECT_EQ(onDisk("preparerCountry"), Value());
}

TEST_F(EditingTest, StoresNoDateAsZeroAndLeavesTheBusinessNumber) {
  elsewhere([](qorvane::Options& there) {
    there.setT1013ExpiryDate(qorvane::Number(45000));
    there.setT1013BussinessNo("123456789");
  });
  open();
  goTo("t1013ExpiryDate");
  EXPECT_EQ(fieldText("t1013ExpiryDate"), "45000");
  auto* none = row("t1013ExpiryDate").findChild<QCheckBox*>();
  EXPECT_FALSE(none->isChecked());
  QTest::mouseClick(none, Qt::LeftButton);
  EXPECT_EQ(fieldText("t1013ExpiryDate"), "");
  press("Ctrl+S");
  EXPECT_EQ(onDisk("t1013ExpiryDate"), Value(0.0));
  EXPECT_EQ(onDisk("t1013BussinessNo"), Value("123456789"));
}

TEST_F(EditingTest, KeepsOneSizeForBothFonts) {
  open();
  goTo("printFontForHeader");
  type("Helvetica");
  goTo("printFontForFooter");
  type("Times-Roman");
  auto* size = row("printFontForHeader").findChildren<QLineEdit*>().last();
  EXPECT_EQ(size->text(), "12");
  EXPECT_EQ(row("printFontForFooter").findChildren<QLineEdit*>().size(), 1);
  size->setFocus();
  press("Ctrl+A");
  type("9");
  press("Ctrl+S");
  EXPECT_EQ(onDisk("printFontForHeader"), Value("Helvetica, 9"));
  EXPECT_EQ(onDisk("printFontForFooter"), Value("Times-Roman, 9"));
}

TEST_F(EditingTest, SaysThatATypedColourIsNone) {
  open();
  fill("mainBackColor", "#12");
  press("Tab");
  EXPECT_EQ(notice("mainBackColor"), "Only a colour fits.");
  fill("mainBackColor", "#102030");
  press("Ctrl+S");
  const Value saved = onDisk("mainBackColor");
  ASSERT_TRUE(saved.asData());
  EXPECT_EQ(qorvane::unarchiveColor(*saved.asData()),
            qorvane::Color::colorWithCalibratedRed(16 / 255.0, 32 / 255.0, 48 / 255.0, 1));
}

TEST_F(EditingTest, OffersTheDefaultForAStoredColourThatIsNone) {
  elsewhere(
      [](qorvane::Options& there) { there.options()->set(qorvane::optsStr_MainBackColor, Value("red")); });
  open();
  goTo("mainBackColor");
  EXPECT_EQ(notice("mainBackColor"), "What is stored here is no colour.");
  click("Use the default");
  press("Ctrl+S");
  EXPECT_TRUE(onDisk("mainBackColor").asData());
}

TEST_F(EditingTest, MasksSecretsAtAFixedLength) {
  elsewhere([](qorvane::Options& there) { there.setPreparerPassword("x"); });
  open();
  auto& field = dynamic_cast<QLineEdit&>(*goTo("preparerPassword"));
  EXPECT_EQ(field.text(), "");
  EXPECT_EQ(field.placeholderText().size(), 8);
  type("new one");
  EXPECT_NE(field.displayText(), "new one");
  goTo("preparerEfileNumber");
  EXPECT_EQ(fieldText("preparerPassword"), "");
  press("Ctrl+S");
  EXPECT_EQ(onDisk("preparerPassword"), Value("new one"));
}

TEST_F(EditingTest, CountsTheChangesOfEveryProductAndSavesThemAll) {
  open();
  fill("preparerCity", "Gaspé");
  window->showSheet(true, testing_support::kYear);
  EXPECT_EQ(textOf("counts"), "1 unsaved change, 1 in T1 2025");
  fill("preparerCity", "Percé");
  window->speak(true);
  EXPECT_EQ(textOf("counts"), "2 modifications non enregistrées, 1 dans T1 2025");
  EXPECT_EQ(fieldText("preparerCity"), "Percé");
  EXPECT_TRUE(window->apply());
  EXPECT_EQ(textOf("bannerText"), "Enregistré : T1 2025, T2 2025.");
  EXPECT_EQ(onDisk("preparerCity"), Value("Gaspé"));
  EXPECT_EQ(onDisk("preparerCity", true), Value("Percé"));
}

}  // namespace
