#include "selftest/Frames.h"
#include "selftest/OperationTable.h"

namespace selftest {
namespace {

// Asks the trial's progress record, which may answer with any code; the engine knows only one.
struct Stop {
  const PF_ProgressInfo* progress;
  PF_Err answer = PF_Err_NONE;

  PF_Tavros_InterruptFuncs Functions() {
    return {[](void* data) -> std::int32_t {
              auto& stop = *static_cast<Stop*>(data);
              if (stop.progress != nullptr) stop.answer = stop.progress->abort(stop.progress->reference);
              return stop.answer;
            },
            this};
  }
};

// A random texture that moves, with something transparent before it.
void PaintPair(Trial& run, Frame& previous, Frame& next) {
  const auto seed = static_cast<std::uint32_t>(run.random());
  const auto dx = static_cast<double>(Between(run.random, -6, 6)), dy = static_cast<double>(Between(run.random, -4, 4));
  const auto paint = [&](Frame& frame, double time) {
    frame.Paint([&](int x, int y) {
      Colour c = Texture(x - time * dx, y - time * dy, seed);
      const double from_x = x - 20 + time * dx, from_y = y - 15 - time * dy;
      if (seed % 2 == 0 && from_x * from_x + from_y * from_y < 64) c[0] = 0.3;
      return c;
    });
  };
  paint(previous, 0);
  paint(next, 1);
}

void PaintWire(Trial& run, Frame& previous, Frame& next) {
  const auto left = static_cast<double>(Between(run.random, 90, 130));
  previous.Paint([&](int x, int y) { return WireAt(x, y, 0, left, 30, 110); });
  next.Paint([&](int x, int y) { return WireAt(x, y, 1, left, 30, 110); });
}

using Scene = void (*)(Trial& run, Frame& previous, Frame& next);

PF_Err RenderMiddle(Trial& run, int depth, std::int16_t mode, bool warm, Scene scene = &PaintPair, int width = 40,
                    int height = 34) {
  Frame previous(depth, width, height), next(depth, width, height), out(depth, width, height);
  if (previous.world() == nullptr || next.world() == nullptr || out.world() == nullptr) return PF_Err_OUT_OF_MEMORY;
  scene(run, previous, next);
  Stop stop{run.progress};
  PF_AdvancedFrameBlending blending = BlendingAt(0.3f, stop.Functions());
  blending.algoParams.mode = mode;
  blending.algoParams.variant = static_cast<std::int16_t>(run.random() % 4);
  blending.algoParams.steps = static_cast<std::int16_t>(1 + run.random() % 3);
  PF_Err code = blending.Render(previous.world(), next.world(), out.world());
  if (warm && code == PF_Err_NONE) code = blending.Render(previous.world(), next.world(), out.world());
  Around().forget_motion();
  run.results.Add(out);
  return code == PF_Err_CANCELLED ? stop.answer : code;
}

}  // namespace

void AddFrameBlending(OperationTable& table) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At("frame between", depth), depth, depth == 32,
                     [=](Trial& run) { return RenderMiddle(run, depth, 2, false); }});
  }
  table.push_back({"frame between, quick", 16, true, [=](Trial& run) { return RenderMiddle(run, 16, 1, false); }});
  table.push_back({"frame between, a wire", 8, false,
                   [=](Trial& run) { return RenderMiddle(run, 8, 2, false, &PaintWire, 240, 150); }});
  table.push_back({"frame between, twice", 8, false, [=](Trial& run) { return RenderMiddle(run, 8, 2, true); }});
}

}  // namespace selftest
