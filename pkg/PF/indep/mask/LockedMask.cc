#include "mask/LockedMask.h"

#include "report/Report.h"
#include "report/Texts.h"

namespace pf {

void CheckMask(const PF_UnoBuffer* mask) {
  if (mask != nullptr && mask->magic == PF_UnoBuffer_MAGIC && mask->data != nullptr) return;
  const char* text = LookUp(Message::kDamagedMask);
  const PF_Err code = FailVerification(text != nullptr ? text : "damaged mask buffer", Site::kMask);
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
