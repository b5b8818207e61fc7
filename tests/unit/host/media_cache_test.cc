// After: items that leave too early, too late or in the wrong order, a budget that drifts, and one key with two items.
#include <boost/make_shared.hpp>
#include <thread>
#include <vector>

#include "Support.h"
#include "host/MC.h"

namespace {

vexcore::Guid Key(int i) { return {{static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8)}}; }

struct Item : MC_Stuff {
  explicit Item(std::uint64_t bytes) : size(bytes) {}
  std::uint64_t Bytes() const override { return size; }
  std::uint64_t size;
};

class MediaCache : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(PFhost_Start(nullptr), 0);
    PFhost_SetMediaCacheBudget(100);
  }
  void TearDown() override {
    PFhost_SetMediaCacheBudget(std::uint64_t{512} << 20);
    EXPECT_EQ(PFhost_Stop(), 0);
    EXPECT_EQ(PFhost_MediaCacheBytes(), 0u);
  }
};

boost::shared_ptr<Item> File(int key, std::uint64_t size) {
  const auto item = boost::make_shared<Item>(size);
  MC_StuffRef filed;
  EXPECT_EQ(MC_File(Key(key), item, &filed), 0);
  EXPECT_EQ(filed, item);
  return item;
}

MC_StuffRef Find(int key) {
  MC_StuffRef found;
  EXPECT_EQ(MC_Find(Key(key), &found), 0);
  return found;
}

TEST_F(MediaCache, TheLeastRecentlyUsedLeaveFirst) {
  const auto a = File(1, 40), b = File(2, 40);
  EXPECT_EQ(Find(1), a);  // now 2 is the older one
  const auto c = File(3, 40);
  EXPECT_EQ(Find(2), nullptr);
  EXPECT_EQ(Find(1), a);
  EXPECT_EQ(Find(3), c);
  EXPECT_EQ(PFhost_MediaCacheBytes(), 80u);
  EXPECT_EQ(b->Bytes(), 40u);  // who holds an item keeps it
  File(4, 101);                // more than all of the budget
  EXPECT_EQ(Find(4), nullptr);
  PFhost_SetMediaCacheBudget(0);
  EXPECT_EQ(PFhost_MediaCacheBytes(), 0u);
  EXPECT_EQ(a.use_count(), 1);
}

TEST_F(MediaCache, AKeyHasOneItemWhoeverComesSecond) {
  const auto first = File(1, 10);
  MC_StuffRef filed;
  EXPECT_EQ(MC_File(Key(1), boost::make_shared<Item>(20), &filed), 0);
  EXPECT_EQ(filed, first);
  EXPECT_EQ(PFhost_MediaCacheBytes(), 10u);
  const Item stranger(5);
  MC_Remove(Key(1), &stranger);
  EXPECT_EQ(Find(1), first);
  MC_Remove(Key(1), first.get());
  MC_Remove(Key(1), first.get());
  EXPECT_EQ(Find(1), nullptr);
  EXPECT_EQ(PFhost_MediaCacheBytes(), 0u);
}

TEST_F(MediaCache, SizesThatGrowCountFromWhenTheyAreTold) {
  const auto a = File(1, 0), b = File(2, 30);
  a->size = 60;
  EXPECT_EQ(PFhost_MediaCacheBytes(), 30u);
  MC_Changed(Key(1), a.get());
  EXPECT_EQ(PFhost_MediaCacheBytes(), 90u);
  b->size = 50;
  MC_Changed(Key(2), b.get());
  EXPECT_EQ(Find(1), nullptr);
  EXPECT_EQ(PFhost_MediaCacheBytes(), 50u);
  a->size = 1;
  MC_Changed(Key(1), a.get());  // has left
  EXPECT_EQ(PFhost_MediaCacheBytes(), 50u);
}

TEST_F(MediaCache, ManyThreadsLeaveTheBudgetInOrder) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 2000; ++i) {
        const int key = (i * 7 + t * 3) % 40;
        MC_StuffRef item = Find(key);
        if (item == nullptr) MC_File(Key(key), boost::make_shared<Item>(1 + key % 20), &item);
        if (i % 5 == 0) MC_Remove(Key(key), item.get());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::uint64_t bytes = 0;
  for (int key = 0; key < 40; ++key) {
    if (const MC_StuffRef item = Find(key)) bytes += item->Bytes();
  }
  EXPECT_EQ(PFhost_MediaCacheBytes(), bytes);
  EXPECT_LE(bytes, 100u);
}

}  // namespace
