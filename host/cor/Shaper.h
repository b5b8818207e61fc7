// Conversion between two profiles of curves and a matrix: curve, matrix, inverse curve, in single precision. Precise
// in the dark, where a table over all colours is not, and quicker than one.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "cor/Curve.h"
#include "cor/Layouts.h"
#include "cor/Profile.h"

namespace pfhost {

class Shaper {
 public:
  // Null unless both are profiles of curves and a matrix. Called under LcmsLock().
  static std::unique_ptr<Shaper> Make(const COR_XCE_Profile& from, const COR_XCE_Profile& to);

  // Whether both profiles map black to black.
  bool KeepsBlack() const;
  // Any thread. Colour only. \param limit float results to 0..1.
  void Apply(LayoutIndex from, const void* source, LayoutIndex to, void* destination, std::uint64_t count, bool limit);

 private:
  // A table for each channel, made when it is first needed; channels of equal curves share one.
  template <class T>
  class Tables {
   public:
    template <class Same, class F>
    const Tables& Made(Same same, F make) {
      std::call_once(once_, [&] {
        for (int i = 0; i < 3; ++i) {
          for (int k = 0; k < i && of_[i] == nullptr; ++k) {
            if (same(i, k)) of_[i] = of_[k];
          }
          if (of_[i] == nullptr) of_[i] = std::make_shared<const T>(make(i));
        }
      });
      return *this;
    }
    const T& operator[](int channel) const { return *of_[channel]; }

   private:
    std::once_flag once_;
    std::shared_ptr<const T> of_[3];
  };
  using Light = std::vector<float>;  // linear light by code

  Shaper() = default;
  // A stored value, 0..1 for the range of integers, as the other profile's stored value. Same matrices only.
  double Converted(int channel, double v) const;

  const Tables<Light>& LightOf(Tables<Light>& tables, int full);
  const Tables<QuickCurve>& Quick(Tables<QuickCurve>& tables, const std::vector<Curve>& curves, int steps,
                                  bool limited);
  const Tables<CodeCurve>& Codes();

  template <class From, class To>
  void ApplyCodes(Tables<std::vector<To>>& tables, int from_full, int to_full, const void* source, void* destination,
                  std::uint64_t count);
  bool ApplyCodes(LayoutIndex from, const void* source, LayoutIndex to, void* destination, std::uint64_t count);
  template <class Read, class From>
  void Write(Read read, const From* source, LayoutIndex to, void* destination, std::uint64_t count, bool limit);
  template <class To, class Read, class From, class Store>
  void Run(Read read, const From* source, Store store, void* destination, std::uint64_t count) const;

  std::vector<Curve> to_linear_, from_linear_;
  float matrix_[9];
  bool same_matrix_;

  Tables<Light> eight_, sixteen_;
  Tables<QuickCurve> float_, to_sixteen_, to_float_;
  Tables<CodeCurve> to_eight_;
  Tables<std::vector<std::uint8_t>> eight_to_eight_, sixteen_to_eight_;
  Tables<std::vector<std::uint16_t>> eight_to_sixteen_, sixteen_to_sixteen_;
};

}  // namespace pfhost
