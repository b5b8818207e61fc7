// pixman: premultiplied pixels of 8 bits and float.
#include <pixman.h>

#include <memory>
#include <stdexcept>

#include "Bands.h"
#include "PF/PF_TransferModes.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

struct Mode {
  std::int32_t mode;
  pixman_op_t op;
};
constexpr Mode kModes[] = {{PF_Xfer_Over, PIXMAN_OP_OVER},
                           {PF_Xfer_Multiply, PIXMAN_OP_MULTIPLY},
                           {PF_Xfer_Screen, PIXMAN_OP_SCREEN},
                           {PF_Xfer_HardLight, PIXMAN_OP_HARD_LIGHT},
                           {PF_Xfer_Hsl13, PIXMAN_OP_HSL_HUE},
                           {PF_Xfer_Hsl14, PIXMAN_OP_HSL_SATURATION},
                           {PF_Xfer_Hsl15, PIXMAN_OP_HSL_COLOR},
                           {PF_Xfer_Hsl16, PIXMAN_OP_HSL_LUMINOSITY},
                           {PF_Xfer_PremulOntoPremul, PIXMAN_OP_OVER}};

using Image = std::unique_ptr<pixman_image_t, int (*)(pixman_image_t*)>;

Image Band(const Picture& picture, std::int32_t y, std::int32_t rows, pixman_format_code_t format) {
  return {pixman_image_create_bits(format, picture.width(), rows, picture.row<std::uint32_t>(y), picture.row_bytes()),
          &pixman_image_unref};
}

void AddPixman(const Task& task, std::vector<Contender>& contenders) {
  if (task.work != Work::kTransfer || task.laying.linear || task.src.depth() == 16) return;
  for (const Mode& known : kModes) {
    if (known.mode != task.laying.mode) continue;
    const bool premultiplied = known.mode == PF_Xfer_PremulOntoPremul;
    struct Pictures {
      std::shared_ptr<Picture> src, base, dst;
    };
    Pictures p = {AlphaLast(task.src, false), AlphaLast(*task.src.second, false),
                  std::make_shared<Picture>(task.dst.size(), task.dst.depth())};
    const auto format = task.src.depth() == 8 ? PIXMAN_a8r8g8b8 : PIXMAN_rgba_float;
    contenders.push_back(
        {"pixman", premultiplied ? "" : "is given premultiplied pixels", "", [p, format, op = known.op] {
           ForBands(*p.base, *p.dst, [&](std::int32_t y, std::int32_t rows) {
             const Image src = Band(*p.src, y, rows, format), dst = Band(*p.dst, y, rows, format);
             pixman_image_composite32(op, src.get(), nullptr, dst.get(), 0, 0, 0, 0, 0, 0, p.dst->width(), rows);
           });
         }});
  }
}

const PeerRegistration kRegistration({"pixman", pixman_version_string(), &AddPixman});

}  // namespace
}  // namespace pfbench
