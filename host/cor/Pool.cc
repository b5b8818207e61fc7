// Pools of profiles.
#include <cstring>
#include <map>
#include <memory>

#include "cor/Profile.h"

namespace {

struct IdOrder {
  bool operator()(const _t_XCE_ID& a, const _t_XCE_ID& b) const { return std::memcmp(&a, &b, sizeof a) < 0; }
};

}  // namespace

struct COR_XCE_ProfilePool {
  mutable std::mutex mutex;
  std::map<_t_XCE_ID, COR_XCE_ProfileRef, IdOrder> profiles;
};

U_Err COR_NewProfilePool(COR_XCE_ProfilePool** out) {
  if (out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] { *out = new COR_XCE_ProfilePool; });
}

void COR_DisposeProfilePool(COR_XCE_ProfilePool* pool) { delete pool; }

U_Err COR_RegisterProfile(COR_XCE_ProfilePool* pool, const COR_XCE_ProfileRef* profile, _t_XCE_ID* id) {
  if (pool == nullptr || profile == nullptr || id == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] {
    const COR_XCE_ProfileRef filed =
        *profile != nullptr ? *profile
                            : boost::const_pointer_cast<COR_XCE_Profile>(pfhost::OrDefault(nullptr).shared_from_this());
    const std::lock_guard lock(pool->mutex);
    pool->profiles.emplace(filed->id, filed);
    *id = filed->id;
  });
}

U_Err COR_FindProfile(const COR_XCE_ProfilePool* pool, const _t_XCE_ID* id, COR_XCE_ProfileRef* out) {
  if (pool == nullptr || id == nullptr || out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] {
    const std::lock_guard lock(pool->mutex);
    const auto found = pool->profiles.find(*id);
    *out = found != pool->profiles.end() ? found->second : COR_XCE_ProfileRef();
  });
}
