#include "report/Texts.h"

#include "PF/PF_Lifecycle.h"
#include "host/U.h"

namespace pf {
namespace {

constexpr const char* kKeyedTexts[] = {
    "$$$/VX/PF/LStr/0000=invalid callback selector",
    "$$$/VX/PF/LStr/0001=invalid parameter",
    "$$$/VX/PF/LStr/0002=effects modules should only dispose worlds they have allocated",
    "$$$/VX/PF/LStr/0003=image plane buffer",
    "$$$/VX/PF/LStr/0004=bad parameter passed to effect callback",
    "$$$/VX/PF/LStr/0005=problem opening plug-in acceleration module.",
    "$$$/VX/PF/LStr/0006=unimplemented blending mode.",
    "$$$/VX/PF/LStr/0007=noise table.",
    "$$$/VX/PF/LStr/0008=Unable to guess alpha channel.",
    "$$$/VX/PF/LStr/0009=Obsolete routine",
    "$$$/VX/PF/LStr/0010=memory for blurring",
    "$$$/VX/PF/LStr/0011=memory for mask buffer",
    "$$$/VX/PF/LStr/0012=damaged mask buffer",
    "$$$/VX/PF/LStr/0013=can#{rsquo}t unlock PF Mask Buffer",
    "$$$/VX/PF/LStr/0014=gaussian weight array",
    "$$$/VX/PF/LStr/0015=blending scratch buffer",
    "$$$/VX/PF/LStr/0016=can#{rsquo}t copy different channel worlds",
    "$$$/VX/PF/LStr/0017=out of memory for channel chunk",
    "$$$/VX/PF/LStr/0018=image buffer",
    "$$$/VX/PF/LStr/0019=effect plug-in passed invalid world to get_platform_refs",
};
static_assert(sizeof(kKeyedTexts) / sizeof(kKeyedTexts[0]) == kMessageCount);

constexpr U_ZStringTable kTable = {kMessageCount, kKeyedTexts};

}  // namespace

const char* LookUp(Message message) { return U_ZLookupLStrCache(PF_G_zref, static_cast<std::int32_t>(message), 0, 0); }

}  // namespace pf

const U_ZRef PF_G_zref = &pf::kTable;
