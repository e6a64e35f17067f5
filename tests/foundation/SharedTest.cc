#include "qorvane/foundation/Shared.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

namespace qorvane {
namespace {

class Unfinished;
// Copied and destroyed where its type is not complete.
Shared<Unfinished> copyOf(const Shared<Unfinished>& owner) { return owner; }

class Unfinished {
 public:
  explicit Unfinished(int& alive) : alive_(&alive) { ++*alive_; }
  Unfinished(Unfinished&& other) noexcept : alive_(other.alive_) { ++*alive_; }
  Unfinished& operator=(Unfinished&&) = delete;
  ~Unfinished() { --*alive_; }

 private:
  int* alive_;
};

TEST(SharedTest, TheValueGoesWithTheLastOwner) {
  int alive = 0;
  {
    Shared<Unfinished> first{Unfinished(alive)};
    EXPECT_EQ(alive, 1);
    EXPECT_TRUE(first.isOnlyOwner());
    Shared<Unfinished> second = copyOf(first);
    EXPECT_EQ(second.get(), first.get());
    EXPECT_FALSE(first.isOnlyOwner());
    first = {};
    EXPECT_FALSE(first);
    EXPECT_EQ(first.get(), nullptr);
    EXPECT_TRUE(second.isOnlyOwner());
    const Shared<Unfinished> third = std::move(second);
    EXPECT_FALSE(second);
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(SharedTest, AnOwnerMayBeGivenItself) {
  Shared<const int> owner(7);
  const Shared<const int>& same = owner;
  owner = same;
  EXPECT_EQ(*owner, 7);
}

TEST(SharedTest, OwnersInSeveralThreadsLoseNoCount) {
  int alive = 0;
  {
    const Shared<Unfinished> owner{Unfinished(alive)};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
      threads.emplace_back([owner] {
        for (int round = 0; round < 10000; ++round) const Shared<Unfinished> copy = owner;
      });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(owner.isOnlyOwner());
  }
  EXPECT_EQ(alive, 0);
}

}  // namespace
}  // namespace qorvane
