// What the machine or the firm sets for many desks, and locks.
#include "qorvane/propertylist/PropertyList.h"
#include "tests/window/WindowTest.h"
#include "window/Details.h"

namespace {

using qorvane::Dictionary;
using qorvane::Value;
using testing_support::WindowTest;
using namespace optionsmgr::window;

class LayersTest : public WindowTest {
 protected:
  LayersTest() { setenv("XDG_CONFIG_DIRS", (home.path() / "xdg").c_str(), 1); }

  void firmSets(const Dictionary& entries, const qorvane::Array& locked = {}) {
    layerSets(home.path() / ".local" / "state" / "Qorvane" / "firm" / "current", entries, locked);
  }
  void machineSets(const Dictionary& entries, const qorvane::Array& locked = {}) {
    layerSets(home.path() / "xdg" / "Qorvane", entries, locked);
  }
  QString origin(std::string_view option) {
    goTo(option);
    press("F1");
    QStringList texts;
    for (const auto* label : window->findChild<QDialog*>("details")->findChildren<QLabel*>())
      texts << label->text();
    return texts.join('\n');
  }

 private:
  static void layerSets(const std::filesystem::path& folder, const Dictionary& entries,
                        const qorvane::Array& locked) {
    Dictionary top({{"QorvaneT1Settings2025", entries}});
    if (!locked.empty()) top.set("Locked", locked);
    testing_support::writeFile(folder / "QorvaneT1Settings2025.plist",
                               qorvane::writePropertyList(top, qorvane::PropertyListFormat::Binary));
    for (auto made = folder; made != folder.root_path(); made = made.parent_path())
      if (made.string().find("optionsmgr-test-") != std::string::npos)
        std::filesystem::permissions(made, std::filesystem::perms::owner_all);
  }
};

TEST_F(LayersTest, ShowsWhatTheFirmSetsWithoutAMark) {
  firmSets({{"PCity", "Gaspé"}});
  open();
  goTo("preparerCity");
  EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
  EXPECT_EQ(state("preparerCity"), State::Default);
  EXPECT_EQ(textOf("default"), "Default: Gaspé");
}

TEST_F(LayersTest, GoesBackToWhatTheFirmSets) {
  firmSets({{"PCity", "Gaspé"}});
  open();
  fill("preparerCity", "Percé");
  press("Ctrl+S");
  EXPECT_EQ(state("preparerCity"), State::Changed);
  press("Ctrl+Backspace");
  EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
  press("Ctrl+S");
  EXPECT_EQ(fieldText("preparerCity"), "Gaspé");
  EXPECT_EQ(state("preparerCity"), State::Default);
}

TEST_F(LayersTest, LetsALockedRowBeReadAndSaysWho) {
  firmSets({{"PCity", "Gaspé"}}, {"PCity"});
  open();
  goTo("preparerCity");
  EXPECT_EQ(state("preparerCity"), State::Locked);
  EXPECT_EQ(dynamic_cast<QLabel&>(*row("preparerCity").field()).text(), "Gaspé");
  EXPECT_EQ(notice("preparerCity"), "Set and locked by the firm. Your administrator can change it.");
  EXPECT_EQ(QApplication::focusWidget(), row("preparerCity").field());
  press("Ctrl+Backspace");
  EXPECT_EQ(sheet().unsaved(), 0u);
  window->speak(true);
  EXPECT_EQ(notice("preparerCity"),
            "Valeur fixée et verrouillée par le cabinet. Votre administrateur peut la modifier.");
}

TEST_F(LayersTest, KeepsWhatWasTypedWhenALockComes) {
  machineSets({{"PCity", "Gaspé"}});
  open();
  fill("preparerCity", "Percé");
  machineSets({{"PCity", "Gaspé"}}, {"PCity"});
  elsewhere([](qorvane::Options& there) { there.setPreparerPhone("418 555-0100"); });
  EXPECT_TRUE(until([&] { return sheet().lock(item("preparerCity")).has_value(); }));
  EXPECT_EQ(fieldText("preparerCity"), "Percé");
  EXPECT_EQ(notice("preparerCity"), "Set and locked for this machine. Your administrator can change it.");
  EXPECT_FALSE(window->apply());
  EXPECT_EQ(fieldText("preparerCity"), "Percé");
  click("Take theirs");
  EXPECT_EQ(dynamic_cast<QLabel&>(*row("preparerCity").field()).text(), "Gaspé");
  EXPECT_EQ(sheet().unsaved(), 0u);
}

TEST_F(LayersTest, TellsWhatEachLayerSays) {
  firmSets({{"PCity", "Gaspé"}});
  machineSets({{"PCity", "Percé"}});
  elsewhere([](qorvane::Options& there) { there.setPreparerCity("Alma"); });
  open();
  const QString told = origin("preparerCity");
  EXPECT_TRUE(told.contains("Your settings (this one counts): Alma")) << told.toStdString();
  EXPECT_TRUE(told.contains("This machine: Percé")) << told.toStdString();
  EXPECT_TRUE(told.contains("The firm: Gaspé")) << told.toStdString();
  EXPECT_TRUE(told.contains("Default: empty")) << told.toStdString();
}

}  // namespace
