/// \file
/// In-between frames by optical flow: the picture that lies between two neighbouring frames of footage, made by moving
/// what is in them.
///
/// Rules common to the family
/// - Frames are worlds of one size and one depth, in straight alpha. Inside, colour is premultiplied, and alpha is
///   limited to 0..full. Float colour may leave 0..1; no colour leaves the range of what is around it. A sample that is
///   not finite stays in the pixels it falls on.
/// - The motion of a pair is estimated once, at half size, in both directions, and kept in the host's media cache; any
///   number of in-between frames is made from it. A frame made from kept motion has the bits of one made afresh.
/// - Results have the same bits for any number of threads and on every processor.
/// - Every operation may run on several threads at once, also for one pair of frames: the motion is then computed by
///   one of them, and the others wait for it.
#ifndef PF_FRAME_BLENDING_H
#define PF_FRAME_BLENDING_H

#include <boost/crc.hpp>
#include <boost/scoped_ptr.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"
#include "PF/PF_Worlds.h"
#include "host/MC.h"

/// CRC-32 as everybody computes it.
using PF_CRC32 = boost::crc_optimal<32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, true, true>;

/// Tuning. Ranges are of stored values, both ends included; fields marked percent are given to the constructor of
/// PF_AdvancedFrameBlending a hundred times as large. No setting costs without limit: what grows with a field is said
/// at the field. The working memory of a call is about 115 bytes for each pixel of a frame.
struct PF_EXPORT PF_Tavros_AlgoParams {
  /// 0..2. 0: a plain cross-fade, no motion. 1: both frames moved along the motion as it was found, quick. 2: at the
  /// wanted time the motion is also chosen among candidates and refined, and thin things are followed.
  std::int16_t mode;
  /// 0.05..1, percent. How stiff motion is: at 0.05 every place moves by itself, at 1 large areas move together. As
  /// 5 percent come out below 0.05 they are refused.
  float fraction;
  /// -1000..1000. The longest motion across, between the two frames. Positive: pixels. Negative: thousandths of the
  /// frame's width, at most 1000 pixels. 0: none.
  float boundA;
  /// -1000..1000. The longest motion downwards and upwards; as boundA, of the frame's height.
  float boundB;
  /// 1..50. Rounds of refinement at each size of the frames; time grows with it.
  std::int16_t count;
  /// 0..0.1, percent. By which share of their squared length the motions there and back may differ before a place
  /// counts as hidden in the other frame. Larger: both frames are mixed at more places; smaller: more places come from
  /// one.
  float threshold;
  /// 0..1. 1: brightness may change between the frames (flicker, flashes); what counts in matching is structure.
  std::int16_t switchFlag;
  /// 4..40. Edge in pixels, rounded up to a multiple of 8, of the patches that are looked for in the other frame. Small
  /// ones follow small things, large ones withstand noise.
  std::int16_t size;
  double weightR;  ///< 0..1, percent. The share of red in what is compared; the three add up to 1, with 0.02 to spare
  double weightG;  ///< see weightR
  double weightB;  ///< see weightR
  /// 0..360. Shutter angle: with `steps` above 1, for which part of the time between the frames the shutter is open
  /// (360: all of it), around the wanted time.
  float degrees;
  /// 1..20. Moments within the open shutter that are averaged: motion blur. 1: none. Time of the last step grows with
  /// it.
  std::int16_t steps;
  /// 0..3. How pixels are fetched. 0: cubic, from both frames where both show the place. 1: bilinear, likewise. 2:
  /// cubic, from the frame that is nearer in time unless only the other shows the place. 3: bilinear, likewise.
  std::int16_t variant;

  /// Feeds the fields, in this order and each by its own width, into a running CRC; gaps between fields never enter.
  void ComputeCRC(PF_CRC32& crc) const;
};
static_assert(sizeof(PF_Tavros_AlgoParams) == 64 && offsetof(PF_Tavros_AlgoParams, fraction) == 4 &&
                  offsetof(PF_Tavros_AlgoParams, count) == 16 && offsetof(PF_Tavros_AlgoParams, size) == 26 &&
                  offsetof(PF_Tavros_AlgoParams, weightR) == 32 && offsetof(PF_Tavros_AlgoParams, degrees) == 56 &&
                  offsetof(PF_Tavros_AlgoParams, variant) == 62,
              "crosses the plug-in boundary");

/// Handed on unchanged; what is not named here is not read.
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
  std::int32_t (*stop)(void* data);  ///< not 0: stop; null never stops. Asked on the calling thread, often
  void* data;
};

/// Which way a vector leads.
enum PF_MotionDirection : std::int32_t {
  PF_MotionDirection_FORWARD = 0,  ///< from a place in the previous frame to where that is in the next one
  PF_MotionDirection_BACKWARD = 1  ///< from a place in the next frame to where that was in the previous one
};

/// A motion in pixels of the frames, to the right and downwards.
struct PF_MotionVector {
  float x, y;
};

namespace pf {
class SharedMotion;
}

/// The motion of one pair of frames, an item of the host's media cache. Empty on creation; filled once and then read by
/// any number of threads.
class PF_EXPORT PF_TavrosCache_Stuff : public MC_Stuff {
 public:
  PF_TavrosCache_Stuff();
  ~PF_TavrosCache_Stuff() override;
  PF_TavrosCache_Stuff(const PF_TavrosCache_Stuff&) = delete;
  PF_TavrosCache_Stuff& operator=(const PF_TavrosCache_Stuff&) = delete;
  /// A little above 3 bytes for each pixel of a frame; little while empty.
  std::uint64_t Bytes() const override;
  bool Empty() const;
  /// Vectors stand at every second pixel of every second row: half the frame's extents, rounded up. 0 while empty.
  std::int32_t Width() const;
  std::int32_t Height() const;  ///< see Width
  /// The motion at pixel (2 x, 2 y) of the frame it starts in, in steps of 1/32 pixel. (x, y) must lie inside.
  PF_MotionVector Vector(PF_MotionDirection direction, std::int32_t x, std::int32_t y) const;

  /// For the library.
  pf::SharedMotion& shared() const { return *shared_; }

 private:
  boost::scoped_ptr<pf::SharedMotion> shared_;
};

/// What the engine works on. Nothing is owned.
struct PF_Tavros_Images {
  const PF_World* previous;
  const PF_World* next;           ///< size and depth of `previous`
  PF_TavrosCache_Stuff* vectors;  ///< empty; receives the motion
};

extern "C" {
/// Estimates the motion between two frames. `interrupt` may be null.
///
/// \return 0; 514 for parameters out of range; 516 for null worlds, worlds without pixels, of unequal size or depth or
///   of a depth that there is not, or for vectors that are not empty; 4 when memory is short, after the report "Out of
///   memory in Tavros optical flow library."; 517 when stopped. `vectors` stays empty except for 0.
PF_EXPORT PF_Err calcTavrosOpticalFlowParamsNoIpl(const PF_Tavros_AlgoParams& algo,
                                                  const PF_Tavros_InterruptFuncs* interrupt,
                                                  const PF_Tavros_Images& images);
}

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

  /// Makes the frame at the wanted time (see PF_Tavros_OtherParams). At the times 0 and 1 it is the frame itself, bit
  /// for bit, and between two frames of equal pixels it is that frame. The less a wide surrounding
  /// of a place has in common with the other frame, the more the result is their cross-fade.
  ///
  /// \param destination size and depth of the frames; it may be one of them, but must not overlap one otherwise.
  /// \return 0; 514 for parameters out of range, before any other check; 516 for null worlds, worlds without pixels, of
  ///   unequal size or depth or of a depth that there is not; 4 when memory is short and 3 for another failure, both
  ///   after a report to the user; 517 when the interrupt function asks to stop. Except for 0 the destination is
  ///   untouched and nothing has been filed.
  PF_Err Render(const PF_World* previous, const PF_World* next, PF_World* destination) const;

  /// The motion that Render uses for a pair: from the media cache, or computed and filed there.
  /// \param found receives the motion; it stays valid for as long as it is held. Codes as of Render.
  PF_Err FindVectors(const PF_World* previous, const PF_World* next,
                     boost::shared_ptr<PF_TavrosCache_Stuff>* found) const;

  PF_Tavros_AlgoParams algoParams;
  PF_Tavros_OtherParams otherParams;
  PF_Tavros_InterruptFuncs interruptFuncs;
};
static_assert(offsetof(PF_AdvancedFrameBlending, otherParams) == 64 &&
                  offsetof(PF_AdvancedFrameBlending, interruptFuncs) == 152,
              "crosses the plug-in boundary");

#endif
