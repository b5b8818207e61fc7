// The test host's colour engine: profiles are curves that a test gives. It writes 0xEE over the destination's
// alpha, counts calls and fails the one it is asked to (TestHost).
#pragma once

#include <functional>
#include <string>

#include "host/COR.h"

namespace pftest {

// From stored values to linear light, both 0..1 for the range that integers have.
using Curve = std::function<double(double)>;

// A profile of one curve for all channels. Its inverse is by bisection, so curves that are to be a destination
// do not fall. \param gamma as it shall be described.
COR_XCE_ProfileRef NewProfile(const std::string& name, Curve to_linear, double gamma);
// A pure power; 1 is linear light, exactly.
COR_XCE_ProfileRef NewPowerProfile(double gamma);

// Pool and transform that go with the object.
struct TestPool {
  TestPool() { COR_NewProfilePool(&pool); }
  ~TestPool() { COR_DisposeProfilePool(pool); }
  TestPool(const TestPool&) = delete;
  TestPool& operator=(const TestPool&) = delete;
  COR_XCE_ProfilePool* pool = nullptr;
};
struct TestTransform {
  explicit TestTransform(COR_XCE_Transform made) : transform(made) {}
  ~TestTransform() { COR_ReleaseTransform(transform); }
  TestTransform(const TestTransform&) = delete;
  TestTransform& operator=(const TestTransform&) = delete;
  COR_XCE_Transform transform;
};

}  // namespace pftest
