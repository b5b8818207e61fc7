// Other libraries that do the same work. Each adapter registers itself, so the benchmark is built with
// whatever adapters the machine has libraries for.
//
// Rules for adapters: what a call of the library would find ready (pictures, graphs, plans) is made before
// the clock runs; what it does itself (allocating its result, say) counts. Wherever a peer does less than
// our operation, `less` says what. Failures throw std::runtime_error.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Suite.h"

namespace pfbench {

struct Peer {
  std::string name;
  std::string version;
  AddContenders add;
};

// The peers that are built in, by name.
std::vector<Peer>& Peers();

struct PeerRegistration {
  explicit PeerRegistration(Peer peer) { Peers().push_back(std::move(peer)); }
};

// The contenders of all peers.
void AddPeers(const Task& task, std::vector<Contender>& contenders);

// \name Words for Contender::less
// @{
inline constexpr const char* kNoAlphaWeights = "does not weight colour by alpha";
// @}

// What a peer leaves out that treats all channels alike: nothing where alpha is full or multiplied in.
inline std::string LessForAlikeChannels(const Task& task) {
  return task.work == Work::kStraight && !task.opaque ? kNoAlphaWeights : "";
}

// A picture with alpha behind the colours, as most libraries want it; integers of 16 bits are stretched
// to a full value of 65535 when `stretch` is true.
std::shared_ptr<Picture> AlphaLast(const Picture& picture, bool stretch);

}  // namespace pfbench
