#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <utility>

#include "gatehall/base/AtomicSharedPtr.h"

namespace gatehall {
namespace {

TEST(AtomicSharedPtr, HoldsNothingAtFirst) { EXPECT_EQ(AtomicSharedPtr<int>().load(), nullptr); }

TEST(AtomicSharedPtr, HoldsWhatWasStoredLast) {
  AtomicSharedPtr<int> pointer;
  pointer.store(std::make_shared<int>(1));
  pointer.store(std::make_shared<int>(2));
  EXPECT_EQ(*pointer.load(), 2);
  EXPECT_EQ(*pointer.exchange(nullptr), 2);
  EXPECT_EQ(pointer.load(), nullptr);
}

TEST(AtomicSharedPtr, KeepsTheFirstOfThoseStoredIfItIsEmpty) {
  AtomicSharedPtr<int> pointer;
  const auto first = std::make_shared<int>(1);
  EXPECT_EQ(pointer.storeIfEmpty(first), first);
  EXPECT_EQ(pointer.storeIfEmpty(std::make_shared<int>(2)), first);
  EXPECT_EQ(pointer.load(), first);
}

TEST(AtomicSharedPtr, LetsWhatItReleasesAskIt) {
  AtomicSharedPtr<int> pointer;
  int seen = 0;
  pointer.store({new int(1), [&](const int* old) {
                   seen = *pointer.load();
                   delete old;
                 }});
  pointer.store(std::make_shared<int>(2));
  EXPECT_EQ(seen, 2);
}

TEST(AtomicSharedPtr, IsReadWholeWhileItIsReplaced) {
  AtomicSharedPtr<const std::pair<int, int>> pointer;
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (int round = 0; round < 10'000; ++round) {
      pointer.store(std::make_shared<const std::pair<int, int>>(round, -round));
    }
    done = true;
  });
  int torn = 0;
  while (!done) {
    const auto read = pointer.load();
    if (read && read->first != -read->second) ++torn;
  }
  writer.join();
  EXPECT_EQ(torn, 0);
}

}  // namespace
}  // namespace gatehall
