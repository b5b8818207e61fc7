// The smallest host: memory from malloc, reports on stderr, one thread, no modules, no vectors. Each
// service does just enough to keep its contract.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/ALOG.h"
#include "host/BM.h"
#include "host/COR.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/MC.h"
#include "host/PLUG.h"
#include "host/PREF.h"
#include "host/RND.h"
#include "host/STR.h"
#include "host/U.h"
#include "host/VXFX.h"
#include "host/vexcore.h"
#include "minimal_host.h"

int live_blocks = 0;

namespace {

void* Take(std::uint64_t size) {
  void* block = std::malloc(size == 0 ? 1 : static_cast<std::size_t>(size));
  live_blocks += block != nullptr;
  return block;
}

void Give(void* block) {
  live_blocks -= block != nullptr;
  std::free(block);
}

struct Handle {
  void* address;
  std::uint64_t size;
};

struct Bitmap {
  BM_World* self;
  BM_World world;
};

char logging_buffer[U_LOGGING_BUFFER_SIZE];

U_Err Tell(const char* text) {
  std::fprintf(stderr, "minimal host: %s\n", text);
  return 3;
}

}  // namespace

struct PLUG_BasicSuite {
} basic_suite;

struct LIST_Body {
  void* items[16];
  std::int32_t count;
};

extern "C" {

U_Err U_CheckVersions(std::uint32_t, std::int32_t) { return 0; }
U_Err STR_CheckVersions(std::uint32_t, std::int32_t) { return 0; }
U_Err BM_CheckVersions(std::uint32_t, std::int32_t) { return 0; }
U_Err M_CheckVersions(std::uint32_t, std::int32_t) { return 0; }
U_Err FILE_CheckVersions(std::uint32_t, std::int32_t) { return 0; }
U_Err LIST_CheckVersions(std::uint32_t, std::int32_t) { return 0; }
U_Err VXFX_CheckVersions(std::uint32_t, std::int32_t) { return 0; }
U_Err PLUG_CheckVersions(std::uint32_t, std::int32_t) { return 0; }

void* U_AllocatePtr(std::uint64_t size, const char*) { return Take(size); }
void U_FreePtr(void* block) { Give(block); }

U_Handle U_AllocateHandle(std::uint64_t size, const char*) {
  auto* handle = static_cast<Handle*>(Take(sizeof(Handle)));
  if (handle == nullptr) return nullptr;
  *handle = {Take(size), size};
  if (handle->address != nullptr) return &handle->address;
  Give(handle);
  return nullptr;
}
U_Handle U_AllocateHandleClear(std::uint64_t size, const char* what) {
  U_Handle handle = U_AllocateHandle(size, what);
  if (handle != nullptr) std::memset(*handle, 0, static_cast<std::size_t>(size));
  return handle;
}
std::uint64_t U_GetHandleSize(U_Handle handle) { return reinterpret_cast<Handle*>(handle)->size; }
void* U_LockHandle(U_Handle handle) { return *handle; }
void U_UnlockHandle(U_Handle) {}
void U_FreeHandle(U_Handle handle) {
  if (handle == nullptr) return;
  Give(*handle);
  Give(handle);
}

U_Err U_ReportFailedVerification(std::uint32_t, std::int32_t, std::int32_t, const char* text) { return Tell(text); }
U_Err Up_ReportErrString(std::uint32_t, std::int32_t, const char* text) { return Tell(text); }
U_Err Up_ReportError(std::uint32_t, std::int32_t) { return Tell(logging_buffer); }
void Up_SetThreadLastError(U_Err) {}
char* Up_GetThreadLoggingBuffer() { return logging_buffer; }
void U_StartQuietErrorsOnCurrentThread() {}
U_Err U_EndQuietErrorsOnCurrentThread() { return 0; }

const char* U_ZLookup(const char* keyed_text) {
  const char* equals = std::strchr(keyed_text, '=');
  return equals != nullptr ? equals + 1 : nullptr;
}
const char* U_ZLookupLStrCache(U_ZRef table, std::int32_t number, std::int32_t, std::int32_t) {
  return number >= 0 && number < table->count ? U_ZLookup(table->keyed_texts[number]) : nullptr;
}
void U_SubString(const char* text, const char*, const char*, char* out, std::uint64_t out_size) {
  std::snprintf(out, static_cast<std::size_t>(out_size), "%s", text);
}

std::int32_t U_GetNumThreads() { return 1; }
std::uint32_t U_LongSwap(std::uint32_t v) { return v >> 24 | (v >> 8 & 0xFF00) | (v << 8 & 0xFF0000) | v << 24; }
HOST_EXPORT const U_CPU_Data* U_G_CPU_DataP = nullptr;

U_Err BM_NewWorld(std::int32_t width, std::int32_t height, std::int32_t bits, std::int32_t, BM_World*** out) {
  *out = nullptr;
  auto* bitmap = static_cast<Bitmap*>(Take(sizeof(Bitmap)));
  if (bitmap == nullptr) return 4;
  const std::int32_t row_bytes = width * (bits / 8);
  void* pixels = Take(static_cast<std::uint64_t>(row_bytes) * static_cast<std::uint64_t>(height));
  *bitmap = {&bitmap->world,
             {pixels, row_bytes, static_cast<std::int16_t>(width), static_cast<std::int16_t>(height),
              static_cast<std::int16_t>(bits)}};
  *out = &bitmap->self;
  return pixels != nullptr ? 0 : 4;
}
U_Err BM_LoadLockPixels(BM_World**) { return 0; }
void BM_UnlockPixels(BM_World**) {}
void BM_DisposeWorld(BM_World** world) {
  Give((*world)->pixels);
  Give(world);
}
void* BMp_GetPixBaseAddr(BM_World** world) { return (*world)->pixels; }
std::int32_t BM_GetChannelOrder(BM_World**) { return BM_CHANNELS_ARGB; }
void* BM_AllocateFrameQuiet(std::uint64_t size) { return Take(size); }
void BM_FreeFrame(void* frame, std::uint64_t) { Give(frame); }
void BM_ReportWorldAllocationFailure(U_Err, std::int32_t, std::int32_t, std::int32_t, std::int32_t) {}

U_Err M_PrepareFCMD(std::int32_t, void** state) {
  *state = nullptr;
  return 0;
}
U_Err M_UnprepareFCMD(void*) { return 0; }
std::int32_t M_IntersectLRect(const M_LRect* a, const M_LRect* b, M_LRect* out) {
  const M_LRect r = {a->left > b->left ? a->left : b->left, a->top > b->top ? a->top : b->top,
                     a->right < b->right ? a->right : b->right, a->bottom < b->bottom ? a->bottom : b->bottom};
  const bool any = r.left < r.right && r.top < r.bottom;
  *out = any ? r : M_LRect{0, 0, 0, 0};
  return any;
}
void M_UnionLRect(const M_LRect* a, const M_LRect* b, M_LRect* out) {
  *out = {a->left < b->left ? a->left : b->left, a->top < b->top ? a->top : b->top,
          a->right > b->right ? a->right : b->right, a->bottom > b->bottom ? a->bottom : b->bottom};
}

LIST_List LIST_New() {
  auto* list = static_cast<LIST_Body*>(Take(sizeof(LIST_Body)));
  if (list != nullptr) list->count = 0;
  return list;
}
void LIST_Dispose(LIST_List list) { Give(list); }
U_Err LIST_Append(LIST_List list, void* item) {
  if (list->count == 16) return 4;
  list->items[list->count++] = item;
  return 0;
}
std::int32_t LIST_Count(LIST_List list) { return list->count; }
void* LIST_Get(LIST_List list, std::int32_t i) { return i >= 0 && i < list->count ? list->items[i] : nullptr; }
U_Err LIST_Lock(LIST_List) { return 0; }
U_Err LIST_Unlock(LIST_List) { return 0; }

U_Err PLUG_InstallScan(std::int32_t, std::int32_t, const PLUG_ScanDescriptor*, PLUG_LoadHandler, PLUG_UnloadHandler,
                       void*) {
  return 0;
}
U_Err PLUG_PrepRoutine(PLUG_RoutineRef, PLUG_EntryFunc*) { return 3; }
U_Err PLUG_UnprepRoutine(PLUG_RoutineRef) { return 0; }
U_Err PLUG_RegisterRoutine(PLUG_RoutineRef) { return 0; }
U_Err PLUG_UnregisterRoutine(PLUG_RoutineRef) { return 0; }
const PLUG_BasicSuite* PLUG_GetSPBasicSuite() { return &basic_suite; }

std::int32_t PREF_GetBool(const char*, const char*, std::int32_t value) { return value; }
std::int64_t PREF_GetInteger(const char*, const char*, std::int64_t value) { return value; }
void ALOG_Log(const char*, const char*, const char*) {}
U_Err RND_GetPrimeSizedTable(const std::uint32_t** table, std::int64_t* length) {
  static constexpr std::uint32_t kTable[] = {2, 3, 5, 7, 11};
  *table = kTable;
  *length = 5;
  return 0;
}

// A host without a colour engine says so at every call.
U_Err COR_GetStandardProfile(XCE_ProfileCode, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_GetDefaultWorkingProfile(COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_GetDisplayProfile(const void*, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_GetSystemDisplayProfile(COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_LinearizeProfile(const COR_XCE_Profile*, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_DescribeProfile(const COR_XCE_Profile*, COR_XCE_ProfileInfo*) { return XCE_ERR_ABSENT; }
U_Err COR_NewProfilePool(COR_XCE_ProfilePool**) { return XCE_ERR_ABSENT; }
void COR_DisposeProfilePool(COR_XCE_ProfilePool*) {}
U_Err COR_RegisterProfile(COR_XCE_ProfilePool*, const COR_XCE_ProfileRef*, _t_XCE_ID*) { return XCE_ERR_ABSENT; }
U_Err COR_FindProfile(const COR_XCE_ProfilePool*, const _t_XCE_ID*, COR_XCE_ProfileRef*) { return XCE_ERR_ABSENT; }
U_Err COR_NewTransform(const COR_XCE_Profile*, const COR_XCE_Profile*, const COR_XCE_TransformOptions*,
                       COR_XCE_Transform*) {
  return XCE_ERR_ABSENT;
}
void COR_ReleaseTransform(COR_XCE_Transform) {}
U_Err COR_ApplyTransform(COR_XCE_Transform, XCE_Layout, const void*, XCE_Layout, void*, std::uint64_t) {
  return XCE_ERR_ABSENT;
}
U_Err XCE_Error(U_Err status) { return status; }
}

// A media cache that keeps nothing.
MC_Stuff::~MC_Stuff() = default;
U_Err MC_Find(const vexcore::Guid&, MC_StuffRef* found) {
  found->reset();
  return 0;
}
U_Err MC_File(const vexcore::Guid&, const MC_StuffRef& item, MC_StuffRef* filed) {
  *filed = item;
  return 0;
}
void MC_Changed(const vexcore::Guid&, const MC_Stuff*) {}
void MC_Remove(const vexcore::Guid&, const MC_Stuff*) {}

namespace vexcore {

void ExecuteCPUBoundTaskOnAllProcessorsWithProcessorIndex(const boost::function<void(std::int32_t)>& task) { task(0); }
std::uint64_t CurrentThreadIdentity() noexcept { return 1; }
void DebugTrace(const char*) noexcept {}
bool DebugTraceEnabled(const char*, std::int32_t) noexcept { return false; }
MixHash::MixHash(const void* seed, std::size_t size) noexcept : state_{} { Mix(seed, size); }
void MixHash::Mix(const void* bytes, std::size_t size) noexcept {
  std::uint64_t halves[2];
  std::memcpy(halves, &state_, sizeof halves);
  const auto mix = [&](std::uint64_t value) {
    halves[0] = (halves[0] ^ value) * 0x100000001B3u + halves[1];
    halves[1] = (halves[1] + value + 1) * 0x9E3779B97F4A7C15u ^ halves[0] >> 31;
  };
  for (std::size_t i = 0; i < size; ++i) mix(static_cast<const std::uint8_t*>(bytes)[i]);
  mix(size);
  std::memcpy(&state_, halves, sizeof halves);
}
void* AllocateSmallBlock(std::size_t size) noexcept { return Take(size); }
void FreeSmallBlock(void* block, std::size_t) noexcept { Give(block); }

}  // namespace vexcore
