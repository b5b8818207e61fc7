// Life and death of masks.
#include <cstring>
#include <limits>

#include "PF/PF_Masks.h"
#include "edge/Guard.h"
#include "mask/LockedMask.h"
#include "report/Report.h"
#include "report/Texts.h"

namespace pf {
namespace {

// Bytes of so many values. What cannot be had is asked for all the same: the host then refuses, and tells.
std::uint64_t SizeOf(std::int64_t width, std::int64_t height, std::int64_t value_bytes) {
  constexpr std::int64_t kTooMuch = std::numeric_limits<std::int64_t>::max();
  if (width < 0 || height < 0) return kTooMuch;
  const std::int64_t values = width * height;
  return static_cast<std::uint64_t>(value_bytes != 0 && values > kTooMuch / value_bytes ? kTooMuch
                                                                                        : values * value_bytes);
}

U_Handle AllocateValues(std::int32_t width, std::int32_t height, std::int32_t depth) {
  return U_AllocateHandleClear(SizeOf(width, height, ValueBytes(depth)), LookUp(Message::kMaskMemory));
}

PF_Err NewMask(std::int32_t width, std::int32_t height, std::int32_t depth, PF_UnoBuffer** out) {
  if (out == nullptr) return FailDamagedMask();  // QUIRK-15
  *out = nullptr;
  auto* mask = static_cast<PF_UnoBuffer*>(U_AllocatePtr(sizeof(PF_UnoBuffer), LookUp(Message::kMaskMemory)));
  if (mask == nullptr) return PF_Err_OUT_OF_MEMORY;
  std::memset(static_cast<void*>(mask), 0, sizeof(*mask));
  mask->data = AllocateValues(width, height, depth);
  if (mask->data == nullptr) {
    U_FreePtr(mask);
    return PF_Err_OUT_OF_MEMORY;
  }
  mask->magic = PF_UnoBuffer_MAGIC;
  mask->width = width;
  mask->height = height;
  mask->depth = depth;
  *out = mask;
  return PF_Err_NONE;
}

}  // namespace
}  // namespace pf

PF_UnoBuffer::PF_UnoBuffer(std::int32_t columns, std::int32_t rows, std::int32_t bits)
    : magic(PF_UnoBuffer_MAGIC),
      width(columns),
      height(rows),
      data(pf::AllocateValues(columns, rows, bits)),
      depth(bits) {
  if (data == nullptr) pf::ThrowOutOfMemory();
}

PF_UnoBuffer::~PF_UnoBuffer() {
  if (magic != PF_UnoBuffer_MAGIC) pf::FailDamagedMask();
  U_FreeHandle(data);
  // Volatile: the compiler may drop stores to an object that is about to end.
  const_cast<volatile U_Handle&>(data) = nullptr;
}

PF_Err PF_NewUnoBuffer(std::int32_t width, std::int32_t height, PF_UnoBuffer** out) {
  return pf::Guard([&] { return pf::NewMask(width, height, 8, out); });
}

PF_Err PF_NewDeepUnoBuffer(std::int32_t width, std::int32_t height, PF_UnoBuffer** out) {
  return pf::Guard([&] { return pf::NewMask(width, height, 16, out); });
}

PF_Err PF_DisposeUnoBuffer(PF_UnoBuffer* mask) {
  return pf::Guard([&]() -> PF_Err {
    if (mask == nullptr) return pf::FailDamagedMask();
    if (!pf::IsSound(*mask)) pf::FailDamagedMask();
    U_FreeHandle(mask->data);
    U_FreePtr(mask);
    return PF_Err_NONE;
  });
}
