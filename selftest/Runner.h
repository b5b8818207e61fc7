// Runs the table of operations on the embedded host, hashes what comes out, and compares with what is expected.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "selftest/Operations.h"

namespace selftest {

// One operation at one depth.
struct Row {
  std::string name;
  std::int32_t depth = 0;
  Hash128 hash;                      // over all seeds
  std::vector<std::uint32_t> seeds;  // 32 bits of each seed's hash, from seed 0
};
struct Results {
  std::vector<Row> rows;
  Hash128 all;  // over the rows' names, depths and hashes
};

struct Expected {
  std::int32_t version = 0;
  Results results;
};
// What stands in the tree (Expected.inc).
const Expected& ExpectedResults();
// What a text as of ExpectedText tells. Throws std::invalid_argument for any other text.
Expected ReadExpected(const std::string& text);

// How the library is started for a run.
struct RunOptions {
  std::int32_t threads = 0;  // 0: one per processor
  std::string target;        // a name of kTargets; empty: the widest that the machine has
};

// Names of the targets that this machine runs.
std::vector<std::string> TargetsHere();

// Starts the library, runs every operation of the table with every seed, stops it. Throws std::invalid_argument for a
// target that there is not or that this machine does not run, std::runtime_error when the library does not start or
// leaves worlds, chunks or memory behind.
// \param told hears each row when it is done; may be empty.
Results Run(const std::vector<Operation>& table, const RunOptions& options,
            const std::function<void(const Row&)>& told = {});

// The first thing that is not as expected.
struct Difference {
  std::string operation;
  std::int32_t depth = 0;
  std::int32_t seed = -1;  // the first seed that differs; -1: the rows themselves differ
  std::string Text() const;
};
// Whether there is one.
bool FindDifference(const Results& expected, const Results& got, Difference* first);
// Whether a row is as expected.
bool AsExpected(const Results& expected, const Row& row);

// The text of Expected.inc for these results: the version counts up when they are not those of the tree.
std::string ExpectedText(const Results& results);

// The report of a run, line by line.
std::string FirstLine();
std::string LineOf(const Row& row, bool as_expected);
std::string OutsideLine();                                           // what no operation is about
std::string LastLine(const Results& results, std::int32_t version);  // the one line to compare

}  // namespace selftest
