/// \file
/// Frame blending by the library, and its parameters on the command line.
#ifndef TOOLS_PF_RETIME_FLOW_H
#define TOOLS_PF_RETIME_FLOW_H

#include <boost/shared_ptr.hpp>
#include <string>

#include "PF/PF_FrameBlending.h"
#include "retime/footage.h"

namespace CLI {
class App;
}

namespace pftool {

/// The parameters as they stand on the command line; empty texts keep the library's defaults.
struct FlowOptions {
  std::string mode, stiffness, largest_motion, rounds, patch, hidden, weights, blur, blur_steps, fetch;
  bool flicker = false;
};
void AddFlowOptions(CLI::App& app, FlowOptions* options);

/// The library's parameters. \throws Failure (64) for what is not understood or out of range.
PF_Tavros_AlgoParams ParseFlow(const FlowOptions& options);

/// Makes in-between frames.
class Flow {
 public:
  Flow(const PF_Tavros_AlgoParams& params, Reporter* reporter) : params_(params), reporter_(reporter) {}

  /// The frame at `time` (0..1) between two; \param plain cross-fade them without motion
  WorldPtr Between(const SourceFrame& previous, const SourceFrame& next, double time, bool plain) const;
  /// The motion of a pair.
  boost::shared_ptr<PF_TavrosCache_Stuff> Motion(const SourceFrame& previous, const SourceFrame& next) const;
  const PF_Tavros_AlgoParams& params() const { return params_; }

 private:
  PF_AdvancedFrameBlending Blending(double time, bool plain, const PF_ProgressInfo* progress) const;

  PF_Tavros_AlgoParams params_;
  Reporter* reporter_;
};

}  // namespace pftool

#endif
