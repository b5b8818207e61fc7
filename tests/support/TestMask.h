// Masks for tests: filled at random, compared as bytes.
#pragma once

#include "selftest/TestMask.h"
#include "support/Worlds.h"

namespace pftest {

using selftest::TestMask;

}  // namespace pftest
