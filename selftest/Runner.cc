#include "selftest/Runner.h"

#include <algorithm>
#include <stdexcept>

#include "embedded/PFhost.h"
#include "selftest/Surroundings.h"
#include "selftest/Targets.h"

namespace selftest {
namespace {

constexpr int kSeeds = 12;
constexpr int kLeastSeeds = 2;
constexpr std::uint64_t kCacheBytes = std::uint64_t{512} << 20;

// The library on its host while the object lives.
class Session {
 public:
  explicit Session(const PFhost_Options& options) {
    if (const U_Err code = PFhost_Start(&options)) {
      throw std::runtime_error("the library does not start: code " + std::to_string(code));
    }
  }
  ~Session() { PFhost_Stop(); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
};

const Target* FindTarget(const std::string& name) {
  for (const Target& target : kTargets) {
    if (name == target.name) return &target;
  }
  return nullptr;
}

std::uint32_t FeaturesHere() {
  const Session session(PFhost_Options{1, 0, nullptr, nullptr, nullptr, 0});
  return U_G_CPU_DataP == nullptr ? 0 : U_G_CPU_DataP->features;
}

PFhost_Options OptionsOf(const RunOptions& options) {
  PFhost_Options host = {};
  host.threads = options.threads;
  if (options.target.empty()) return host;
  const Target* target = FindTarget(options.target);
  if (target == nullptr) throw std::invalid_argument("there is no target '" + options.target + "'");
  if ((FeaturesHere() & target->features) != target->features) {
    throw std::invalid_argument("this machine does not run target '" + options.target + "'");
  }
  host.disabled_cpu_features = ~target->features;
  return host;
}

void ForgetMotion() {
  PFhost_SetMediaCacheBudget(0);
  PFhost_SetMediaCacheBudget(kCacheBytes);
}

// Reports of the calling thread; the line of a verification is no behaviour.
void AddReports(Hash& hash) {
  hash.AddValue(PFhost_ReportCount());
  PFhost_Report report = {};
  for (std::int32_t i = 0; PFhost_GetReport(i, &report) == 0; ++i) {
    hash.AddValue(report.identifier);
    hash.AddValue(report.kind);
    hash.AddText(report.text != nullptr ? report.text : "");
  }
}

Hash128 RunSeed(const Operation& operation, int seed, int seeds) {
  const Trial::Sizes sizes = seed == 0 ? Trial::kKnown : seed == seeds - 1 ? Trial::kLarge : Trial::kAny;
  PFhost_ClearReports();
  Trial run(static_cast<std::uint64_t>(seed), sizes);
  const PF_Err code = operation.run(run);
  run.results.AddValue(code);
  AddReports(run.results);
  return run.results.value();
}

Row RunRow(const Operation& operation) {
  Row row = {operation.name, operation.depth, {}, {}};
  const int seeds = std::max(kSeeds / operation.cost, kLeastSeeds);
  Hash over;
  for (int seed = 0; seed < seeds; ++seed) {
    const Hash128 hash = RunSeed(operation, seed, seeds);
    over.AddValue(hash.high);
    over.AddValue(hash.low);
    row.seeds.push_back(static_cast<std::uint32_t>(hash.low));
  }
  row.hash = over.value();
  return row;
}

const Row* FindRow(const Results& results, const Row& like) {
  for (const Row& row : results.rows) {
    if (row.name == like.name && row.depth == like.depth) return &row;
  }
  return nullptr;
}

}  // namespace

std::vector<std::string> TargetsHere() {
  const std::uint32_t features = FeaturesHere();
  std::vector<std::string> names;
  for (const Target& target : kTargets) {
    if ((features & target.features) == target.features) names.push_back(target.name);
  }
  return names;
}

Results Run(const std::vector<Operation>& table, const RunOptions& options,
            const std::function<void(const Row&)>& told) {
  const PFhost_Options host = OptionsOf(options);
  const std::int64_t held_before = PFhost_LiveAllocations();
  Results results;
  {
    const Session session(host);
    Around().forget_motion = &ForgetMotion;
    Hash over;
    for (const Operation& operation : table) {
      const Row row = RunRow(operation);
      over.AddText(row.name);
      over.AddValue(row.depth);
      over.AddValue(row.hash.high);
      over.AddValue(row.hash.low);
      if (told) told(row);
      results.rows.push_back(row);
    }
    results.all = over.value();
    PFhost_ClearReports();
  }
  if (PFp_LiveWorldCount() != 0 || PFp_LiveChunkCount() != 0 || PFhost_LiveAllocations() != held_before) {
    throw std::runtime_error("worlds, chunks or memory are left behind");
  }
  return results;
}

std::string Difference::Text() const {
  return "first difference: operation '" + operation + "', depth " + std::to_string(depth) +
         (seed < 0 ? ", which is not in both tables" : ", seed " + std::to_string(seed));
}

bool FindDifference(const Results& expected, const Results& got, Difference* first) {
  for (std::size_t i = 0; i < std::max(expected.rows.size(), got.rows.size()); ++i) {
    const Row* want = i < expected.rows.size() ? &expected.rows[i] : nullptr;
    const Row* have = i < got.rows.size() ? &got.rows[i] : nullptr;
    const bool alike = want != nullptr && have != nullptr && want->name == have->name && want->depth == have->depth &&
                       want->seeds.size() == have->seeds.size();
    if (!alike) {
      const Row& row = have != nullptr ? *have : *want;
      *first = {row.name, row.depth, -1};
      return true;
    }
    if (want->hash == have->hash) continue;
    const auto [w, h] = std::mismatch(want->seeds.begin(), want->seeds.end(), have->seeds.begin());
    *first = {have->name, have->depth, static_cast<std::int32_t>(h - have->seeds.begin())};
    return true;
  }
  return false;
}

bool AsExpected(const Results& expected, const Row& row) {
  const Row* want = FindRow(expected, row);
  return want != nullptr && want->hash == row.hash;
}

}  // namespace selftest
