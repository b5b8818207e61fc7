#include "mask/LockedMask.h"

#include "report/Report.h"
#include "report/Texts.h"

namespace pf {

PF_Err FailDamagedMask(std::int32_t line) {
  const char* text = LookUp(Message::kDamagedMask);
  return FailVerification(text != nullptr ? text : "damaged mask buffer", Site::kMask, line);
}

void CheckMask(const PF_UnoBuffer* mask) {
  if (mask != nullptr && IsSound(*mask)) return;
  const PF_Err code = FailDamagedMask();                          // QUIRK-23: a wrong magic alone stops nothing
  if (mask == nullptr || mask->data == nullptr) ThrowCode(code);  // QUIRK-15
}

LockedMask::LockedMask(const PF_UnoBuffer* mask)
    : handle_(mask->data),
      base_(static_cast<std::byte*>(U_LockHandle(handle_))),
      width_(mask->width),
      height_(mask->height),
      depth_(mask->depth) {}

LockedMask::~LockedMask() { U_UnlockHandle(handle_); }

}  // namespace pf
