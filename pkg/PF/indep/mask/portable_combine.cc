#include <cmath>

#include "mask/MaskCombineKernels.h"
#include "mask/MaskMath.h"

namespace pf {
namespace {

// Integers are 0..full here. What leaves a type on the way returns into it.
struct Copy {
  template <class T>
  static T Of(T s, T) {
    return s;
  }
};
struct Add {
  template <class T>
  static T Of(T s, T d) {
    return static_cast<T>(s + d - ProductOf(s, d));
  }
};
struct Subtract {
  template <class T>
  static T Of(T s, T d) {
    return ProductOf(d, InverseOf(s));
  }
};
struct Intersect {
  template <class T>
  static T Of(T s, T d) {
    return ProductOf(s, d);
  }
};
struct Lighten {
  template <class T>
  static T Of(T s, T d) {
    return s > d ? s : d;
  }
};
struct Darken {
  template <class T>
  static T Of(T s, T d) {
    return s < d ? s : d;
  }
};
struct Difference {
  template <class T>
  static T Of(T s, T d) {
    return static_cast<T>(std::abs(s - d));
  }
};

std::uint8_t Limited(std::uint8_t v) { return v; }
std::uint16_t Limited(std::uint16_t v) { return std::min<std::uint16_t>(v, PF_MAX_CHAN16); }
float Limited(float v) { return v; }

template <class Mode, class T>
void Row(const void* s, const void* d, void* out, std::int64_t n) {
  const auto* first = static_cast<const T*>(s);
  const auto* second = static_cast<const T*>(d);
  auto* to = static_cast<T*>(out);
  for (std::int64_t i = 0; i < n; ++i) to[i] = Mode::Of(Limited(first[i]), Limited(second[i]));
}

#define PF_ROWS(Mode) \
  { &Row<Mode, std::uint8_t>, &Row<Mode, std::uint16_t>, &Row<Mode, float> }

}  // namespace

constinit const MaskCombineKernels kPortableMaskCombineKernels = {{PF_ROWS(Copy), PF_ROWS(Add), PF_ROWS(Subtract),
                                                                   PF_ROWS(Intersect), PF_ROWS(Lighten),
                                                                   PF_ROWS(Darken), PF_ROWS(Difference)}};

}  // namespace pf
