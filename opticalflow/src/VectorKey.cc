#include "VectorKey.h"

#include <cstddef>

#include "Fields.h"
#include "report/TracedHash.h"

namespace pf {

vexcore::Guid FrameIdentity(const PF_World& frame) {
  const std::int32_t shape[] = {frame.Depth(), frame.width, frame.height};
  vexcore::MixHash hash("", 0);
  hash.Mix(shape, sizeof shape);
  const std::size_t used = static_cast<std::size_t>(frame.width) * frame.PixelSize();
  for (std::int64_t y = 0; y < frame.height; ++y) {
    hash.Mix(static_cast<const std::byte*>(frame.data) + y * frame.row_bytes, used);
  }
  return hash.Result();
}

vexcore::Guid VectorKey(const vexcore::Guid& previous, const vexcore::Guid& next, const PF_Tavros_AlgoParams& algo) {
  TracedHash hash("Tavros Vectors");
  hash.MixValue("previous", previous);
  hash.MixValue("next", next);
  ForFields(algo, [&](const char* name, const auto& field) { hash.MixValue(name, field); });
  return hash.Result();
}

}  // namespace pf
