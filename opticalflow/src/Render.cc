// The front end: checks, the time, the motion from the cache or the engine, and the picture.
#include <cmath>
#include <cstring>
#include <functional>

#include "PF/PF_Blend.h"
#include "PF/PF_FrameBlending.h"
#include "PairCache.h"
#include "VectorKey.h"
#include "edge/Guard.h"
#include "host/PLUG.h"
#include "pixel/Depth.h"
#include "report/Report.h"
#include "synthesis/Synthesis.h"

namespace pf {
namespace {

constexpr char kAllocFailed[] = "$$$/VX/PIN/Tavros/AllocFailed=Frame Blending - Failed to allocate memory.";
constexpr char kMiscFailure[] = "$$$/VX/PIN/Tavros/MiscFailure=Frame Blending - Non-specific error.";
constexpr char kEngineMemory[] = "Out of memory in Tavros optical flow library.";
constexpr char kMissingSuite[] = "Missing suite in Tavros-related code.";

void Tell(const char* keyed_text) {
  const char* text = U_ZLookup(keyed_text);
  ReportText(Site::kFrameBlending, text != nullptr ? text : keyed_text);
}

// What the caller learns of a failure, and whether the user has to be told of it.
PF_Err TellFailure(PF_Err error, const char* memory_text) {
  switch (error) {
    case PF_Err_NONE:
    case PF_Err_REPORTED:
    case PF_Err_BAD_BLEND_PARAMETER:
    case PF_Err_BAD_PARAMETER:
    case PF_Err_CANCELLED:
      return error;
    case PF_Err_OUT_OF_MEMORY:
      Tell(memory_text);
      return error;
    default:
      Tell(kMiscFailure);
      return PF_Err_REPORTED;
  }
}

bool HasPixels(const PF_World* world) {
  constexpr std::int32_t kMost = 30000;
  return world != nullptr && world->data != nullptr && world->width > 0 && world->height > 0 && world->width <= kMost &&
         world->height <= kMost && DepthIndex(world->Depth()) >= 0;
}
bool Alike(const PF_World& a, const PF_World& b) {
  return a.width == b.width && a.height == b.height && a.Depth() == b.Depth();
}

void CheckFrames(const PF_World* previous, const PF_World* next) {
  if (HasPixels(previous) && HasPixels(next) && Alike(*previous, *next)) return;
  ReportCaller(Site::kFrameBlending, Message::kBadCallbackParameter);
  ThrowCode(PF_Err_BAD_PARAMETER);
}

float WantedTime(const PF_Tavros_OtherParams& other) {
  const float time = other.numbers[0];
  return other.flag == 0 || !std::isfinite(time) ? 0.5f : std::min(std::max(time, 0.0f), 1.0f);
}

// The destination may lie across the frame.
void CopyFrame(const PF_World& from, PF_World& to) {
  const std::size_t size = static_cast<std::size_t>(from.width) * from.PixelSize();
  const bool upwards = std::less<const void*>()(from.data, to.data);
  for (std::int64_t i = 0; i < from.height; ++i) {
    const std::int64_t y = upwards ? from.height - 1 - i : i;
    std::memmove(static_cast<std::byte*>(to.data) + y * to.row_bytes,
                 static_cast<const std::byte*>(from.data) + y * from.row_bytes, size);
  }
}

bool SamePixels(const PF_World& a, const PF_World& b) {
  const std::size_t size = static_cast<std::size_t>(a.width) * a.PixelSize();
  for (std::int64_t y = 0; y < a.height; ++y) {
    if (std::memcmp(static_cast<const std::byte*>(a.data) + y * a.row_bytes,
                    static_cast<const std::byte*>(b.data) + y * b.row_bytes, size) != 0) {
      return false;
    }
  }
  return true;
}

void CheckServices() {
  if (PLUG_GetSPBasicSuite() == nullptr) ThrowText(Site::kFrameBlending, kMissingSuite);
}

// One call for a pair of frames.
class Job {
 public:
  Job(const PF_Tavros_AlgoParams& algo, const PF_Tavros_InterruptFuncs* interrupt, const FramePair& frames)
      : algo_(algo), interrupt_(interrupt), frames_(frames) {
    CheckFrames(frames.previous, frames.next);
    CheckServices();
  }

  void Render(float time, PF_World& destination) {
    if (time == 0) return CopyFrame(*frames_.previous, destination);
    if (time == 1) return CopyFrame(*frames_.next, destination);
    const Identities ids = Identify();
    if (ids.previous == ids.next && SamePixels(*frames_.previous, *frames_.next)) {
      return CopyFrame(*frames_.previous, destination);
    }
    interrupt_.ThrowIfAsked();
    if (algo_.mode == 0) return CrossFade(time, destination);
    const PairPictures pictures = Prepare();
    const MotionRequest request = {algo_, frames_, pictures, workspace_, interrupt_};
    FoundMotion found(request, VectorKey(ids.previous, ids.next, algo_));
    Synthesize(request, found.motion(), time, destination);
    found.Keep();
  }

  MotionRef FindVectors() {
    const Identities ids = Identify();
    interrupt_.ThrowIfAsked();
    const PairPictures pictures = Prepare();
    FoundMotion found({algo_, frames_, pictures, workspace_, interrupt_}, VectorKey(ids.previous, ids.next, algo_));
    found.Keep();
    return found.item();
  }

  void Fill(PF_TavrosCache_Stuff& vectors) {
    interrupt_.ThrowIfAsked();
    const PairPictures pictures = Prepare();
    if (!FillMotion({algo_, frames_, pictures, workspace_, interrupt_}, vectors)) CheckFrames(nullptr, nullptr);
  }

 private:
  struct Identities {
    vexcore::Guid previous, next;
  };

  Identities Identify() const {
    Identities ids;
    ForTasks(Interrupt(nullptr), 2, [&](std::int32_t i) {
      (i == 0 ? ids.previous : ids.next) = FrameIdentity(i == 0 ? *frames_.previous : *frames_.next);
    });
    return ids;
  }
  PairPictures Prepare() { return PreparePictures(algo_, *frames_.previous, *frames_.next, workspace_, interrupt_); }

  void CrossFade(float time, PF_World& destination) const {
    PF_LayerDef previous, next, out;
    frames_.previous->FillOutEffectWorld(&previous);
    frames_.next->FillOutEffectWorld(&next);
    destination.FillOutEffectWorld(&out);
    const auto ratio = static_cast<std::int32_t>(time * 65536 + 0.5f);
    if (const PF_Err error = PF_Blend_Straight(nullptr, &previous, &next, ratio, &out)) ThrowCode(error);
  }

  const PF_Tavros_AlgoParams& algo_;
  const Interrupt interrupt_;
  const FramePair frames_;
  Workspace workspace_;
};

}  // namespace
}  // namespace pf

PF_Err PF_AdvancedFrameBlending::Render(const PF_World* previous, const PF_World* next, PF_World* destination) const {
  if (const PF_Err error = CheckParamRange()) return error;
  const PF_Err error = pf::Guard([&]() -> PF_Err {
    pf::CheckFrames(previous, destination);
    pf::Job(algoParams, &interruptFuncs, {previous, next}).Render(pf::WantedTime(otherParams), *destination);
    return PF_Err_NONE;
  });
  return pf::TellFailure(error, pf::kAllocFailed);
}

PF_Err PF_AdvancedFrameBlending::FindVectors(const PF_World* previous, const PF_World* next,
                                             boost::shared_ptr<PF_TavrosCache_Stuff>* found) const {
  if (const PF_Err error = CheckParamRange()) return error;
  const PF_Err error = pf::Guard([&]() -> PF_Err {
    if (found == nullptr) pf::CheckFrames(nullptr, nullptr);
    *found = pf::Job(algoParams, &interruptFuncs, {previous, next}).FindVectors();
    return PF_Err_NONE;
  });
  return pf::TellFailure(error, pf::kAllocFailed);
}

PF_Err calcTavrosOpticalFlowParamsNoIpl(const PF_Tavros_AlgoParams& algo, const PF_Tavros_InterruptFuncs* interrupt,
                                        const PF_Tavros_Images& images) {
  if (const PF_Err error = pf::CheckRange(algo)) return error;
  const PF_Err error = pf::Guard([&]() -> PF_Err {
    if (images.vectors == nullptr || !images.vectors->Empty()) pf::CheckFrames(nullptr, nullptr);
    pf::Job(algo, interrupt, {images.previous, images.next}).Fill(*images.vectors);
    return PF_Err_NONE;
  });
  return pf::TellFailure(error, pf::kEngineMemory);
}
