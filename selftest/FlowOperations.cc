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

// Known where sizes are; else anything in range, also the ends of the time.
PF_AdvancedFrameBlending AnyBlending(Trial& run, std::int16_t mode, const PF_Tavros_InterruptFuncs& interrupt) {
  const auto any = [&](std::int32_t low, std::int32_t high) { return Between32(run.random, low, high); };
  const auto small = [&](std::int32_t low, std::int32_t high) { return static_cast<std::int16_t>(any(low, high)); };
  const float time = run.known() ? 0.3f : static_cast<float>(any(0, 16)) / 16;
  PF_AdvancedFrameBlending blending = BlendingAt(time, interrupt);
  PF_Tavros_AlgoParams& algo = blending.algoParams;
  algo.mode = mode;
  algo.variant = small(0, 3);
  algo.steps = small(1, 3);
  if (run.known()) return blending;
  algo.fraction = static_cast<float>(any(4, 64)) / 64;
  algo.boundA = static_cast<float>(any(-1000, 1000));
  algo.boundB = static_cast<float>(any(-1000, 1000));
  algo.count = small(1, 8);
  algo.threshold = static_cast<float>(any(0, 100)) / 1000;
  algo.switchFlag = small(0, 1);
  algo.size = small(4, 24);
  algo.degrees = static_cast<float>(any(0, 360));
  return blending;
}

struct Pair {
  Pair(Trial& run, int depth, int width, int height, Scene scene)
      : previous(depth, width, height), next(depth, width, height), out(depth, width, height) {
    if (Whole()) scene(run, previous, next);
  }
  bool Whole() const { return previous.world() != nullptr && next.world() != nullptr && out.world() != nullptr; }
  Frame previous, next, out;
};

Pair SmallPair(Trial& run, int depth) {
  const int width = run.known() ? 40 : Between32(run.random, 1, 90);
  const int height = run.known() ? 34 : Between32(run.random, 1, 70);
  return {run, depth, width, height, &PaintPair};
}

PF_Err RenderBetween(Trial& run, Pair pair, std::int16_t mode, bool warm) {
  if (!pair.Whole()) return PF_Err_OUT_OF_MEMORY;
  Stop stop{run.progress};
  const PF_AdvancedFrameBlending blending = AnyBlending(run, mode, stop.Functions());
  run.results.AddValue(blending.CheckParamRange());
  const auto render = [&] { return blending.Render(pair.previous.world(), pair.next.world(), pair.out.world()); };
  PF_Err code = render();
  if (warm && code == PF_Err_NONE) code = render();
  Around().forget_motion();
  run.results.Add(pair.out);
  return code == PF_Err_CANCELLED ? stop.answer : code;
}

void AddMotion(Hash& hash, const PF_TavrosCache_Stuff& motion) {
  hash.AddValue(motion.Empty());
  hash.AddValue(motion.Width());
  hash.AddValue(motion.Height());
  for (const auto direction : {PF_MotionDirection_FORWARD, PF_MotionDirection_BACKWARD}) {
    for (std::int32_t y = 0; y < motion.Height(); ++y) {
      for (std::int32_t x = 0; x < motion.Width(); ++x) {
        const PF_MotionVector v = motion.Vector(direction, x, y);
        hash.AddValue(v.x);
        hash.AddValue(v.y);
      }
    }
  }
}

PF_Err FindMotion(Trial& run, int depth) {
  const Pair pair = SmallPair(run, depth);
  if (!pair.Whole()) return PF_Err_OUT_OF_MEMORY;
  Stop stop{run.progress};
  const PF_AdvancedFrameBlending blending = AnyBlending(run, 2, stop.Functions());
  boost::shared_ptr<PF_TavrosCache_Stuff> found;
  PF_Err code = blending.FindVectors(pair.previous.world(), pair.next.world(), &found);
  Around().forget_motion();
  if (code != PF_Err_NONE) return code;
  AddMotion(run.results, *found);
  PF_TavrosCache_Stuff own;
  code =
      calcTavrosOpticalFlowParamsNoIpl(blending.algoParams, nullptr, {pair.previous.world(), pair.next.world(), &own});
  AddMotion(run.results, own);
  return code;
}

// Parameters as users give them, in range and out of it.
PF_Err CheckParameters(Trial& run) {
  for (int i = 0; i < 40; ++i) {
    const auto any = [&](std::int32_t low, std::int32_t high) { return Between32(run.random, low, high); };
    const auto small = [&](std::int32_t low, std::int32_t high) { return static_cast<std::int16_t>(any(low, high)); };
    PF_Tavros_AlgoParams algo = {};
    algo.mode = small(-1, 3);
    algo.fraction = static_cast<float>(any(0, 105));
    algo.count = small(0, 51);
    algo.threshold = static_cast<float>(any(-1, 11));
    algo.switchFlag = small(0, 1);
    algo.size = small(3, 41);
    algo.weightR = any(20, 40);
    algo.weightG = any(40, 70);
    algo.weightB = any(5, 20);
    algo.degrees = 180;
    algo.steps = small(1, 20);
    const PF_AdvancedFrameBlending blending(algo, {}, {});
    run.results.AddValue(blending.CheckParamRange());
    PF_CRC32 crc;
    blending.algoParams.ComputeCRC(crc);
    run.results.AddValue(crc.checksum());
  }
  return PF_Err_NONE;
}

}  // namespace

void AddFrameBlending(OperationTable& table) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At("frame between", depth), depth, depth == 32,
                     [=](Trial& run) { return RenderBetween(run, SmallPair(run, depth), 2, false); }, false, 2});
    table.push_back({At("frame between, quick", depth), depth, depth == 16,
                     [=](Trial& run) { return RenderBetween(run, SmallPair(run, depth), 1, false); }, false, 2});
    table.push_back({At("frame between, cross-fade", depth), depth, false,
                     [=](Trial& run) { return RenderBetween(run, SmallPair(run, depth), 0, false); }, false, 2});
    table.push_back(
        {At("motion of a pair", depth), depth, false, [=](Trial& run) { return FindMotion(run, depth); }, false, 2});
  }
  table.push_back({"frame between, a wire", 8, false,
                   [](Trial& run) { return RenderBetween(run, Pair(run, 8, 240, 150, &PaintWire), 2, false); }, false,
                   6});
  table.push_back({"frame between, twice", 8, false,
                   [](Trial& run) { return RenderBetween(run, SmallPair(run, 8), 2, true); }, false, 2});
  table.push_back({"frame blending parameters", 0, false, &CheckParameters});
}

}  // namespace selftest
