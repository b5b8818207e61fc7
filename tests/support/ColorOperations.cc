#include <memory>

#include "support/OperationTable.h"
#include "support/TestEngine.h"

namespace pftest {
namespace {

// Throws out of memory as the engine does not: test code's own.
template <class T>
T Need(T object) {
  if (object == nullptr) throw PF_Error(PF_Err_OUT_OF_MEMORY);
  return object;
}

void AddApply(OperationTable& table, int from, int to, bool preserve) {
  const std::string name = At("colour transform", from, to) + (preserve ? " with alpha" : "");
  table.push_back({name, to, true, [=](Trial& run) {
                     Picture source(run, from), out(run, to);
                     TestWorld destination(to, source.width(), source.height(), 16);
                     destination.Fill(run.random, AnyKind(run.random));
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
                       run.results.AddValue(*settings.GetLinearBlendingTables(false));
                       run.results.AddValue(settings.GetRenderGuid());
                       run.results.AddValue(settings.GetCalGrayGamma());
                     });
                   }});
}

}  // namespace

void AddColor(OperationTable& table) {
  AddApply(table, 8, 8, true);
  AddApply(table, 16, 16, true);
  AddApply(table, 32, 32, true);
  AddApply(table, 8, 32, false);
  AddApply(table, 32, 16, false);
  AddTables(table);
}

}  // namespace pftest
