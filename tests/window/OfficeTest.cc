// Comparing, taking over, handing on, going back: what an office does each autumn.
#include <QDialog>
#include <QPointer>
#include <QToolButton>
#include <QTreeWidget>
#include <cerrno>

#include "qorvane/preferences/SystemCalls.h"
#include "tests/window/WindowTest.h"
#include "window/Details.h"
#include "window/TakeDialog.h"

namespace {

using qorvane::Value;
using testing_support::kYear;
using testing_support::WindowTest;
using namespace optionsmgr::window;

class OfficeTest : public WindowTest {
 protected:
  void lastYearIs(const std::function<void(qorvane::Options&)>& change) {
    elsewhere(change, false, kYear - 1);
  }
  std::vector<std::string> rows() {
    std::vector<std::string> options;
    for (const Row* row : window->page().rows()) options.emplace_back(row->item().row->name);
    return options;
  }
  template <class Dialog>
  Dialog& dialog(const char* name) {
    auto* found = window->findChild<QDialog*>(name);
    EXPECT_TRUE(found) << name;
    return dynamic_cast<Dialog&>(*found);
  }
  /// Answers the dialog; where nothing manages windows, the one behind it has to be activated.
  void press(QDialog& within, const QString& text) {
    for (QPushButton* button : within.findChildren<QPushButton*>()) {
      if (button->text() != text) continue;
      const QPointer<QDialog> closed(&within);
      QTest::mouseClick(button, Qt::LeftButton);
      EXPECT_TRUE(until([&] { return closed.isNull(); }));
      window->activateWindow();
      EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
      return;
    }
    FAIL() << "there is no button " << text.toStdString();
  }
  using WindowTest::press;
};

TEST_F(OfficeTest, ShowsOnlyWhatDiffersFromLastYear) {
  lastYearIs([](qorvane::Options& there) {
    there.setPreparerCity("Gaspé");
    there.setPreparerPhone("418 555-0100");
  });
  elsewhere([](qorvane::Options& there) { there.setPreparerPhone("418 555-0100"); });
  open();
  goTo("preparerFax");
  press("Ctrl+D");
  EXPECT_EQ(rows(), std::vector<std::string>{"preparerCity"});
  EXPECT_TRUE(textOf("compareTitle").startsWith("1 of ")) << textOf("compareTitle").toStdString();
  EXPECT_TRUE(textOf("compareTitle").endsWith(" differ from 2024"));
  QTest::mouseClick(row("preparerCity").findChildren<QToolButton*>().last(), Qt::LeftButton);
  EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
  EXPECT_EQ(state("preparerCity"), State::Unsaved);
  EXPECT_EQ(onDisk("preparerCity"), Value(""));
}

TEST_F(OfficeTest, SaysThatThereIsNothingToCompare) {
  open();
  window->compare();
  EXPECT_EQ(textOf("bannerText"), "There are no settings of 2024 to compare with.");
}

TEST_F(OfficeTest, CarriesForwardWhatIsTickedAndLeavesWhatBelongsToTheDesk) {
  lastYearIs([](qorvane::Options& there) {
    there.setPreparerCity("Gaspé");
    there.setPrinterNameChosen("Laser");
    there.setPreparerPassword("geheim");
  });
  open();
  window->compare();
  click("Take all…");
  auto& dialog = this->dialog<TakeDialog>("take");
  std::vector<std::string> ticked;
  for (const Item* item : dialog.ticked()) ticked.emplace_back(item->row->name);
  EXPECT_EQ(ticked, std::vector<std::string>{"preparerCity"});
  press(dialog, "Take what is ticked");
  EXPECT_EQ(sheet().unsaved(), 1u);
  EXPECT_EQ(rows(), std::vector<std::string>{"preparerCity"});
  press("Ctrl+Z");
  EXPECT_EQ(sheet().unsaved(), 0u);
  press("Ctrl+Shift+Z");
  press("Ctrl+S");
  EXPECT_EQ(onDisk("preparerCity"), Value("Gaspé"));
  EXPECT_EQ(onDisk("preparerPassword"), Value(""));
}

TEST_F(OfficeTest, TakesBackAnEarlierValue) {
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Gaspé"); });
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Percé"); });
  elsewhere([](qorvane::Options& there) { there.setPreparerPhone("418 555-0100"); });
  open();
  goTo("preparerCity");
  press("F1");
  auto& details = dialog<Details>("details");
  auto* earlier = details.findChild<QTreeWidget*>("earlier");
  ASSERT_TRUE(earlier);
  ASSERT_EQ(earlier->topLevelItemCount(), 1);
  EXPECT_EQ(earlier->topLevelItem(0)->text(1), "Gaspé");
  press(details, "Take this one");
  EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
  EXPECT_EQ(state("preparerCity"), State::Unsaved);
}

TEST_F(OfficeTest, HandsSettingsToAnotherDesk) {
  elsewhere([](qorvane::Options& there) {
    there.setPreparerCity("Gaspé");
    there.setPreparerPassword("geheim");
    there.setPrinterNameChosen("Laser");
  });
  open();
  const auto path = home.path() / "handed-on.plist";
  window->exportFile(QString::fromStdString(path.string()));
  const std::string bytes = testing_support::readFile(path);
  EXPECT_EQ(bytes.find("geheim"), std::string::npos);
  EXPECT_EQ(bytes.find("Laser"), std::string::npos);
  EXPECT_EQ(std::filesystem::status(path).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);

  close();
  std::filesystem::remove_all(home.store());
  open();
  window->importFile(QString::fromStdString(path.string()));
  press(dialog<TakeDialog>("take"), "Take what is ticked");
  EXPECT_EQ(state("preparerCity"), State::Unsaved);
  EXPECT_FALSE(std::filesystem::exists(file()));
  EXPECT_TRUE(window->apply());
  EXPECT_EQ(onDisk("preparerCity"), Value("Gaspé"));
}

TEST_F(OfficeTest, ImportsJsonByOptionNameAndByKey) {
  open();
  const auto path = home.path() / "firm.json";
  testing_support::writeFile(path, R"({"preparerCity": "Gaspé", "encryptXml": true, "autoSaveAfter": 5})");
  window->importFile(QString::fromStdString(path.string()));
  EXPECT_EQ(dialog<TakeDialog>("take").ticked().size(), 3u);
  press(dialog<TakeDialog>("take"), "Take what is ticked");
  EXPECT_TRUE(window->apply());
  EXPECT_EQ(onDisk("encryptXml"), Value(true));
  EXPECT_EQ(onDisk("autoSaveAfter"), Value(5));
}

TEST_F(OfficeTest, ImportsNothingOfWhatIsNoSettings) {
  open();
  const auto path = home.path() / "letter.json";
  for (const char* bytes : {"Dear client", "[1]", R"({"other": 1})"}) {
    testing_support::writeFile(path, bytes);
    window->importFile(QString::fromStdString(path.string()));
    EXPECT_TRUE(textOf("bannerText").startsWith("Nothing was imported from")) << bytes;
    EXPECT_EQ(sheet().unsaved(), 0u);
  }
}

// One autumn from beginning to end, in both products and languages: last year's settings are taken over and
// looked through, another program and a full disk come between, and at the end everything stands on the disk.
TEST_F(OfficeTest, GetsThroughAWholeAutumn) {
  class Disk : public qorvane::SystemCalls {
   public:
    bool isFull = false;
    ssize_t write(int file, const void* bytes, std::size_t count) override {
      if (!isFull) return SystemCalls::write(file, bytes, count);
      errno = ENOSPC;
      return -1;
    }
  } disk;
  lastYearIs([](qorvane::Options& there) {
    there.setPreparerFirmName("Tremblay inc.");
    there.setPreparerCity("Gaspé");
    there.setPreparerProvince("QC");
    there.setPreparerPhone("418 555-0100");
    there.setT1013ExpiryDate(qorvane::Number(45000));
    there.setPrinterNameChosen("Laser");
  });
  elsewhere([](qorvane::Options& there) { there.setPreparerFirmName("Tremblay inc. (T2)"); }, true);
  {
    const qorvane::ScopedSystemCalls calls(&disk);
    optionsmgr::speakFrench(true);
    open();
  }

  // Last year's settings come over, all but the printer.
  window->compare();
  EXPECT_TRUE(textOf("compareTitle").endsWith(" diffèrent de 2024"));
  click("Tout prendre…");
  press(dialog<TakeDialog>("take"), "Prendre ce qui est coché");
  EXPECT_EQ(textOf("counts"), "5 modifications non enregistrées");
  EXPECT_TRUE(window->apply());
  EXPECT_EQ(onDisk("preparerCity"), Value("Gaspé"));
  EXPECT_EQ(onDisk("preparerProvince"), Value("QC"));
  EXPECT_EQ(onDisk("printerNameChosen"), Value(""));

  // The firm moves. The new address is found by searching, and typed with a slip.
  window->search("code postal cabinet");
  press("Return");
  EXPECT_EQ(QApplication::focusWidget(), row("preparerPostalCode").field());
  type("G0X 1A");
  fill("preparerCity", "Percé");
  EXPECT_EQ(notice("preparerPostalCode"), "Un code postal canadien s’écrit comme K1A 0B1.");
  fill("preparerPostalCode", "G0C 2L0");

  // At the desk beside it somebody else corrects the city and the phone.
  elsewhere([](qorvane::Options& there) {
    there.setPreparerCity("Perce");
    there.setPreparerPhone("418 555-0177");
  });
  EXPECT_TRUE(until([&] { return state("preparerCity") == State::Conflict; }));
  EXPECT_EQ(fieldText("preparerPhone"), "418 555-0177");
  press("F8");
  click("Garder la mienne");

  // The T2 gets the same address, in English, with the edits of the T1 waiting.
  window->showSheet(true, kYear);
  window->speak(false);
  fill("preparerCity", "Percé");
  goTo("t1013ExpiryDate");
  EXPECT_EQ(textOf("counts"), "3 unsaved changes, 2 in T1 2025");

  // The disk is full, and then it is not.
  disk.isFull = true;
  press("Ctrl+S");
  EXPECT_EQ(textOf("bannerText"), "Nothing was saved: the disk is full. What you typed is still here.");
  EXPECT_EQ(textOf("counts").left(17), "3 unsaved changes");
  disk.isFull = false;
  click("Try again");
  EXPECT_EQ(textOf("bannerText"), "Saved: T1 2025, T2 2025.");
  EXPECT_EQ(onDisk("preparerCity"), Value("Percé"));
  EXPECT_EQ(onDisk("preparerPostalCode"), Value("G0C 2L0"));
  EXPECT_EQ(onDisk("preparerPhone"), Value("418 555-0177"));
  EXPECT_EQ(onDisk("preparerCity", true), Value("Percé"));
  EXPECT_EQ(onDisk("preparerFirmName", true), Value("Tremblay inc. (T2)"));

  // The move is put off: the city goes back to what it was before.
  window->showSheet(false, kYear);
  goTo("preparerCity");
  press("F1");
  auto& details = dialog<Details>("details");
  EXPECT_EQ(details.findChild<QTreeWidget*>("earlier")->topLevelItem(1)->text(1), "Gaspé");
  details.findChild<QTreeWidget*>("earlier")->setCurrentItem(
      details.findChild<QTreeWidget*>("earlier")->topLevelItem(1));
  press(details, "Take this one");
  press("Ctrl+Return");
  EXPECT_FALSE(window->isVisible());
  EXPECT_EQ(onDisk("preparerCity"), Value("Gaspé"));
  close();
}

}  // namespace
