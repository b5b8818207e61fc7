// Helpers of the tests of worlds.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "PF/PF_Worlds.h"
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

// A world of a class that is not the library's, with any depth.
class ForeignWorld final : public PF_World {
 public:
  explicit ForeignWorld(std::int16_t depth) : depth_(depth) {}
  std::int16_t Depth() const override { return depth_; }
  bool IsReference() const override { return true; }
  void Clear(const M_LRect*) override {}
  void ClearExceptRect(const M_LRect&) override {}
  void Fill(const PF_PixelFloat&, const M_LRect*) override {}
  void Fill(const PF_Pixel16&, const M_LRect*) override {}
  void FillAlpha() override {}
  void InvertAlpha() override {}
  void Premultiply() override {}
  void Unmultiply() override {}
  void PremulColor(const PF_Pixel16&) override {}
  void UnmulColor(const PF_Pixel16&) override {}
  void CopyRect(const PF_World*, const M_LRect&, std::int32_t, std::int32_t) override {}
  void CopyRectPossiblyDifferentBitdepth(const PF_World*, const M_LRect&, PF_Dither, std::int32_t, std::int32_t,
                                         const PF_ProgressInfo*) override {}
  void CopyRectPossiblyDifferentBitdepthWithField(const PF_World*, const M_LRect&, PF_Field) override {}
  bool SubWorldSafetyGutterHasBeenOverWritten() const override { return false; }
  void ReleaseOwnership() override {}

 private:
  std::int16_t depth_;
};

}  // namespace pftest
