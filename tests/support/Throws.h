// Members that throw.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "PF/PF_Errors.h"
#include "support/TestHost.h"

namespace pftest {

// The code that the call throws, or 0.
inline PF_Err ThrownCode(const std::function<void()>& call) {
  try {
    call();
  } catch (const PF_Error& error) {
    return error.code();
  }
  return 0;
}

// Expects the call to throw `code` after one report that reads `text` (empty: no report).
inline void ExpectThrows(PF_Err code, const std::string& text, const std::function<void()>& call) {
  Host().reports.clear();
  EXPECT_EQ(ThrownCode(call), code) << text;
  EXPECT_EQ(Host().ReportTexts(), text.empty() ? "" : text + "\n");
}

}  // namespace pftest
