// The figures that the library has to reach, as means over the footage.
#include <algorithm>
#include <cstdio>
#include <limits>
#include <numeric>

#include "Frames.h"

namespace pfbench {
namespace {

constexpr std::size_t kAllFootage = 4;

using Figure = double (*)(const FrameRow& row);

std::string Text(const char* format, double a, double b) {
  char text[160];
  std::snprintf(text, sizeof text, format, a, b);
  return text;
}

double Mean(const std::vector<FrameRow>& rows, Figure figure) {
  return std::accumulate(rows.begin(), rows.end(), 0.0,
                         [&](double sum, const FrameRow& row) { return sum + figure(row); }) /
         static_cast<double>(rows.size());
}

double Largest(const std::vector<FrameRow>& rows, Figure figure) {
  double largest = figure(rows.front());
  for (const FrameRow& row : rows) largest = std::max(largest, figure(row));
  return largest;
}

// By how many decibels ours is worst below a peer; negative: it never is.
double Behind(const std::vector<FrameRow>& rows, int peer) {
  double most = -std::numeric_limits<double>::infinity();
  for (const FrameRow& row : rows) {
    most = std::max(most, row.peers[static_cast<std::size_t>(peer)].quality.psnr - row.own.quality.psnr);
  }
  return most;
}

double Psnr(const FrameRow& row) { return row.own.quality.psnr; }
double Ssim(const FrameRow& row) { return row.own.quality.ssim; }
double Cost(const FrameRow& row) { return row.times.first / row.times.yardstick; }
double FurtherShare(const FrameRow& row) { return row.times.further / row.times.first; }
double TwoThreadShare(const FrameRow& row) { return row.times.wall_two / row.times.wall_one; }

void AddQuality(const std::vector<FrameRow>& rows, double psnr, double ssim, bool aim, std::vector<Bar>& bars) {
  const double own_psnr = Mean(rows, &Psnr), own_ssim = Mean(rows, &Ssim);
  bars.push_back({Text("mean PSNR %.2f dB, at least %.1f", own_psnr, psnr), own_psnr >= psnr, aim});
  bars.push_back({Text("mean SSIM %.4f, at least %.3f", own_ssim, ssim), own_ssim >= ssim, aim});
}

void AddShare(const std::vector<FrameRow>& rows, const char* format, Figure figure, double limit, bool aim,
              std::vector<Bar>& bars) {
  const double mean = Mean(rows, figure);
  bars.push_back({Text(format, mean, limit) + Text("; worst %.2f", Largest(rows, figure), 0), mean <= limit, aim});
}

}  // namespace

std::vector<Bar> FrameBars(const FrameResults& results) {
  std::vector<FrameRow> rows;
  std::ranges::copy_if(results.rows, std::back_inserter(rows), [](const FrameRow& row) { return !row.drawn; });
  std::vector<Bar> bars;
  if (rows.size() < kAllFootage || results.yardstick < 0) return bars;
  const std::string& yardstick = results.peers[static_cast<std::size_t>(results.yardstick)];
  AddQuality(rows, 33.0, 0.969, false, bars);
  const double behind = Behind(rows, results.yardstick), behind_average = Behind(rows, 0);
  bars.push_back(
      {Text("at worst %.2f dB below ", behind, 0) + yardstick + Text(", at most %.1f", 0.3, 0), behind <= 0.3, false});
  bars.push_back(
      {Text("at worst %.2f dB below the average, at most %.1f", behind_average, 0), behind_average <= 0, false});
  AddShare(rows, "processor time %.2f times the yardstick, at most %.1f", &Cost, 2.0, false, bars);
  AddShare(rows, "time on two threads %.2f of that on one, at most %.2f", &TwoThreadShare, 0.6, false, bars);
  AddQuality(rows, 33.6, 0.972, true, bars);
  AddShare(rows, "processor time %.2f times the yardstick, at most %.1f", &Cost, 1.0, true, bars);
  AddShare(rows, "a further frame %.2f of the first, at most %.2f", &FurtherShare, 0.15, true, bars);
  return bars;
}

}  // namespace pfbench
