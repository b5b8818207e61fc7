// After times that drift, rates that are read as others, and frames too many or too few at the end.
#include <gtest/gtest.h>

#include "failure.h"
#include "retime/timeline.h"

namespace {

using pftool::Fraction;
using pftool::Moment;
using pftool::ParseTimeline;

TEST(Timelines, CountExactly) {
  struct Row {
    const char *fps, *speed;
    Fraction step;
  };
  const Row rows[] = {{"24:60", "", {2, 5}},
                      {"24000/1001:25", "", {960, 1001}},
                      {"23.976:25", "", {2997, 3125}},
                      {"", "0.5", {1, 2}},
                      {"", "1/3", {1, 3}},
                      {"25:50", "3", {3, 2}},
                      {"60000/1001:24000/1001", "", {5, 2}}};
  for (const Row& row : rows) {
    EXPECT_EQ(ParseTimeline(row.fps, row.speed, "", false).step, row.step) << row.fps << row.speed;
  }
  // A day of frames later the same number of source frames has passed, to the last digit.
  const auto timeline = ParseTimeline("24000/1001:60", "", "", false);
  EXPECT_EQ(timeline.step, (Fraction{400, 1001}));
  const Moment late = timeline.Of(1001 * 5000);
  EXPECT_EQ(late.frame, 400 * 5000);
  EXPECT_EQ(late.rest.numerator, 0);
  EXPECT_EQ(timeline.Of(1001 * 5000 + 1).rest, (Fraction{400, 1001}));
}

TEST(Timelines, EndWhereTheSourceEnds) {
  struct Row {
    const char *fps, *speed, *at;
    bool hold;
    std::int64_t sources, count;
  };
  const Row rows[] = {
      {"24:60", "", "", false, 24, 58}, {"24:60", "", "", true, 24, 60},  {"60:24", "", "", true, 60, 24},
      {"60:24", "", "", false, 60, 24}, {"", "2", "", false, 5, 3},       {"", "2", "", false, 6, 3},
      {"", "0.5", "", false, 2, 3},     {"", "0.5", "", true, 2, 4},      {"", "", "0.25", false, 5, 4},
      {"", "100", "", false, 2, 1},     {"30:29.97", "", "", true, 2, 2}, {"1:3", "", "", true, 1000, 3000}};
  for (const Row& row : rows) {
    const auto timeline = ParseTimeline(row.fps, row.speed, row.at, row.hold);
    EXPECT_EQ(timeline.Count(row.sources), row.count) << row.fps << row.speed << row.at;
    const Moment last = timeline.Of(row.count - 1), beyond = timeline.Of(row.count);
    EXPECT_LE(last.frame, row.sources - 1);
    // The next frame would lie behind the last source frame, or behind the time that it is held.
    const std::int64_t needed = row.hold || beyond.rest.numerator == 0 ? beyond.frame : beyond.frame + 1;
    EXPECT_GE(row.at[0] ? beyond.frame + 1 : needed, row.sources) << row.fps << row.speed;
  }
}

TEST(Timelines, RefuseWhatIsNoTime) {
  struct Row {
    const char *fps, *speed, *at;
    bool hold;
    const char* why;
  };
  const Row rows[] = {{"", "", "", false, "no times"},
                      {"24", "", "", false, "no colon"},
                      {"24:", "", "", false, "is empty"},
                      {"24:0", "", "", false, "not above 0"},
                      {"24/0:25", "", "", false, "divides by 0"},
                      {"24:x", "", "", false, "'x' at position 1"},
                      {"24:60:1", "", "", false, "':' at position 3"},
                      {"", "-1", "", false, "'-' at position 1"},
                      {"", "0", "", false, "not above 0"},
                      {"", "NaN", "", false, "'N' at position 1"},
                      {"", "1e-3", "", false, "'e' at position 2"},
                      {"", "99999999999999999999", "", false, "too many digits"},
                      {"", "0.0000000001", "", false, "nine decimals"},
                      {"1999999999:1999999998", "0.333333333", "", false, "2000000000"},
                      {"", "", "1.0001", false, "above 1"},
                      {"", "", "nan", false, "'n' at position 1"},
                      {"", "", ".", false, "ends too early"},
                      {"", "2", "0.5", false, "--speed"},
                      {"", "", "0.5", true, "--hold-last"}};
  for (const Row& row : rows) {
    try {
      ParseTimeline(row.fps, row.speed, row.at, row.hold);
      ADD_FAILURE() << row.fps << row.speed << row.at;
    } catch (const pftool::Failure& failure) {
      EXPECT_EQ(failure.code(), pftool::ExitCode::kUsage);
      EXPECT_NE(std::string(failure.what()).find(row.why), std::string::npos) << failure.what();
    }
  }
}

}  // namespace
