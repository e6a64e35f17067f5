#include <gtest/gtest.h>

#include <ostream>

#include "qorvane/manager/OptionsMgr.h"
#include "tests/Table.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

using testing_support::Row;

struct List {
  const char* name;
  const std::vector<Text>& (*get)();
  std::size_t size;
  friend std::ostream& operator<<(std::ostream& out, const List& list) { return out << list.name; }
};

class PageListsTest : public testing_support::StoreTest, public testing::WithParamInterface<List> {};

TEST_P(PageListsTest, HoldsThePublishedEntriesInTheirOrder) {
  Row published;
  for (const Row& row : testing_support::table("manager/pages/" + std::string(GetParam().name) + ".txt", 1))
    published.push_back(row[0]);
  Row listed;
  for (const Text& entry : GetParam().get()) listed.push_back(entry.string());
  EXPECT_EQ(listed, published);
  EXPECT_EQ(listed.size(), GetParam().size);
}

TEST_P(PageListsTest, IsTheSameObjectForEveryProductAndYear) {
  const std::vector<Text>* first = &GetParam().get();
  EXPECT_EQ(&GetParam().get(), first);
  for (const bool corporate : {false, true})
    for (const int year : {2007, 2020, 2027}) {
      useProduct(corporate, year);
      EXPECT_EQ(&GetParam().get(), first);
    }
  EXPECT_EQ(first->size(), GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(OptionsMgr, PageListsTest,
                         testing::Values(List{"pagesWithDecimal", OptionsMgr::pagesWithDecimal, 14},
                                         List{"pagesWithMaskedSIN", OptionsMgr::pagesWithMaskedSIN, 2},
                                         List{"elementsToMasked", OptionsMgr::elementsToMasked, 5},
                                         List{"OptOverideableCells", OptionsMgr::OptOverideableCells, 19}),
                         [](const testing::TestParamInfo<List>& list) {
                           return std::string(list.param.name);
                         });

using OverideableCellsTest = testing_support::StoreTest;

TEST_F(OverideableCellsTest, RepeatThreeCellsAndEndWithTheFlag) {
  const std::vector<Text>& cells = OptionsMgr::OptOverideableCells();
  ASSERT_EQ(cells.size(), 19u);
  EXPECT_EQ(cells[0], cells[12]);
  EXPECT_EQ(cells[1], cells[11]);
  EXPECT_EQ(cells[2], cells[15]);
  EXPECT_EQ(cells.back(), Text("OptFlag"));
}

}  // namespace
}  // namespace qorvane
