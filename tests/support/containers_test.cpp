/// The shared pointer and the owning list.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "support/olist.h"
#include "support/shared_ptr.h"

namespace {

using testing::ElementsAre;

struct Witness {
  ~Witness() { ++destroyed; }
  std::atomic<int>& destroyed;
};

TEST(SharedPtr, DeletesTheObjectWithItsLastUseByAnyThread) {
  std::atomic<int> destroyed{0};
  StdBrennick::shared_ptr<Witness> shared(new Witness{destroyed});
  {
    const auto copy = [own = shared] {
      for (int round = 0; round < 5000; ++round) StdBrennick::shared_ptr<Witness> another(own);
    };
    shared.reset();
    EXPECT_FALSE(shared);
    std::jthread first(copy), second(copy);
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 1);
}

std::vector<int> g_destroyed;

/// A list's item whose node is not its first base.
struct Item : std::runtime_error, ONode {
  explicit Item(int number) : runtime_error("item"), id(number) {}
  ~Item() override { g_destroyed.push_back(id); }
  const int id;
};

TEST(List, HandsBackInOrderLosesWhatIsDestroyedAndDeletesTheRestFromTheHead) {
  auto list = std::make_unique<OList_T<Item, OList>>();
  const auto add = [&list](int id) {
    auto item = std::make_unique<Item>(id);
    EXPECT_TRUE(list->AddTail(item.get()));
    return item;
  };
  add(1);
  EXPECT_EQ(list->GetHead(), nullptr);
  auto head = add(2);
  add(3).release();
  auto middle = add(4);
  add(5);
  head.reset();
  add(6).release();
  middle.reset();
  add(7).release();
  EXPECT_FALSE(list->AddTail(nullptr));
  EXPECT_EQ(list->GetCount(), 3);
  const std::unique_ptr<ONode> removed(list->RemoveHead());
  EXPECT_EQ(removed->GetNext(), nullptr);
  EXPECT_EQ(list->GetCount(), 2);
  list.reset();
  EXPECT_THAT(g_destroyed, ElementsAre(1, 5, 2, 4, 6, 7));
}

}  // namespace
