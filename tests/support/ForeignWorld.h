// World objects that the library did not make.
#pragma once

#include "PF/PF_Worlds.h"

namespace pftest {

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
