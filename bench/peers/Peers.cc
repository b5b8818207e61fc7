#include "peers/Peers.h"

#include <algorithm>

namespace pfbench {

std::vector<Peer>& Peers() {
  static std::vector<Peer> peers;
  return peers;
}

void AddPeers(const Task& task, std::vector<Contender>& contenders) {
  for (const Peer& peer : Peers()) peer.add(task, contenders);
}

std::shared_ptr<Picture> AlphaLast(const Picture& picture, bool stretch) {
  auto moved = std::make_shared<Picture>(picture.size(), picture.depth());
  WithChannel(picture.depth(), [&](auto zero) {
    using Channel = decltype(zero);
    for (std::int32_t y = 0; y < picture.height(); ++y) {
      const auto* in = picture.row<Channel>(y);
      auto* out = moved->template row<Channel>(y);
      std::copy_n(in, 4 * picture.width(), out);
      for (std::int32_t i = 0; i < 4 * picture.width(); i += 4) std::rotate(out + i, out + i + 1, out + i + 4);
      if (!stretch || picture.depth() != 16) continue;
      for (std::int32_t i = 0; i < 4 * picture.width(); ++i) {
        out[i] = static_cast<Channel>(static_cast<double>(out[i]) * (65535.0 / 32768.0));
      }
    }
  });
  return moved;
}

}  // namespace pfbench
