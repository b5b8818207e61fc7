#include "reference/Blur.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "PF/PF_Filters.h"
#include "PF/PF_Worlds.h"
#include "pixel/Depth.h"

namespace pftest {
namespace {

using Sample = std::array<double, 4>;  // alpha first
using Line = std::vector<Sample>;

// One side, the centre first.
std::vector<double> WeightsOf(const BlurWish& wish) {
  const std::int64_t reach = wish.Reach();
  std::vector<double> weights;
  double sum = 0;
  for (std::int64_t i = 0; i <= reach; ++i) {
    weights.push_back(wish.box ? 1 : PFp_GaussianValue(static_cast<double>(i) / (double{wish.radius} + 1)));
    sum += (i == 0 ? 1 : 2) * weights.back();
  }
  for (double& weight : weights) weight /= sum;
  return weights;
}

template <class P>
Sample SampleAt(const TestWorld& world, bool columns, std::int64_t line, std::int64_t i) {
  const auto x = static_cast<std::int32_t>(columns ? line : i), y = static_cast<std::int32_t>(columns ? i : line);
  const P& p = world.At<P>(x, y);
  return {static_cast<double>(p.alpha), static_cast<double>(p.red), static_cast<double>(p.green),
          static_cast<double>(p.blue)};
}

struct Mean {
  Sample value = {};    // when weighted, of products of colour and alpha
  Sample largest = {};  // of the samples themselves
};

Mean MeanAt(const Line& line, std::int64_t at, const std::vector<double>& weights, const BlurWish& wish) {
  const auto n = static_cast<std::int64_t>(line.size()), reach = static_cast<std::int64_t>(weights.size()) - 1;
  Mean mean;
  for (std::int64_t k = at - reach; k <= at + reach; ++k) {
    if ((k < 0 || k >= n) && (wish.flags & PF_BlurFlag_TRANSPARENT_EDGES) != 0) continue;
    const Sample& sample = line[static_cast<std::size_t>(std::clamp<std::int64_t>(k, 0, n - 1))];
    const double weight = weights[static_cast<std::size_t>(std::abs(k - at))];
    for (std::size_t c = 0; c < 4; ++c) {
      mean.value[c] += weight * (wish.straight && c > 0 ? sample[c] * sample[0] : sample[c]);
      mean.largest[c] = std::max(mean.largest[c], std::abs(sample[c]));
    }
  }
  return mean;
}

template <class P>
class Comparison {
 public:
  Comparison(const TestWorld& src, const TestWorld& dst, const BlurWish& wish)
      : src_(src), dst_(dst), wish_(wish), weights_(WeightsOf(wish)) {}

  BlurError Worst(std::int64_t stride) {
    const std::int32_t lines = wish_.src_columns ? src_.width() : src_.height();
    Line samples(static_cast<std::size_t>(wish_.src_columns ? src_.height() : src_.width()));
    for (std::int64_t line = 0; line < lines; ++line) {
      for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = SampleAt<P>(src_, wish_.src_columns, line, static_cast<std::int64_t>(i));
      }
      for (std::int64_t i = 0; i < static_cast<std::int64_t>(samples.size()); i += stride) Check(samples, line, i);
    }
    return error_;
  }

 private:
  static constexpr bool kFloat = sizeof(P) == sizeof(PF_PixelFloat);
  static constexpr double kFull = static_cast<double>(pf::DepthTraits<P>::kFull);

  void Check(const Line& samples, std::int64_t line, std::int64_t i) {
    const Sample got = SampleAt<P>(dst_, wish_.dst_columns, line, i);
    const Sample& here = samples[static_cast<std::size_t>(i)];
    const Mean mean = MeanAt(samples, i, weights_, wish_);
    const auto note = [&](std::size_t channel, double off, double want) {
      if (!(off <= error_.worst)) error_ = {off, line, i, static_cast<int>(channel), got[channel], want};
    };
    for (std::size_t c = 0; c < 4; ++c) {
      const bool copied =
          weights_.size() == 1 || (wish_.flags & (c == 0 ? PF_BlurFlag_COLOR_ONLY : PF_BlurFlag_ALPHA_ONLY)) != 0;
      if (copied) {
        const bool same = got[c] == here[c] || (std::isnan(got[c]) && std::isnan(here[c]));
        note(c, same ? 0 : std::numeric_limits<double>::infinity(), here[c]);
        continue;
      }
      const double alpha = mean.value[0];
      const bool weighted = wish_.straight && c > 0;
      const double want = !weighted ? mean.value[c] : alpha == 0 ? 0 : mean.value[c] / alpha;
      double off = std::abs(got[c] - want);
      if constexpr (kFloat) {
        off = std::max(off - double{std::numeric_limits<float>::denorm_min()}, 0.0);
        const double seen = weighted ? Ratio(std::abs(alpha), mean.largest[0]) : 1;
        note(c, weighted && alpha == 0 ? off : Ratio(off * seen, mean.largest[c]), want);
      } else {
        note(c, weighted && alpha < 4 ? off * alpha / kFull : off, want);
      }
    }
  }

  // Nothing is no part of nothing; something is all of it.
  static double Ratio(double part, double whole) {
    return part == 0 ? 0 : whole == 0 ? std::numeric_limits<double>::infinity() : part / whole;
  }

  const TestWorld &src_, &dst_;
  const BlurWish& wish_;
  std::vector<double> weights_;
  BlurError error_;
};

}  // namespace

std::int64_t BlurWish::Reach() const {
  return static_cast<std::int64_t>(box ? double{radius} + 0.5 : std::ceil(double{radius}));
}

std::string TextOf(const BlurWish& wish) {
  const auto direction = [](bool columns) { return columns ? "columns" : "rows"; };
  return std::string(wish.box ? "box " : "bell ") + std::to_string(wish.radius) + ", flags " +
         std::to_string(wish.flags) + ", " + direction(wish.src_columns) + " to " + direction(wish.dst_columns) +
         (wish.straight ? ", straight" : "");
}

std::string TextOf(const BlurError& error) {
  char text[200];
  std::snprintf(text, sizeof text, "off by %.3g in channel %d at %d of line %d: %.9g instead of %.9g", error.worst,
                error.channel, static_cast<int>(error.place), static_cast<int>(error.line), error.got, error.want);
  return text;
}

BlurError WorstBlurError(const TestWorld& src, const TestWorld& dst, const BlurWish& wish, std::int64_t stride) {
  return pf::DispatchDepth(
      src.depth(), [&]<class P>(P) { return Comparison<P>(src, dst, wish).Worst(stride); }, [] { return BlurError{}; });
}

}  // namespace pftest
