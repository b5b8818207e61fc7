// Tests of operations on a library that has started.
#pragma once

#include <gtest/gtest.h>

#include "PF/PF_Lifecycle.h"
#include "PF/PF_Worlds.h"
#include "support/TestHost.h"

namespace pftest {

// Starts it on a fresh host before each test. Stops it afterwards, on a host that does nothing odd; no world may be
// left.
class LibraryTest : public testing::Test {
 protected:
  void SetUp() override {
    Host().Reset();
    ASSERT_EQ(PF_Birth(), 0);
    Host().reports.clear();
  }
  void TearDown() override {
    Host().Reset();
    EXPECT_EQ(PF_Death(), 0);
    EXPECT_EQ(PFp_LiveWorldCount(), 0);
  }
};

}  // namespace pftest
