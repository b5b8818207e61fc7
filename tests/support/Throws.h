// Members that throw.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "PF/PF_Errors.h"
#include "support/TestHost.h"

namespace pftest {

// Expects the call to throw `code` after one report that reads `text` (empty: no report).
inline void ExpectThrows(PF_Err code, const std::string& text, const std::function<void()>& call) {
  Host().reports.clear();
  PF_Err thrown = 0;
  try {
    call();
  } catch (const PF_Error& error) {
    thrown = error.code();
  }
  EXPECT_EQ(thrown, code) << text;
  EXPECT_EQ(Host().ReportTexts(), text.empty() ? "" : text + "\n");
}

}  // namespace pftest
