// The front end: checks, the time, the motion from the cache or the engine, and the picture.
#include <cmath>
#include <cstring>

#include "PF/PF_Blend.h"
#include "PF/PF_FrameBlending.h"
#include "PairCache.h"
#include "VectorKey.h"
#include "edge/Guard.h"
#include "host/PLUG.h"
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
  return world != nullptr && world->data != nullptr && world->width > 0 && world->height > 0;
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

void CopyFrame(const PF_World& from, PF_World& to) {
  const std::size_t size = static_cast<std::size_t>(from.width) * from.PixelSize();
  for (std::int64_t y = 0; y < from.height; ++y) {
    std::memmove(static_cast<std::byte*>(to.data) + y * to.row_bytes,
                 static_cast<const std::byte*>(from.data) + y * from.row_bytes, size);
  }
}

// One frame blending call.
struct Request {
  const PF_Tavros_AlgoParams& algo;
  const PF_Tavros_OtherParams& other;
  Interrupt interrupt;
  FramePair frames;
  vexcore::Guid previous, next;

  void CheckServices() const {
    if (PLUG_GetSPBasicSuite() == nullptr) ThrowText(Site::kFrameBlending, kMissingSuite);
  }
  void Identify() {
    previous = FrameIdentity(*frames.previous);
    next = FrameIdentity(*frames.next);
  }
  MotionRef Motion() const { return FindMotion(algo, frames, VectorKey(previous, next, algo), interrupt); }
};

void Draw(Request& request, PF_World& destination) {
  request.CheckServices();
  const float time = WantedTime(request.other);
  request.Identify();
  if (time == 0 || request.previous == request.next) return CopyFrame(*request.frames.previous, destination);
  if (time == 1) return CopyFrame(*request.frames.next, destination);
  request.interrupt.ThrowIfAsked();
  const MotionRef motion = request.algo.mode == 0 ? MotionRef() : request.Motion();
  Synthesize({request.algo, request.frames, motion ? motion->shared().motion() : nullptr, time}, request.interrupt,
             destination);
}

}  // namespace
}  // namespace pf

PF_Err PF_AdvancedFrameBlending::Render(const PF_World* previous, const PF_World* next, PF_World* destination) const {
  if (const PF_Err error = CheckParamRange()) return error;
  const PF_Err error = pf::Guard([&]() -> PF_Err {
    pf::CheckFrames(previous, next);
    pf::CheckFrames(previous, destination);
    pf::Request request = {algoParams, otherParams, pf::Interrupt(&interruptFuncs), {previous, next}, {}, {}};
    pf::Draw(request, *destination);
    return PF_Err_NONE;
  });
  return pf::TellFailure(error, pf::kAllocFailed);
}

PF_Err PF_AdvancedFrameBlending::FindVectors(const PF_World* previous, const PF_World* next,
                                             boost::shared_ptr<PF_TavrosCache_Stuff>* found) const {
  if (const PF_Err error = CheckParamRange()) return error;
  const PF_Err error = pf::Guard([&]() -> PF_Err {
    pf::CheckFrames(previous, next);
    pf::Request request = {algoParams, otherParams, pf::Interrupt(&interruptFuncs), {previous, next}, {}, {}};
    request.CheckServices();
    request.Identify();
    request.interrupt.ThrowIfAsked();
    *found = request.Motion();
    return PF_Err_NONE;
  });
  return pf::TellFailure(error, pf::kAllocFailed);
}

PF_Err calcTavrosOpticalFlowParamsNoIpl(const PF_Tavros_AlgoParams& algo, const PF_Tavros_InterruptFuncs* interrupt,
                                        const PF_Tavros_Images& images) {
  if (const PF_Err error = pf::CheckRange(algo)) return error;
  const PF_Err error = pf::Guard([&]() -> PF_Err {
    pf::CheckFrames(images.previous, images.next);
    if (images.vectors == nullptr || !images.vectors->Empty()) pf::CheckFrames(nullptr, nullptr);
    const pf::Interrupt asked(interrupt);
    asked.ThrowIfAsked();
    images.vectors->shared().Publish(pf::EstimateMotion(algo, {images.previous, images.next}, asked));
    return PF_Err_NONE;
  });
  return pf::TellFailure(error, pf::kEngineMemory);
}
