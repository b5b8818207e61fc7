// The ways to show the results.
#pragma once

#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "Suite.h"

namespace pfbench {

// What the figures hang on.
struct Machine {
  std::string cpu;
  unsigned processors;
  std::string vector_target, compiler, date;
  double load;                       // of the last minute: well above 0, somebody else disturbs the figures
  std::vector<std::string> peers;    // name and version of those that are built in
  std::vector<std::string> missing;  // names of those that are not
};
Machine DescribeMachine();

enum class Layout { kConsole, kMarkdown };

// The table, line by line, so that a long run shows what it has. Opened by a description of the machine
// and of the columns, closed by what the peers named in it do differently.
class Table {
 public:
  Table(std::ostream& out, Layout layout, bool every_peer);
  void Begin(const Machine& machine);
  void Add(const Row& row);
  void End();

 private:
  void Line(const std::vector<std::string>& cells);
  void Remember(const PeerTime& peer);

  std::ostream& out_;
  Layout layout_;
  bool every_peer_;
  std::vector<std::string> notes_;
};

nlohmann::json MachineToJson(const Machine& machine);
// Every figure as JSON: seconds per call, speeds and ratios, for each peer too.
void WriteJson(std::ostream& out, const Machine& machine, const std::vector<Row>& rows);

// Gaussian blurs of the first size that was measured, as SVG: cost against radius. Throws std::runtime_error when there
// are none.
void WritePlot(std::ostream& out, const Machine& machine, const std::vector<Row>& rows);

}  // namespace pfbench
