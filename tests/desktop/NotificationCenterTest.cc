#include "qorvane/desktop/NotificationCenter.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/foundation/Exception.h"

namespace qorvane {
namespace {

constexpr Text kChanged = "Changed";
constexpr Text kSaved = "Saved";

class NotificationCenterTest : public testing::Test {
 protected:
  /// An observer that writes the word down when called.
  Observer observe(const Text& name, const std::string& word, const void* ofObject = nullptr) {
    return centre.addObserver(
        name, [this, word](const Notification&) { heard.push_back(word); }, ofObject);
  }
  std::vector<std::string> post(const Text& name, const void* object = nullptr) {
    heard.clear();
    centre.postNotificationName(name, object);
    return heard;
  }
  using Words = std::vector<std::string>;

  NotificationCenter centre;
  Words heard;
  int sender = 0;
  int other = 0;
};

TEST_F(NotificationCenterTest, CallsObserversOfTheNameInTheOrderInWhichTheyCame) {
  const Observer first = observe(kChanged, "first");
  const Observer elsewhere = observe(kSaved, "elsewhere");
  const Observer second = observe(kChanged, "second");
  EXPECT_EQ(post(kChanged), (Words{"first", "second"}));
  EXPECT_EQ(post(kSaved), (Words{"elsewhere"}));
}

TEST_F(NotificationCenterTest, ComparesNamesByTheirBytes) {
  const Observer observer = observe(kChanged, "x");
  EXPECT_EQ(post(Text(std::string("Changed"))), Words{"x"});
  EXPECT_EQ(post("changed"), Words{});
  EXPECT_EQ(post(std::string_view("Changed\0", 8)), Words{});
  EXPECT_EQ(post(nullptr), Words{});
}

TEST_F(NotificationCenterTest, HandsOverNameAndSender) {
  std::optional<Notification> got;
  const Observer observer = centre.addObserver(kChanged, [&](const Notification& told) { got = told; });
  centre.postNotificationName(kChanged, &sender);
  ASSERT_TRUE(got);
  EXPECT_EQ(got->name, kChanged);
  EXPECT_EQ(got->object, &sender);
}

TEST_F(NotificationCenterTest, CanObserveOneSenderOnly) {
  const Observer ofSender = observe(kChanged, "sender", &sender);
  const Observer ofAny = observe(kChanged, "any");
  EXPECT_EQ(post(kChanged, &sender), (Words{"sender", "any"}));
  EXPECT_EQ(post(kChanged, &other), (Words{"any"}));
  EXPECT_EQ(post(kChanged, nullptr), (Words{"any"}));
}

TEST_F(NotificationCenterTest, RefusesAnObserverWithoutNameOrFunction) {
  EXPECT_THROW((void)centre.addObserver(nullptr, [](const Notification&) {}), Exception);
  EXPECT_THROW((void)centre.addObserver(kChanged, nullptr), Exception);
}

TEST_F(NotificationCenterTest, ObservesUntilTheTokenEnds) {
  {
    const Observer observer = observe(kChanged, "x");
    EXPECT_EQ(post(kChanged), Words{"x"});
  }
  EXPECT_EQ(post(kChanged), Words{});

  Observer observer = observe(kChanged, "y");
  observer.reset();
  EXPECT_EQ(post(kChanged), Words{});
  observer.reset();
}

TEST_F(NotificationCenterTest, AMovedTokenKeepsObserving) {
  Observer first = observe(kChanged, "x");
  Observer second = std::move(first);
  EXPECT_EQ(post(kChanged), Words{"x"});
  second = observe(kChanged, "y");
  EXPECT_EQ(post(kChanged), Words{"y"});
  second = Observer();
  EXPECT_EQ(post(kChanged), Words{});
}

TEST_F(NotificationCenterTest, EndingAnObservationReleasesWhatItHeld) {
  const auto held = std::make_shared<int>(1);
  Observer observer = centre.addObserver(kChanged, [held](const Notification&) {});
  EXPECT_EQ(held.use_count(), 2);
  observer.reset();
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(NotificationCenterTest, AnObserverMayEndItself) {
  Observer once;
  const auto held = std::make_shared<std::string>("once");
  once = centre.addObserver(kChanged, [&, held](const Notification&) {
    once.reset();
    heard.push_back(*held);
  });
  const Observer after = observe(kChanged, "after");
  EXPECT_EQ(post(kChanged), (Words{"once", "after"}));
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(post(kChanged), (Words{"after"}));
}

TEST_F(NotificationCenterTest, OneThatLeavesDuringAPostingIsNoLongerCalled) {
  Observer later, earlier;
  earlier = observe(kChanged, "earlier");
  const Observer remover = centre.addObserver(kChanged, [&](const Notification&) {
    heard.push_back("remover");
    earlier.reset();
    later.reset();
  });
  later = observe(kChanged, "later");
  const Observer last = observe(kChanged, "last");
  EXPECT_EQ(post(kChanged), (Words{"earlier", "remover", "last"}));
  EXPECT_EQ(post(kChanged), (Words{"remover", "last"}));
}

TEST_F(NotificationCenterTest, OneThatComesDuringAPostingIsFirstCalledByTheNext) {
  std::vector<Observer> added;
  const Observer adder = centre.addObserver(kChanged, [&](const Notification&) {
    heard.push_back("adder");
    for (int i = 0; i < 100 && added.size() < 100; ++i) added.push_back(observe(kChanged, "added"));
  });
  EXPECT_EQ(post(kChanged), (Words{"adder"}));
  EXPECT_EQ(post(kChanged).size(), 101u);
}

TEST_F(NotificationCenterTest, PostingsNest) {
  Observer added;
  int depth = 0;
  const Observer first = centre.addObserver(kChanged, [&](const Notification&) {
    heard.push_back("first" + std::to_string(depth));
    if (depth++ > 0) return;
    added = observe(kChanged, "added");
    centre.postNotificationName(kChanged, nullptr);
  });
  Observer second = observe(kChanged, "second");
  const Observer ender = centre.addObserver(kChanged, [&](const Notification&) { second.reset(); });
  // The inner posting is the next one for the observer added, and ends the second for both.
  EXPECT_EQ(post(kChanged), (Words{"first0", "first1", "second", "added"}));
  EXPECT_EQ(post(kChanged), (Words{"first2", "added"}));
}

TEST_F(NotificationCenterTest, AnObserverThatThrowsDoesNotSilenceTheOthers) {
  const LogCapture log;
  const Observer before = observe(kChanged, "before");
  const Observer thrower =
      centre.addObserver(kChanged, [](const Notification&) { throw std::runtime_error("no room"); });
  const Observer oddThrower = centre.addObserver(kChanged, [](const Notification&) { throw 5; });
  const Observer later =
      centre.addObserver(kChanged, [](const Notification&) { throw std::logic_error("nor time"); });
  const Observer after = observe(kChanged, "after");
  EXPECT_THROW(centre.postNotificationName(kChanged, nullptr), std::runtime_error) << "the first passes on";
  EXPECT_EQ(heard, (Words{"before", "after"}));
  EXPECT_EQ(log.lines(), (std::vector<Text>{"An observer of Changed threw: something that is no exception",
                                            "An observer of Changed threw: nor time"}));
}

TEST_F(NotificationCenterTest, HolesLeftByAPostingWithAThrowAreClosed) {
  const LogCapture log;
  Observer thrower;
  thrower = centre.addObserver(kChanged, [&](const Notification&) {
    thrower.reset();
    throw std::runtime_error("gone");
  });
  const Observer after = observe(kChanged, "after");
  EXPECT_THROW(centre.postNotificationName(kChanged, nullptr), std::runtime_error);
  EXPECT_EQ(std::exchange(heard, {}), Words{"after"});
  EXPECT_EQ(post(kChanged), Words{"after"});
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(NotificationCenterTest, WhatIsNoExceptionIsThrownOnToo) {
  const LogCapture log;
  const Observer first = centre.addObserver(kChanged, [](const Notification&) { throw 7; });
  const Observer second = centre.addObserver(kChanged, [](const Notification&) { throw 8; });
  const Observer after = observe(kChanged, "after");
  try {
    centre.postNotificationName(kChanged, nullptr);
    ADD_FAILURE();
  } catch (const int thrown) {
    EXPECT_EQ(thrown, 7);
  }
  EXPECT_EQ(std::exchange(heard, {}), Words{"after"});
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(NotificationCenterTest, ATokenMovedToItselfStaysOne) {
  Observer token = observe(kChanged, "heard");
  Observer& same = token;
  token = std::move(same);
  EXPECT_EQ(post(kChanged), Words{"heard"});
}

TEST(NotificationCenterLifeTest, ATokenMayOutliveItsCentre) {
  Observer observer;
  const auto held = std::make_shared<int>(1);
  {
    NotificationCenter centre;
    observer = centre.addObserver(kChanged, [held](const Notification&) {});
  }
  observer.reset();
  EXPECT_EQ(held.use_count(), 1);
}

TEST(NotificationCenterLifeTest, AnObserverMayDestroyTheCentre) {
  std::optional<NotificationCenter> centre(std::in_place);
  int calls = 0;
  const Observer first = centre->addObserver(kChanged, [&](const Notification&) { centre.reset(); });
  const Observer second = centre->addObserver(kChanged, [&](const Notification&) { ++calls; });
  centre->postNotificationName(kChanged, nullptr);
  EXPECT_FALSE(centre);
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenterLifeTest, AnObservationMayHoldTheTokenOfAnother) {
  NotificationCenter centre;
  int calls = 0;
  auto inner =
      std::make_shared<Observer>(centre.addObserver(kChanged, [&](const Notification&) { ++calls; }));
  Observer outer = centre.addObserver(kSaved, [inner](const Notification&) {});
  inner.reset();
  centre.postNotificationName(kChanged, nullptr);
  outer.reset();
  centre.postNotificationName(kChanged, nullptr);
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenterLifeTest, TheDefaultCentreIsOne) {
  EXPECT_EQ(&NotificationCenter::defaultCenter(), &NotificationCenter::defaultCenter());
  int calls = 0;
  const Observer observer =
      NotificationCenter::defaultCenter().addObserver(kChanged, [&](const Notification&) { ++calls; });
  NotificationCenter::defaultCenter().postNotificationName(kChanged, nullptr);
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace qorvane
