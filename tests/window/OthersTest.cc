// Beside other programs, and where saving or reading fails: nothing that was typed is lost.
#include <cerrno>

#include "qorvane/preferences/SystemCalls.h"
#include "tests/window/WindowTest.h"

namespace {

using qorvane::Value;
using testing_support::WindowTest;
using namespace optionsmgr::window;

class OthersTest : public WindowTest {};

TEST_F(OthersTest, ShowsWhatAnotherProgramSaves) {
  open();
  goTo("preparerCity");
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Gaspé"); });
  EXPECT_TRUE(until([&] { return fieldText("preparerCity") == "Gaspé"; }));
  EXPECT_EQ(state("preparerCity"), State::Changed);
}

TEST_F(OthersTest, LeavesTheKeyboardAndWhatIsTypedWhereTheyAre) {
  open();
  fill("preparerCity", "Per");
  auto& field = dynamic_cast<QLineEdit&>(*row("preparerCity").field());
  field.setCursorPosition(1);
  elsewhere([](qorvane::Options& there) { there.setPreparerPhone("418 555-0177"); });
  EXPECT_TRUE(until([&] { return fieldText("preparerPhone") == "418 555-0177"; }));
  EXPECT_EQ(QApplication::focusWidget(), &field);
  EXPECT_EQ(field.cursorPosition(), 1);
  EXPECT_EQ(fieldText("preparerCity"), "Per");
  EXPECT_EQ(state("preparerCity"), State::Unsaved);
}

TEST_F(OthersTest, AsksWhoseValueCounts) {
  open();
  fill("preparerCity", "Percé");
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Gaspé"); });
  EXPECT_TRUE(until([&] { return state("preparerCity") == State::Conflict; }));
  EXPECT_EQ(notice("preparerCity"), "Another program saved “Gaspé” here while you were typing.");
  // Typing on is no answer.
  press("End");
  type("e");
  EXPECT_EQ(state("preparerCity"), State::Conflict);
  press("Ctrl+S");
  EXPECT_EQ(onDisk("preparerCity"), Value("Gaspé"));
  EXPECT_TRUE(textOf("bannerText").contains("What you typed is still here"));
  click("Keep mine");
  EXPECT_EQ(state("preparerCity"), State::Unsaved);
  press("Ctrl+S");
  EXPECT_EQ(onDisk("preparerCity"), Value("Percée"));
}

TEST_F(OthersTest, TakesTheOthersValue) {
  open();
  fill("preparerCity", "Percé");
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Gaspé"); });
  EXPECT_TRUE(until([&] { return state("preparerCity") == State::Conflict; }));
  click("Take theirs");
  EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
  EXPECT_EQ(state("preparerCity"), State::Changed);
  EXPECT_EQ(textOf("counts"), "No unsaved changes");
}

TEST_F(OthersTest, HasNothingToAskWhereBothSavedTheSame) {
  open();
  fill("preparerCity", "Gaspé");
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Gaspé"); });
  EXPECT_TRUE(until([&] { return sheet().unsaved() == 0; }));
  EXPECT_EQ(state("preparerCity"), State::Changed);
}

TEST_F(OthersTest, NeverQuotesASecret) {
  open();
  goTo("preparerPassword");
  type("mine");
  elsewhere([](qorvane::Options& there) { there.setPreparerPassword("geheim"); });
  EXPECT_TRUE(until([&] { return state("preparerPassword") == State::Conflict; }));
  EXPECT_EQ(notice("preparerPassword"), "Another program saved another value here while you were typing.");
}

TEST_F(OthersTest, WaitsForTheOneWhoSaves) {
  open();
  fill("preparerCity", "Gaspé");
  {
    qorvane::FileUserDefaults other;
    const qorvane::UserDefaults::Lock busy(other);
    press("Ctrl+S");
    EXPECT_EQ(textOf("bannerText"),
              "Nothing was saved: another program is saving just now. What you typed is still here.");
    EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
  }
  click("Try again");
  EXPECT_EQ(onDisk("preparerCity"), Value("Gaspé"));
}

TEST_F(OthersTest, KeepsWhatWasTypedWhenTheDiskIsFull) {
  class Full : public qorvane::SystemCalls {
   public:
    ssize_t write(int, const void*, std::size_t) override {
      errno = ENOSPC;
      return -1;
    }
  } full;
  qorvane::SystemCalls* const before = qorvane::SystemCalls::setStandard(&full);
  open();
  qorvane::SystemCalls::setStandard(before);
  fill("preparerCity", "Gaspé");
  press("Ctrl+S");
  EXPECT_EQ(textOf("bannerText"), "Nothing was saved: the disk is full. What you typed is still here.");
  EXPECT_EQ(state("preparerCity"), State::Unsaved);
  EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
  window->speak(true);
  EXPECT_FALSE(window->apply());
  EXPECT_EQ(textOf("bannerText"),
            "Rien n’a été enregistré : le disque est plein. Vos saisies sont conservées ici.");
  close();
}

TEST_F(OthersTest, ShowsNoControlsForSettingsThatCannotBeRead) {
  std::filesystem::create_directories(file());
  std::filesystem::permissions(home.store(), std::filesystem::perms::owner_all);
  open();
  EXPECT_TRUE(window->page().rows().empty());
  EXPECT_TRUE(textOf("pageMessage").startsWith("The T1 2025 settings cannot be read: "))
      << textOf("pageMessage").toStdString();
  std::filesystem::remove(file());
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Gaspé"); });
  // It hears by itself that they can be read, and a person may ask for it as well.
  EXPECT_TRUE(until([&] { return !window->page().rows().empty(); }));
  goTo("preparerCity");
  EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
}

TEST_F(OthersTest, TellsThatADamagedFileWasMended) {
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Gaspé"); });
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Percé"); });
  testing_support::writeFile(file(), "bplist00 and no more");
  open();
  EXPECT_TRUE(textOf("bannerText").contains("is damaged")) << textOf("bannerText").toStdString();
  goTo("preparerCity");
  EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
}

}  // namespace
