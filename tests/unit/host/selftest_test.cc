// After: a self-test that overlooks a changed bit, code, report or byte of padding, or names the wrong place; one that
// takes NaN's payload for behaviour; a target that is silently another.
#include "selftest/Runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <stdexcept>

#include "selftest/Targets.h"
#include "selftest/Worlds.h"

namespace {

using selftest::Operation;
using selftest::Results;
using selftest::Trial;

// One way in which an operation can change.
enum Change { kNothing, kBit, kCode, kReport, kPadding };

// Three operations; the one in the middle changes with seed 5.
std::vector<Operation> TableWith(Change change) {
  const auto plain = [](Trial& run) {
    run.results.AddValue(run.random());
    return PF_Err{PF_Err_NONE};
  };
  const auto changing = [=](Trial& run) {
    const bool now = run.random() == selftest::Random(5)();
    selftest::TestWorld world(16, 5, 3, 8);
    world.Fill(run.random, selftest::TestWorld::kRandom);
    if (now && change == kBit) world.At<PF_Pixel16>(4, 2).green ^= 1;
    if (now && change == kPadding) *(world.Row(1) - 3) = std::byte{0};
    if (now && change == kReport) Up_ReportErrString(0x250001, 8, "something else");
    run.results.Add(world);
    return now && change == kCode ? PF_Err{516} : PF_Err{PF_Err_NONE};
  };
  return {{"before", 8, false, plain}, {"changing", 16, false, changing}, {"after", 0, false, plain}};
}

TEST(SelfTest, NamesOperationDepthAndSeedOfWhateverChanges) {
  const Results known = selftest::Run(TableWith(kNothing), {1, ""});
  selftest::Difference first;
  ASSERT_FALSE(selftest::FindDifference(known, selftest::Run(TableWith(kNothing), {1, "portable"}), &first));
  for (const Change change : {kBit, kCode, kReport, kPadding}) {
    SCOPED_TRACE(change);
    const Results got = selftest::Run(TableWith(change), {1, ""});
    ASSERT_TRUE(selftest::FindDifference(known, got, &first));
    EXPECT_EQ(first.Text(), "first difference: operation 'changing', depth 16, seed 5");
    EXPECT_FALSE(got.all == known.all);
    EXPECT_TRUE(selftest::AsExpected(known, got.rows[0]));
    EXPECT_FALSE(selftest::AsExpected(known, got.rows[1]));
    EXPECT_TRUE(selftest::AsExpected(known, got.rows[2]));
  }
  Results shorter = known;
  shorter.rows.erase(shorter.rows.begin() + 1);
  ASSERT_TRUE(selftest::FindDifference(known, shorter, &first));
  EXPECT_EQ(first.seed, -1);
}

TEST(SelfTest, WritesWhatItReads) {
  Results results = selftest::Run(TableWith(kNothing), {1, ""});
  const selftest::Expected read = selftest::ReadExpected(selftest::ExpectedText(results));
  EXPECT_EQ(read.version, selftest::ExpectedResults().version + 1);
  EXPECT_EQ(read.results.all, results.all);
  selftest::Difference first;
  EXPECT_FALSE(selftest::FindDifference(read.results, results, &first)) << first.Text();
  results.rows[2].hash.low ^= 1;
  results.rows[2].seeds[7] ^= 0x80000000u;
  ASSERT_TRUE(selftest::FindDifference(read.results, results, &first));
  EXPECT_EQ(first.seed, 7);
  for (const char* bad : {"", "VERSION(1, \"12\")\n", "ROW(\"a\", 8)\n", "hello\n"}) {
    EXPECT_THROW(selftest::ReadExpected(bad), std::invalid_argument) << bad;
  }
}

TEST(SelfTest, EveryNanIsOneAndZerosAreTwo) {
  const auto hash_of = [](std::uint32_t bits) {
    selftest::Hash one, many;
    one.AddValue(std::bit_cast<float>(bits));
    const float v[2] = {1, std::bit_cast<float>(bits)};
    many.AddFloats(v, 2);
    return std::pair(one.value(), many.value());
  };
  EXPECT_EQ(hash_of(0x7FC00000), hash_of(0xFFC00001));
  EXPECT_EQ(hash_of(0x7FC00000), hash_of(0x7F800001));
  EXPECT_NE(hash_of(0x7FC00000), hash_of(0x7F800000));
  EXPECT_NE(hash_of(0x00000000), hash_of(0x80000000));
}

TEST(SelfTest, StartsTheTargetThatIsAskedForOrRefuses) {
  std::uint32_t features = 99;
  const std::vector<Operation> table = {{"features", 0, false, [&](Trial&) {
                                           features = U_G_CPU_DataP->features;
                                           return PF_Err{PF_Err_NONE};
                                         }}};
  const std::vector<std::string> here = selftest::TargetsHere();
  ASSERT_EQ(here.front(), "portable");
  for (const selftest::Target& target : selftest::kTargets) {
    const bool runs = std::find(here.begin(), here.end(), target.name) != here.end();
    if (runs) {
      selftest::Run(table, {1, target.name});
      EXPECT_EQ(features, target.features) << target.name;
    } else {
      EXPECT_THROW(selftest::Run(table, {1, target.name}), std::invalid_argument) << target.name;
    }
  }
  EXPECT_THROW(selftest::Run(table, {1, "none"}), std::invalid_argument);
}

TEST(SelfTest, MemoryThatStaysBehindFailsTheRun) {
  void* kept = nullptr;
  const std::vector<Operation> table = {{"leak", 0, false, [&](Trial&) {
                                           if (kept == nullptr) kept = U_AllocatePtr(100, "leak");
                                           return PF_Err{PF_Err_NONE};
                                         }}};
  EXPECT_THROW(selftest::Run(table, {1, ""}), std::runtime_error);
  U_FreePtr(kept);
}

}  // namespace
