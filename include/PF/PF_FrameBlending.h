/// \file
/// In-between frames by optical flow: the parameters of the motion estimation and what identifies its results.
#ifndef PF_FRAME_BLENDING_H
#define PF_FRAME_BLENDING_H

#include <boost/crc.hpp>
#include <cstddef>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"

/// CRC-32 as everybody computes it.
using PF_CRC32 = boost::crc_optimal<32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, true, true>;

/// Tuning of the motion estimation. Ranges are of stored values, both ends included; fields marked percent are given
/// to the constructor of PF_AdvancedFrameBlending a hundred times as large.
struct PF_EXPORT PF_Tavros_AlgoParams {
  std::int16_t mode;        ///< 0..2
  float fraction;           ///< 0.05..1, percent
  float boundA;             ///< -1000..1000
  float boundB;             ///< -1000..1000
  std::int16_t count;       ///< 1..50
  float threshold;          ///< 0..0.1, percent
  std::int16_t switchFlag;  ///< 0..1
  std::int16_t size;        ///< 4..40
  double weightR;           ///< 0..1, percent; the three weights add up to 1, with 0.02 to spare
  double weightG;           ///< see weightR
  double weightB;           ///< see weightR
  float degrees;            ///< 0..360
  std::int16_t steps;       ///< 1..20
  std::int16_t variant;     ///< 0..3

  /// Feeds the fields, in this order and each by its own width, into a running CRC; gaps between fields never enter.
  void ComputeCRC(PF_CRC32& crc) const;
};
static_assert(sizeof(PF_Tavros_AlgoParams) == 64 && offsetof(PF_Tavros_AlgoParams, fraction) == 4 &&
                  offsetof(PF_Tavros_AlgoParams, count) == 16 && offsetof(PF_Tavros_AlgoParams, size) == 26 &&
                  offsetof(PF_Tavros_AlgoParams, weightR) == 32 && offsetof(PF_Tavros_AlgoParams, degrees) == 56 &&
                  offsetof(PF_Tavros_AlgoParams, variant) == 62,
              "crosses the plug-in boundary");

/// Handed on unchanged.
struct PF_Tavros_OtherParams {
  std::int64_t values[4];
  float numbers[9];  ///< the first one: the time of the in-between frame, 0..1 from previous to next, if `flag` is set
  std::int64_t value;
  std::int32_t flag;  ///< not 0: numbers[0] is the time, else it is one half
};
static_assert(sizeof(PF_Tavros_OtherParams) == 88 && offsetof(PF_Tavros_OtherParams, numbers) == 32 &&
                  offsetof(PF_Tavros_OtherParams, value) == 72 && offsetof(PF_Tavros_OtherParams, flag) == 80,
              "crosses the plug-in boundary");

/// How the engine asks whether to go on.
struct PF_Tavros_InterruptFuncs {
  std::int32_t (*stop)(void* data);  ///< not 0: stop; null never stops. Asked on the calling thread
  void* data;
};

/// The front end of frame blending. It owns nothing; copies are copies of its records.
class PF_EXPORT PF_AdvancedFrameBlending {
 public:
  /// The algorithm parameters as a user gives them: `fraction` and `threshold` times the float 0.01, the weights times
  /// that float widened to double.
  PF_AdvancedFrameBlending(const PF_Tavros_AlgoParams& algo, const PF_Tavros_OtherParams& other,
                           const PF_Tavros_InterruptFuncs& interrupt);
  /// Default algorithm parameters: mode 2, fraction 0.2, bounds 500, count 5, threshold 0.01, switch 0, size 6, the
  /// weights of luminance, 180 degrees, 1 step, variant 0.
  PF_AdvancedFrameBlending(const PF_Tavros_OtherParams& other, const PF_Tavros_InterruptFuncs& interrupt);

  /// \return 0 when every algorithm parameter is a number in its range and the weights add up; else 514. Not reported.
  PF_Err CheckParamRange() const;

  PF_Tavros_AlgoParams algoParams;
  PF_Tavros_OtherParams otherParams;
  PF_Tavros_InterruptFuncs interruptFuncs;
};
static_assert(offsetof(PF_AdvancedFrameBlending, otherParams) == 64 &&
                  offsetof(PF_AdvancedFrameBlending, interruptFuncs) == 152,
              "crosses the plug-in boundary");

#endif
