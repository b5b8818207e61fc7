#include "selftest/OperationTable.h"

namespace selftest {

void AddLazyTiles(OperationTable& table) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At("lazy tiles of a copy", depth), depth, false, [=](Trial& run) {
                       Picture in(run, depth), out(run, depth);
                       const PF_Err code = CodeOf([&] {
                         const PF_LazyWorldCopyOperator first(out.record(), out.record());
                         PF_LazyWorldCopyOperator second(first);
                         second.SetSourceWorld(in.record());
                         auto* const copy = new PF_LazyWorldCopyOperator(out.record(), out.record());
                         boost::scoped_ptr<PF_LazyOperator> op(copy);
                         *copy = second;
                         run.results.AddValue(copy->GetExtent().h);
                         run.results.AddValue(copy->GetExtent().v);
                         PF_LazyTiles tiles(static_cast<std::int16_t>(Between(run.random, 1, 50)), &op);
                         tiles.SetOffset({-3, 2});
                         tiles.MakeValid({10, 5, 70, 20});
                         tiles.MakeValid({0, 0, 140, 40});
                       });
                       run.results.Add(out);
                       return code;
                     }});
  }
  table.push_back({"lazy tiles of a fill", 0, false, [](Trial& run) {
                     PF_LazyFillUnoBufferOperator* fill = nullptr;
                     return CodeOf([&] {
                       boost::scoped_ptr<PF_UnoBuffer> mask(new PF_UnoBuffer(50, 40, 16));
                       boost::scoped_ptr<PF_LazyOperator> op(fill = new PF_LazyFillUnoBufferOperator(&mask, 777));
                       PF_LazyTilesCondition tiles(static_cast<std::int16_t>(Between(run.random, 1, 30)), &op, true);
                       tiles.ConditionalMakeValid({3, 7, 22, 31});
                       run.results.AddBytes(*fill->GetBuffer()->data, 50 * 40 * 2);
                     });
                   }});
}

}  // namespace selftest
