/// The shared pointer and the owning list.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "support/olist.h"
#include "support/shared_ptr.h"

namespace {

using testing::ElementsAre;

struct Witness {
  explicit Witness(std::atomic<int>& count) : destroyed(count) {}
  virtual ~Witness() { ++destroyed; }
  std::atomic<int>& destroyed;
};

TEST(SharedPtr, DeletesTheObjectWithItsLastUse) {
  std::atomic<int> destroyed{0};
  StdBrennick::shared_ptr<Witness> first(new Witness(destroyed));
  StdBrennick::shared_ptr<Witness> second(first), third;
  EXPECT_FALSE(third);
  third = std::move(second);
  third = *&third;
  EXPECT_EQ(third.get(), first.get());
  first.reset();
  EXPECT_FALSE(first);
  EXPECT_EQ(destroyed, 0);
  third.reset(new Witness(destroyed));
  EXPECT_EQ(destroyed, 1);
  third = StdBrennick::shared_ptr<Witness>();
  EXPECT_EQ(destroyed, 2);
}

TEST(SharedPtr, ThreadsShareOneObject) {
  std::atomic<int> destroyed{0};
  StdBrennick::shared_ptr<Witness> shared(new Witness(destroyed));
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([shared] {
      for (int round = 0; round < 2000; ++round) StdBrennick::shared_ptr<Witness> copy(shared);
    });
  }
  shared.reset();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(destroyed, 1);
}

struct Payload {
  virtual ~Payload() = default;
  int weight = 5;
};

/// A list's item whose node is not its first base.
struct Item : Payload, ONode {
  Item(int number, std::vector<int>& record) : id(number), destroyed(record) {}
  ~Item() override { destroyed.push_back(id); }
  int id;
  std::vector<int>& destroyed;
};

class List : public testing::Test {
 protected:
  Item* Add(int id) {
    auto* const item = new Item(id, destroyed);
    EXPECT_TRUE(list->AddTail(item));
    return item;
  }
  std::vector<int> Ids() const {
    std::vector<int> ids;
    for (ONode* node = list->GetHead(); node != nullptr; node = node->GetNext()) {
      ids.push_back(static_cast<Item*>(node)->id);
    }
    return ids;
  }

  std::vector<int> destroyed;
  std::unique_ptr<OList_T<Item, OList>> list = std::make_unique<OList_T<Item, OList>>();
};

TEST_F(List, HandsItsNodesBackInOrder) {
  for (const int id : {1, 2, 3}) Add(id);
  EXPECT_EQ(list->GetCount(), 3);
  EXPECT_FALSE(list->AddTail(nullptr));
  for (const int id : {1, 2, 3}) {
    std::unique_ptr<Item> item(static_cast<Item*>(list->RemoveHead()));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->id, id);
    EXPECT_EQ(item->weight, 5);
  }
  EXPECT_EQ(list->RemoveHead(), nullptr);
  Add(4);
  EXPECT_THAT(Ids(), ElementsAre(4));
}

TEST_F(List, LosesANodeThatIsDestroyed) {
  Item* const only = Add(1);
  delete only;
  EXPECT_EQ(list->GetCount(), 0);
  Item* const head = Add(2);
  Add(3);
  Item* const middle = Add(4);
  Item* const tail = Add(5);
  delete middle;
  delete tail;
  delete head;
  Add(6);
  EXPECT_THAT(Ids(), ElementsAre(3, 6));
}

TEST_F(List, DeletesItsNodesFromTheHead) {
  for (const int id : {1, 2, 3}) Add(id);
  list->AddTail(list->CreateNode());
  list.reset();
  EXPECT_THAT(destroyed, ElementsAre(1, 2, 3));
}

}  // namespace
