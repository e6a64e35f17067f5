// Finding a setting.
#include "window/Search.h"

#include <QLineEdit>

#include "tests/window/WindowTest.h"

namespace {

using testing_support::WindowTest;
using namespace optionsmgr::window;

class SearchTest : public WindowTest {
 protected:
  std::vector<std::string> found() {
    std::vector<std::string> options;
    for (const Row* row : window->page().rows()) options.emplace_back(row->item().row->name);
    return options;
  }
  bool finds(std::string_view option) { return window->page().rowOf(item(option)) != nullptr; }
};

TEST_F(SearchTest, FindsLabelsOfBothLanguagesWithoutAccents) {
  open();
  window->search("ville");
  EXPECT_TRUE(finds("preparerCity"));
  window->search("TELECOPIEUR");
  EXPECT_TRUE(finds("preparerFax"));
  window->speak(true);
  window->search("postal code");
  EXPECT_TRUE(finds("preparerPostalCode"));
}

TEST_F(SearchTest, WantsEveryWord) {
  open();
  window->search("discounter postal code");
  EXPECT_EQ(found(), std::vector<std::string>{"disc_PostalCode"});
}

TEST_F(SearchTest, PutsLabelsThatBeginSoFirst) {
  open();
  window->search("city");
  ASSERT_FALSE(found().empty());
  EXPECT_EQ(found().front(), "preparerCity");
}

TEST_F(SearchTest, FindsValuesAlsoThoseJustTypedAndNoSecrets) {
  elsewhere([](qorvane::Options& there) {
    there.setPreparerCity("Gaspé");
    there.setPreparerPassword("Rimouski");
  });
  open();
  window->search("gaspe");
  EXPECT_EQ(found(), std::vector<std::string>{"preparerCity"});
  window->search("rimouski");
  EXPECT_TRUE(found().empty());
  EXPECT_EQ(textOf("pageMessage"), "No setting matches “rimouski”.");
  fill("preparerCity", "Rimouski");
  window->search("rimouski");
  EXPECT_EQ(found(), std::vector<std::string>{"preparerCity"});
}

TEST_F(SearchTest, IsEditedInPlaceAndLeftWithEscape) {
  open();
  goTo("zsupress");
  press("Ctrl+F");
  type("e-mail");
  press("Return");
  EXPECT_EQ(QApplication::focusWidget(), row("preparerEmail").field());
  type("a@b.ca");
  EXPECT_EQ(state("preparerEmail"), State::Unsaved);
  press("Esc");
  EXPECT_TRUE(finds("zsupress"));
  EXPECT_EQ(QApplication::focusWidget(), row("zsupress").field());
  EXPECT_FALSE(finds("preparerEmail"));
  EXPECT_EQ(state("preparerEmail"), State::Unsaved);
}

TEST_F(SearchTest, ShowsWhatMatchedInBold) {
  open();
  const Search search(sheet());
  const auto found = search.find("cod po");
  const auto postal = std::ranges::find(found, &item("preparerPostalCode"), &Found::item);
  ASSERT_NE(postal, found.end());
  EXPECT_EQ(postal->label, "<b>Po</b>stal <b>cod</b>e");
}

}  // namespace
