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

/// A list's item whose node is not its first base.
struct Item : std::runtime_error, ONode {
  Item(int number, std::vector<int>& record)
      : runtime_error("item"), id(number), destroyed(record) {}
  ~Item() override { destroyed.push_back(id); }
  int id;
  std::vector<int>& destroyed;
};

struct List : testing::Test {
  Item* Add(int id) {
    auto* const item = new Item(id, destroyed);
    EXPECT_TRUE(list->AddTail(item));
    return item;
  }

  std::vector<int> destroyed;
  std::unique_ptr<OList_T<Item, OList>> list = std::make_unique<OList_T<Item, OList>>();
};

TEST_F(List, HandsBackInOrderLosesWhatIsDestroyedAndDeletesTheRestFromTheHead) {
  delete Add(1);
  EXPECT_EQ(list->GetHead(), nullptr);
  Item* const head = Add(2);
  Add(3);
  Item* const middle = Add(4);
  delete Add(5);
  delete head;
  Add(6);
  delete middle;
  Add(7);
  EXPECT_FALSE(list->AddTail(nullptr));
  EXPECT_EQ(list->GetCount(), 3);
  const std::unique_ptr<ONode> removed(list->RemoveHead());
  EXPECT_EQ(removed->GetNext(), nullptr);
  EXPECT_EQ(list->GetCount(), 2);
  list.reset();
  EXPECT_THAT(destroyed, ElementsAre(1, 5, 2, 4, 6, 7));
}

}  // namespace
