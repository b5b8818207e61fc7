// The table of operations, with those that need a colour engine: the test host's gives the same bits everywhere.
#pragma once

#include <vector>

#include "selftest/Operations.h"
#include "support/Worlds.h"

namespace pftest {

using selftest::CodeOf;
using selftest::Hash128;
using selftest::Operation;
using selftest::Trial;

const std::vector<Operation>& Operations();

}  // namespace pftest
