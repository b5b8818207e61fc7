// A running 128-bit hash (XXH3) of everything that operations give back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace selftest {

class TestWorld;
class TestMask;

struct Hash128 {
  std::uint64_t high = 0, low = 0;
  bool operator==(const Hash128&) const = default;
  // 32 hexadecimal digits.
  std::string Text() const;
};

// Numbers count by their bits, little end first; every NaN counts as the one positive quiet NaN without a payload,
// because the sign and payload that arithmetic on NaN gives are the compiler's choice.
class Hash {
 public:
  Hash();
  ~Hash();
  void AddBytes(const void* bytes, std::size_t size);
  void AddFloats(const float* values, std::size_t count);
  // Pixels, row gaps left out, and whether nothing around them has been written.
  void Add(const TestWorld& world);
  void Add(const TestMask& mask);
  void AddText(std::string_view text);
  template <class T>
  void AddValue(const T& value) {
    static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T>, "no padding");
    if constexpr (std::is_floating_point_v<T>) {
      const T known = value != value ? kNan<T> : value;
      AddBytes(&known, sizeof known);
    } else {
      AddBytes(&value, sizeof value);
    }
  }
  Hash128 value() const;

 private:
  template <class T>
  static constexpr T kNan = std::numeric_limits<T>::quiet_NaN();
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace selftest
