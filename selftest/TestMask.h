// Masks: filled at random, compared as bytes.
#pragma once

#include <cmath>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "PF/PF.h"
#include "selftest/Worlds.h"

namespace selftest {

class TestMask {
 public:
  // Throws PF_Error 4 when the host has no memory.
  TestMask(std::int32_t depth, std::int32_t width, std::int32_t height) : record_(width, height, depth) {}
  TestMask(std::int32_t depth, std::int32_t width, std::int32_t height, Random& random)
      : TestMask(depth, width, height) {
    Fill(random);
  }

  PF_UnoBuffer* record() { return &record_; }
  std::int32_t width() const { return record_.width; }
  std::int32_t height() const { return record_.height; }
  std::int32_t depth() const { return record_.depth; }
  std::size_t size() const {
    return static_cast<std::size_t>(record_.width) * static_cast<std::size_t>(record_.height) *
           static_cast<std::size_t>(record_.depth / 8);
  }
  // Where the values lie now: the host may move them at any call.
  void* values() const { return *record_.data; }

  double Get(std::int64_t x, std::int64_t y) const {
    const auto i = static_cast<std::size_t>(y * record_.width + x);
    if (record_.depth == 8) return static_cast<const std::uint8_t*>(values())[i];
    if (record_.depth == 16) return static_cast<const std::uint16_t*>(values())[i];
    return static_cast<double>(static_cast<const float*>(values())[i]);
  }
  void Set(std::int64_t x, std::int64_t y, double v) {
    const auto i = static_cast<std::size_t>(y * record_.width + x);
    if (record_.depth == 8) static_cast<std::uint8_t*>(values())[i] = static_cast<std::uint8_t>(v);
    if (record_.depth == 16) static_cast<std::uint16_t*>(values())[i] = static_cast<std::uint16_t>(v);
    if (record_.depth == 32) static_cast<float*>(values())[i] = static_cast<float>(v);
  }
  double Full() const { return record_.depth == 8 ? 255 : record_.depth == 16 ? 32768 : 1; }

  // Mostly legal values, many of them 0 and full; 16 bits above full, floats out of range and NaN.
  void Fill(Random& random) {
    for (std::int32_t y = 0; y < record_.height; ++y) {
      for (std::int32_t x = 0; x < record_.width; ++x) Set(x, y, AnyValue(random));
    }
  }
  void FillWith(double v) {
    for (std::int32_t y = 0; y < record_.height; ++y) {
      for (std::int32_t x = 0; x < record_.width; ++x) Set(x, y, v);
    }
  }
  std::vector<std::byte> Bytes() const {
    std::vector<std::byte> bytes(size());
    if (!bytes.empty()) std::memcpy(bytes.data(), values(), bytes.size());
    return bytes;
  }
  // The first value that differs by more than `most` from a table of expected ones, row after row; empty when none
  // does.
  std::string FirstDifference(const std::vector<double>& expected, double most = 0) const {
    for (std::int32_t y = 0; y < record_.height; ++y) {
      for (std::int32_t x = 0; x < record_.width; ++x) {
        const double e = expected[static_cast<std::size_t>(y) * static_cast<std::size_t>(record_.width) +
                                  static_cast<std::size_t>(x)];
        const double v = Get(x, y);
        if (v == e || std::abs(v - e) <= most || (std::isnan(v) && std::isnan(e))) continue;
        std::ostringstream text;
        text << "(" << x << ", " << y << ") is " << v << ", expected " << e;
        return text.str();
      }
    }
    return "";
  }

 private:
  double AnyValue(Random& random) const {
    const std::uint64_t bits = random();
    if (bits % 5 == 0) return 0;
    if (bits % 5 == 1) return Full();
    if (record_.depth == 8) return static_cast<double>(bits >> 8 & 255);
    if (record_.depth == 16) return static_cast<double>(bits >> 8 & (bits % 97 == 0 ? 65535 : 32767));
    constexpr double kOdd[] = {-0.25, 1.5, 3e38, -3e38, INFINITY, -INFINITY, 1e-40, -0.0, NAN};
    if (bits % 41 == 0) return kOdd[bits / 41 % std::size(kOdd)];
    return static_cast<double>(static_cast<float>(bits >> 8 & 0xFFFF) / 65535.0f);
  }

  PF_UnoBuffer record_;
};

}  // namespace selftest
