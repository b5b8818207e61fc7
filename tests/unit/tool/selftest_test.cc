// After: a self-test that says yes whatever happens, or says where in a way that programs cannot read.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "Support.h"
#include "selftest/Runner.h"

namespace {

using pftest::Folder;
using pftest::RunPf;

TEST(ToolSelftest, TellsTheFirstDifferenceAndItsExitCode) {
  const Folder folder;
  const auto good = RunPf(folder, {"selftest", "--threads", "2"});
  EXPECT_EQ(good.status, 0) << good.err;
  const std::string last = selftest::LastLine(selftest::ExpectedResults().results, selftest::ExpectedResults().version);
  ASSERT_GE(good.out.size(), last.size());
  EXPECT_EQ(good.out.substr(good.out.size() - last.size()), last);

  selftest::Results changed = selftest::ExpectedResults().results;
  selftest::Row& row = changed.rows[100];
  row.hash.high ^= 1;
  row.seeds[3] ^= 1;
  std::ofstream(folder / "other.txt") << selftest::ExpectedText(changed);
  const auto bad = RunPf(folder, {"selftest", "--expected", "other.txt", "--target", "portable", "--json"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_NE(bad.err.find("'" + row.name + "', depth " + std::to_string(row.depth) + ", seed 3"), std::string::npos)
      << bad.err;
  const auto told = nlohmann::json::parse(bad.out);
  EXPECT_EQ(told["as_expected"], false);
  EXPECT_EQ(told["first_difference"]["operation"], row.name);
  EXPECT_EQ(told["first_difference"]["depth"], row.depth);
  EXPECT_EQ(told["first_difference"]["seed"], 3);
  ASSERT_EQ(told["operations"].size(), changed.rows.size());
  for (std::size_t i = 0; i < changed.rows.size(); ++i) EXPECT_EQ(told["operations"][i]["as_expected"], i != 100) << i;
}

TEST(ToolSelftest, RefusesWhatItCannotRun) {
  const Folder folder;
  std::ofstream(folder / "no.txt") << "nothing of the kind\n";
  EXPECT_EQ(RunPf(folder, {"selftest", "--target", "mmx"}).status, 64);
  EXPECT_EQ(RunPf(folder, {"selftest", "--expected", "none.txt"}).status, 66);
  EXPECT_EQ(RunPf(folder, {"selftest", "--expected", "no.txt"}).status, 65);
}

}  // namespace
