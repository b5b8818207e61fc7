#include <cmath>

#include "Fields.h"
#include "PF/PF_FrameBlending.h"
#include "PairCache.h"

namespace pf {
namespace {

constexpr PF_Tavros_AlgoParams kDefaults = {2, 0.2f,      500.0f,     500.0f,     5,      0.01f, 0,
                                            6, 0.2988804, 0.58676529, 0.11435428, 180.0f, 1,     0};

// False for what is not a number.
template <class T>
bool Within(T v, double least, double largest) {
  return v >= least && v <= largest;
}

bool WeightsFit(const PF_Tavros_AlgoParams& p) {
  for (const double weight : {p.weightR, p.weightG, p.weightB}) {
    if (!Within(weight, 0, 1)) return false;
  }
  return std::abs(p.weightR + p.weightG + p.weightB - 1) < 0.02;
}

bool Fit(const PF_Tavros_AlgoParams& p) {
  return Within(p.mode, 0, 2) && Within(p.fraction, 0.05, 1) && Within(p.boundA, -1000, 1000) &&
         Within(p.boundB, -1000, 1000) && Within(p.count, 1, 50) && Within(p.threshold, 0, 0.1) &&
         Within(p.switchFlag, 0, 1) && Within(p.size, 4, 40) && WeightsFit(p) && Within(p.degrees, 0, 360) &&
         Within(p.steps, 1, 20) && Within(p.variant, 0, 3);
}

}  // namespace

PF_Err CheckRange(const PF_Tavros_AlgoParams& algo) { return Fit(algo) ? PF_Err_NONE : PF_Err_BAD_BLEND_PARAMETER; }

}  // namespace pf

void PF_Tavros_AlgoParams::ComputeCRC(PF_CRC32& crc) const {
  pf::ForFields(*this, [&](const char*, const auto& field) { crc.process_bytes(&field, sizeof field); });
}

PF_AdvancedFrameBlending::PF_AdvancedFrameBlending(const PF_Tavros_AlgoParams& algo, const PF_Tavros_OtherParams& other,
                                                   const PF_Tavros_InterruptFuncs& interrupt)
    : algoParams(algo), otherParams(other), interruptFuncs(interrupt) {
  constexpr float kPercent = 0.01f;
  for (float* field : {&algoParams.fraction, &algoParams.threshold}) *field *= kPercent;
  for (double* weight : {&algoParams.weightR, &algoParams.weightG, &algoParams.weightB}) *weight *= double{kPercent};
}

PF_AdvancedFrameBlending::PF_AdvancedFrameBlending(const PF_Tavros_OtherParams& other,
                                                   const PF_Tavros_InterruptFuncs& interrupt)
    : algoParams(pf::kDefaults), otherParams(other), interruptFuncs(interrupt) {}

PF_Err PF_AdvancedFrameBlending::CheckParamRange() const { return pf::CheckRange(algoParams); }
