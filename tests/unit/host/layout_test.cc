// Layouts that must be the same on every platform: what crosses the border between modules and has no assertion in its
// header. Compiling is the test.
#include <PF/PF.h>

#include "embedded/PFhost.h"
#include "host/BM.h"
#include "host/MC.h"
#include "host/PLUG.h"
#include "host/U.h"
#include "host/vexcore.h"

static_assert(sizeof(PF_InData) == 192);
static_assert(sizeof(PF_SamplePoint) == 8);
static_assert(sizeof(PF_UnoBuffer) == 32);
static_assert(sizeof(PF_World) == 136);
static_assert(sizeof(PF_WorldX<PF_Pixel8>) == 136);
static_assert(sizeof(PF_WorldX<PF_Pixel16>) == 136);
static_assert(sizeof(PF_WorldX<PF_PixelFloat>) == 136);
static_assert(sizeof(PF_PixelContainerBase) == 8);
static_assert(sizeof(PF_Error) == 16);
static_assert(sizeof(PF_Tavros_InterruptFuncs) == 16);
static_assert(sizeof(PF_MotionVector) == 8);
static_assert(sizeof(PF_TavrosCache_Stuff) == 16);
static_assert(sizeof(PF_Tavros_Images) == 24);
static_assert(sizeof(PF_AdvancedFrameBlending) == 168);
static_assert(sizeof(PF_LazyOperator) == 8);
static_assert(sizeof(PF_LazyWorldCopyOperator) == 248);
static_assert(sizeof(PF_LazyFillUnoBufferOperator) == 24);
static_assert(sizeof(PF_LazyTiles) == 48);
static_assert(sizeof(PF_LazyTilesCondition) == 48);
static_assert(sizeof(PFhost_Options) == 40);
static_assert(sizeof(PFhost_Report) == 24);
static_assert(sizeof(BM_World) == 24);
static_assert(sizeof(MC_Stuff) == 8);
static_assert(sizeof(PLUG_ScanDescriptor) == 8);
static_assert(sizeof(U_CPU_Data) == 8);
static_assert(sizeof(U_ZStringTable) == 16);
static_assert(sizeof(vexcore::MixHash) == 16);
static_assert(sizeof(M_LPoint) == 8);
static_assert(sizeof(COR_XCE_ProfileRef) == 16);
static_assert(offsetof(BM_World, row_bytes) == 8 && offsetof(BM_World, width) == 12);
static_assert(offsetof(BM_World, bits_per_pixel) == 16);
static_assert(offsetof(U_CPU_Data, features) == 4);
static_assert(offsetof(PFhost_Options, plug_in_folder) == 8 && offsetof(PFhost_Options, log_level) == 32);
static_assert(offsetof(PFhost_Report, kind) == 8 && offsetof(PFhost_Report, text) == 16);
