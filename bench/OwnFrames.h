// The library's in-between frames.
#pragma once

#include "PF/PF_FrameBlending.h"
#include "Picture.h"
#include "Triplet.h"

namespace pfbench {

// One pair of frames as worlds: opaque, 8 bits or floats of light. Everything throws std::runtime_error.
class OwnFrames {
 public:
  explicit OwnFrames(const Triplet& triplet);

  // Makes the middle frame, with the motion of the pair from the media cache if it is there.
  void Make();
  Image Result() const { return FromPicture(middle_); }
  // The mean length of the error of the vectors from the previous frame to the next.
  double VectorError(const Triplet& triplet);

  // Forgets the motion of every pair.
  static void ForgetMotion();

 private:
  Picture previous_, next_, middle_;
  PF_AdvancedFrameBlending blending_;
};

}  // namespace pfbench
