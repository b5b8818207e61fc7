// What is kept of a pair of frames: motion in both directions at half size, whole numbers all of it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pf {

// Vectors are in units of 1/64 pixel of half size, hence 1/32 pixel of a frame.
inline constexpr float kMotionUnits = 64.0f;
// Hidden: 0..255. Doubt: exp(-doubt / 16) is the weight of a vector.
inline constexpr float kHiddenUnits = 255.0f;
inline constexpr float kDoubtUnits = 16.0f;

// One direction, standing at one of the frames. Rows without gaps.
struct MotionField {
  std::int16_t *u, *v;
  std::uint8_t* hidden;  // in the other frame
  std::uint8_t* doubt;
};

// A thin place that moves by itself, and where to; pixels of half size, motion in its units.
struct ThinPoint {
  std::int16_t x, y, u, v;
};

// Owns blocks of the host's.
struct PairMotion {
  // Throws 4, unreported, when memory is short.
  PairMotion(std::int32_t width, std::int32_t height);
  ~PairMotion();
  PairMotion(const PairMotion&) = delete;
  PairMotion& operator=(const PairMotion&) = delete;

  std::uint64_t Bytes() const;

  std::int32_t width, height;
  MotionField forward, backward;

  // Points of the previous frame, then those of the next.
  void KeepThin(const ThinPoint* previous, std::int32_t previous_count, const ThinPoint* next, std::int32_t next_count);
  const ThinPoint* thin = nullptr;
  std::int32_t thin_previous = 0, thin_next = 0;

 private:
  void* block_;
  void* thin_block_ = nullptr;
};

}  // namespace pf
