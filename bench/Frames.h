// Quality and speed of in-between frames, beside others, in one run.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "Quality.h"
#include "Report.h"
#include "Timing.h"

namespace pfbench {

struct FrameOptions {
  std::vector<std::string> filters;  // names of frames; none: all
  std::string save;                  // folder for pictures; empty: none
  Pace pace;
};

// One way's picture of one triplet.
struct FrameQuality {
  Quality quality;
  double vector_error;  // mean, pixels; not a number where there are no vectors or they are not known
};

// Seconds. Processor time on one thread, except where said.
struct FrameTimes {
  double yardstick;           // two estimates of the yardstick peer; 0 where it is not installed
  double yardstick_made;      // and its picture
  double first, further;      // ours: of a pair that is new, and of one that has its motion
  double wall_one, wall_two;  // ours, of a new pair, by the clock on the wall on one and on two threads
};

struct FrameRow {
  std::string name;
  Size size;
  bool drawn;  // a scene of the benchmark; else frames of footage, which times are taken of
  FrameQuality own;
  std::vector<FrameQuality> peers;  // in the order of FrameResults::peers; of a peer without a picture all are NaN
  FrameTimes times;
};

struct FrameResults {
  std::vector<std::string> peers, remarks;  // names, and how they work; the first is the plain average
  std::vector<std::string> missing;
  int yardstick;  // index into peers; -1: not installed
  std::vector<FrameRow> rows;
};

// Measures what of the folder in PF_TEST_DATA the options name. Tells `progress` where it is. Throws
// std::runtime_error.
FrameResults MeasureFrames(const FrameOptions& options, std::ostream& progress);

// What is asked of the library: a line that says whether it holds.
struct Bar {
  std::string text;
  bool holds;
  bool aim;  // wished for, not asked for
};
// None without all footage and the yardstick.
std::vector<Bar> FrameBars(const FrameResults& results);

void PrintFrames(std::ostream& out, Layout layout, const Machine& machine, const FrameResults& results);
void WriteFramesJson(std::ostream& out, const Machine& machine, const FrameResults& results);

}  // namespace pfbench
