#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <thread>

#include "Host.h"
#include "Report.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

constexpr std::array kKnownPeers = {"Little CMS", "OpenCV", "Qt", "libvips", "libyuv", "pixman", "zimg"};

std::string CpuName() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    const std::size_t colon = line.find(": ");
    if (line.starts_with("model name") && colon != std::string::npos) return line.substr(colon + 2);
  }
  return "unknown CPU";
}

std::string Today() {
  const std::time_t now = std::time(nullptr);
  char text[32] = "";
  std::strftime(text, sizeof text, "%Y-%m-%d", std::localtime(&now));
  return text;
}

double Load() {
  double load = 0;
  getloadavg(&load, 1);
  return load;
}

std::string Compiler() {
#if defined(__clang__)
  return "clang " __clang_version__;
#else
  return "g++ " __VERSION__;
#endif
}

}  // namespace

Machine DescribeMachine() {
  Machine machine = {CpuName(), std::thread::hardware_concurrency(), VectorTarget(), Compiler(), Today(), Load(), {},
                     {}};
  std::ranges::sort(Peers(), {}, &Peer::name);
  for (const char* name : kKnownPeers) {
    const auto found = std::ranges::find(Peers(), name, &Peer::name);
    if (found == Peers().end()) {
      machine.missing.emplace_back(name);
    } else {
      machine.peers.push_back(found->name + " " + found->version);
    }
  }
  return machine;
}

}  // namespace pfbench
