#include <nlohmann/json.hpp>
#include <ostream>

#include "Report.h"

namespace pfbench {
namespace {

using nlohmann::json;

json Pair(Size size) { return {size.width, size.height}; }

// null for what was not measured.
json Ratio(double ratio) { return ratio == 0 ? json() : json(ratio); }

json PeerToJson(const Row& row, const PeerTime& peer) {
  return {{"name", peer.name},
          {"does_less", peer.less},
          {"remark", peer.remark},
          {"seconds", peer.seconds},
          {"megapixels_per_second", row.Speed(peer.seconds)},
          {"ours_times_as_fast", peer.seconds / row.own}};
}

json RowToJson(const Row& row) {
  json result = {{"operation", row.measured.operation},
                 {"depth", row.measured.depth},
                 {"source", Pair(row.measured.src_size)},
                 {"destination", Pair(row.measured.dst_size)},
                 {"seconds", row.own},
                 {"megapixels_per_second", row.Speed(row.own)},
                 {"times_memcpy", row.own / row.copy},
                 {"times_as_fast_as_portable", Ratio(row.portable / row.own)},
                 {"times_as_fast_on_2_threads", Ratio(row.two_threads)},
                 {"times_as_fast_on_all_threads", Ratio(row.all_threads)},
                 {"peers", json::array()}};
  for (const PeerTime& peer : row.peers) result["peers"].push_back(PeerToJson(row, peer));
  return result;
}

}  // namespace

json MachineToJson(const Machine& machine) {
  return {{"cpu", machine.cpu},
          {"processors", machine.processors},
          {"vector_target", machine.vector_target},
          {"compiler", machine.compiler},
          {"date", machine.date},
          {"load_average", machine.load}};
}

void WriteJson(std::ostream& out, const Machine& machine, const std::vector<Row>& rows) {
  json result = {{"machine", MachineToJson(machine)},
                 {"peers", machine.peers},
                 {"missing_peers", machine.missing},
                 {"rows", json::array()}};
  for (const Row& row : rows) result["rows"].push_back(RowToJson(row));
  out << result.dump(1) << "\n";
}

}  // namespace pfbench
