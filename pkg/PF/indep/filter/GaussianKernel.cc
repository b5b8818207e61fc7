#include <algorithm>
#include <cmath>
#include <cstdint>

#include "PF/PF_Filters.h"
#include "edge/Guard.h"
#include "filter/Bell.h"
#include "report/Report.h"

namespace pf {
namespace {

// Towards zero, limited to 32 bits; what is not a number is 0.
std::int32_t Truncated(double v) {
  if (!(v == v)) return 0;
  return static_cast<std::int32_t>(std::clamp(v, double{INT32_MIN}, double{INT32_MAX}));
}

class KernelFill {
 public:
  KernelFill(double radius, double multiplier, std::int32_t* kernel)
      : r_(static_cast<std::int64_t>(std::ceil(radius))),
        divisor_(radius + 1),
        multiplier_(multiplier),
        kernel_(kernel) {}

  std::int64_t diameter() const { return 2 * r_ + 1; }

  void Fill(bool one_row) {
    rows_ = one_row ? 1 : diameter();
    for (std::int64_t row = 0; row < rows_; ++row) FillRow(kernel_ + row * diameter(), one_row ? 0 : row - r_);
  }

  // QUIRK-47: to the number of entries times 255, not to 255.
  void Normalize() {
    if (sum_ == 0) return;
    const std::int64_t entries = diameter() * rows_;
    const double factor = 255.0 * static_cast<double>(entries) / sum_;
    for (std::int64_t i = 0; i < entries; ++i) kernel_[i] = Truncated(kernel_[i] * factor);
  }

 private:
  double WeightAt(std::int64_t dx, std::int64_t dy) const {
    const auto x = static_cast<double>(dx), y = static_cast<double>(dy);
    const double weight = BellValue((dy == 0 ? x : std::sqrt(x * x + y * y)) / divisor_) * 255;
    return multiplier_ == 1.0 ? weight : weight * multiplier_;
  }

  void FillRow(std::int32_t* row, std::int64_t dy) {
    for (std::int64_t i = 0; i <= r_; ++i) {
      const double weight = WeightAt(r_ - i, dy);
      sum_ += i == r_ ? weight : 2 * weight;
      row[i] = row[2 * r_ - i] = std::clamp(Truncated(weight + 0.5), 0, 255);
    }
  }

  std::int64_t r_;
  double divisor_, multiplier_;
  std::int32_t* kernel_;
  std::int64_t rows_ = 0;
  double sum_ = 0;
};

}  // namespace
}  // namespace pf

double PFp_GaussianValue(double x) { return pf::BellValue(x); }

PF_Err PF_GaussianKernel(void*, double radius, std::int32_t flags, double multiplier, std::int32_t* diameter_out,
                         std::int32_t* kernel) {
  return pf::Guard([&]() -> PF_Err {
    const bool fits = radius >= 0 && radius <= pf::kLargestRadius;  // false for what is not a number
    if (!fits || diameter_out == nullptr || kernel == nullptr) {
      pf::ReportCaller(pf::Site::kGaussianKernel, pf::Message::kBadCallbackParameter);
      return PF_Err_BAD_PARAMETER;
    }
    pf::KernelFill fill(radius, multiplier, kernel);
    fill.Fill((flags & PF_KernelFlag_1D) != 0);
    *diameter_out = static_cast<std::int32_t>(fill.diameter());
    if ((flags & PF_KernelFlag_NORMALIZED) != 0) fill.Normalize();
    return PF_Err_NONE;
  });
}

// QUIRK-48: nothing stands behind these.
PF_Err PF_FastBlur_Premul(const PF_World*, PF_World*, float, std::int32_t, const PF_ProgressInfo*) {
  return PF_Err_NOT_IMPLEMENTED;
}
PF_Err PF_FastBlur_Straight(const PF_World*, PF_World*, float, std::int32_t, const PF_ProgressInfo*) {
  return PF_Err_NOT_IMPLEMENTED;
}
