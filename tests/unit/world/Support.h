// Helpers of the tests of worlds.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "PF/PF_Worlds.h"
#include "support/ForeignWorld.h"
#include "support/TestHost.h"
#include "support/Throws.h"
#include "support/Worlds.h"

namespace pftest {

using WorldPtr = std::unique_ptr<PF_World>;

inline WorldPtr Reference(TestWorld& world) { return WorldPtr(PF_World::NewReference(world.record())); }

// A fresh test host, and nothing left behind on it.
class HostTest : public testing::TestWithParam<std::int32_t> {
 protected:
  void SetUp() override {
    Host().Reset();
    live_ = Host().live_allocations;
  }
  void TearDown() override {
    EXPECT_EQ(PFp_LiveWorldCount(), 0);
    EXPECT_EQ(PFp_LiveChunkCount(), 0);
    EXPECT_EQ(Host().live_allocations, live_);
  }

 private:
  std::int64_t live_ = 0;
};

}  // namespace pftest
