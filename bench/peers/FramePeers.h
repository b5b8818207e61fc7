// Other ways from two frames to the one between them. Each registers itself where the machine has what it needs.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Triplet.h"

namespace pfbench {

// One pair of frames, ready for work: conversions to the peer's own formats are done.
class FrameMaker {
 public:
  virtual ~FrameMaker() = default;
  // Estimates the motion in both directions, and nothing else.
  virtual void Estimate() {}
  // Makes the middle frame, from what Estimate left.
  virtual void Make() = 0;
  virtual Image Result() const = 0;
  // The motion from the previous frame to the next at a pixel of the previous one.
  virtual Vector Motion(std::int32_t x, std::int32_t y) const = 0;
};

struct FramePeer {
  std::string name, remark;
  bool yardstick;                        // speed is measured against its estimates
  bool has_motion;                       // has Estimate and Motion; else only 8-bit frames are for it
  std::function<std::string()> version;  // empty: it is not installed
  std::function<std::unique_ptr<FrameMaker>(const Triplet& triplet)> start;
};

// The peers that are built in, by name.
std::vector<FramePeer>& FramePeers();

struct FramePeerRegistration {
  explicit FramePeerRegistration(FramePeer peer) { FramePeers().push_back(std::move(peer)); }
};

}  // namespace pfbench
