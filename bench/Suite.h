// The operations that are measured, and how one of them is.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Picture.h"
#include "Timing.h"

namespace pfbench {

enum class Work {
  kConvert,          // depth to depth, equal sizes
  kDither,           // 16 to 8 bits with noise, equal sizes
  kReplicate,        // the nearest pixel
  kStraight,         // bilinear when enlarging, area average when reducing; colour weighted by alpha
  kPremultiplied,    // the same, channels alike
  kToPremultiplied,  // colour times alpha
  kToStraight,       // colour divided by alpha, of premultiplied pixels
  kVisit,            // a caller's function on every pixel
  kMaskInvert,       // full minus every value of a mask, in place
  kMaskFade,         // every value of a mask times kBenchFade, in place
  kMaskMerge,        // alpha of the destination times a mask, in place
  kMaskBox,          // means of a mask along one direction
  kMaskBell,         // bells of a mask along one direction
  kMaskAdd,          // s + d - s d of two masks
  kBlurBox,          // means along rows and columns, channels alike
  kBlurBell,         // bells along rows and columns, channels alike
  kBlurStraight,     // the same, colour weighted by alpha
  kBlend,            // cross-fades and painting
  kTransfer,         // a picture laid onto a copy of a second one by a transfer mode
  kColour            // from one profile to another
};

constexpr float kBenchFade = 0.99f;

// Of masks and blurs: results are made of 2 radius + 1 values of a row or of a column; of blurs, of both.
struct Scan {
  int radius;
  bool columns;
};

// Of kTransfer.
struct Laying {
  std::int32_t mode;
  bool linear = false;  // in linear light
};

// What a contender is asked to do. The source is filled; the destination may be written by anybody.
struct Task {
  Work work;
  bool opaque;  // every alpha is full
  Picture& src;
  Picture& dst;
  Scan scan = {};
  Laying laying = {};

  bool Enlarges() const { return dst.width() > src.width(); }
};

// Somebody else's way to do a task.
struct Contender {
  std::string name;    // library and call
  std::string less;    // what it leaves out of our work; empty = the same work
  std::string remark;  // how else it differs; may be empty
  std::function<void()> run;
};
using AddContenders = void (*)(const Task& task, std::vector<Contender>& contenders);

using Function = PF_Err (*)(Picture& src, Picture& dst);
using Hook = void (*)(Picture& src, Picture& dst);

// One line of the table. `size` names the larger picture.
struct Case {
  std::string operation;
  std::string depth;
  Size size;
  Work work;
  bool opaque;
  std::int32_t src_depth, dst_depth;
  Size src_size, dst_size;
  Function own;        // on the calling thread
  Function installed;  // as the host installed it, or null when there is no such form
  bool has_kernels;    // false when there is no portable kernel to compare with
  AddContenders contenders;
  int sources = 1;  // pictures of the source's size that are read; 2: the second is src.second

  // Of operations in place, whose input a run changes: `begin` makes it anew before the results are compared
  // and once before the times are taken, `end` puts the result into the destination.
  Hook begin = nullptr, end = nullptr;
  // Bytes that a call reads plus those that it writes; 0: all of the sources and of the destination.
  std::size_t moved_bytes = 0;
  Scan scan = {};
  Laying laying = {};

  std::string Name() const;
};

// The second source's share in cross-fades.
inline constexpr double kFadeRatio = 0.3;

struct PeerTime {
  std::string name, less, remark;
  double seconds;
};

// Seconds per call; 0 where not measured.
struct Row {
  Case measured;
  double own, copy, portable;
  double two_threads, all_threads;  // as multiples of the speed of one thread
  std::vector<PeerTime> peers;      // fastest first

  // Output pixels per second, in millions.
  double Speed(double seconds) const;
};

// Runs a case: compares the results of portable, vector and threaded code, then takes the times.
// Throws std::runtime_error when they differ or anything fails.
Row RunCase(const Case& wanted, const Pace& pace);

// \name The cases of each concern, at one size of the larger picture
// @{
void AddConvertCases(Size size, std::vector<Case>& cases);
void AddDraftCases(Size size, std::vector<Case>& cases);
void AddEnlargeCases(Size size, std::vector<Case>& cases);
void AddReduceCases(Size size, std::vector<Case>& cases);
void AddIterateCases(Size size, std::vector<Case>& cases);
void AddMaskCases(Size size, std::vector<Case>& cases);
void AddMaskScanCases(Size size, std::vector<Case>& cases);
void AddBlurCases(Size size, std::vector<Case>& cases);
void AddBlendCases(Size size, std::vector<Case>& cases);
void AddTransferCases(Size size, std::vector<Case>& cases);
void AddColorCases(Size size, std::vector<Case>& cases);
void AddAlphaCases(Size size, std::vector<Case>& cases);
// @}

// Both sides times `factor`, to nearest.
Size Scaled(Size size, double factor);
// "8 bits", "16 bits" or "float".
std::string DepthName(std::int32_t depth);

}  // namespace pfbench
