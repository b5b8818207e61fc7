#include <memory>

#include "selftest/OperationTable.h"
#include "support/Operations.h"
#include "support/TestEngine.h"
#include "support/TestHost.h"

namespace pftest {
namespace {

using selftest::At;
using selftest::OperationTable;
using selftest::Picture;

// Throws out of memory as the engine does not: test code's own.
template <class T>
T Need(T object) {
  if (object == nullptr) throw PF_Error(PF_Err_OUT_OF_MEMORY);
  return object;
}

void AddApply(OperationTable& table, int from, int to, bool preserve) {
  const std::string name = At("colour transform", from, to) + (preserve ? " with alpha" : "");
  table.push_back({name, to, true, [=](Trial& run) {
                     Picture source(run, from);
                     Picture destination(run, to, source.width(), source.height());
                     return CodeOf([&] {
                       const std::unique_ptr<PF_World> in(Need(PF_World::NewReference(source.record())));
                       const std::unique_ptr<PF_World> result(Need(PF_World::NewReference(destination.record())));
                       const TestTransform transform(PF_GetLinearizeTransform({}, {}, true));
                       const PF_Err code =
                           PF_XCEApplyTransform(transform.transform, in.get(), result.get(), preserve, run.progress);
                       if (code != PF_Err_NONE) throw PF_Error(code);
                       run.results.Add(destination);
                     });
                   }});
}

void AddTables(OperationTable& table) {
  table.push_back({"linear tables", 0, false, [](Trial& run) {
                     return CodeOf([&] {
                       const TestPool pool;
                       PF_ColorSettings settings(Need(pool.pool));
                       settings.SetProfile(Need(NewPowerProfile(static_cast<double>(Between(run.random, 1, 40)) / 10)));
                       settings.SetLinearBlending(true);
                       const auto tables = settings.GetLinearBlendingTables(false);
                       run.results.AddBytes(tables->toLinear8, sizeof tables->toLinear8);
                       run.results.AddBytes(tables->fromLinear16, sizeof tables->fromLinear16);
                       run.results.AddValue(tables->gamma);
                       run.results.AddValue(tables->inverseGamma);
                       const vexcore::Guid guid = settings.GetRenderGuid();
                       run.results.AddBytes(&guid, sizeof guid);
                       run.results.AddValue(settings.GetCalGrayGamma());
                     });
                   }});
}

OperationTable Build() {
  selftest::Around().forget_motion = [] { Host().filed.clear(); };
  OperationTable table = selftest::Operations();
  AddApply(table, 8, 8, true);
  AddApply(table, 16, 16, true);
  AddApply(table, 32, 32, true);
  AddApply(table, 8, 32, false);
  AddApply(table, 32, 16, false);
  AddTables(table);
  return table;
}

}  // namespace

const std::vector<Operation>& Operations() {
  static const OperationTable table = Build();
  return table;
}

}  // namespace pftest
