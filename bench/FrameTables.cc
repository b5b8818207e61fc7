// What was measured of in-between frames, a table for each question.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <ostream>

#include "Frames.h"

namespace pfbench {
namespace {

using Cells = std::vector<std::string>;

std::string Format(const char* format, double value) {
  if (std::isnan(value)) return "-";
  char text[32];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string Pair(const Quality& quality) {
  return std::isnan(quality.psnr) ? "-" : Format("%.2f / ", quality.psnr) + Format("%.4f", quality.ssim);
}

// The first row holds the titles; the first column is flush left.
void Print(std::ostream& out, Layout layout, const std::vector<Cells>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Cells& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  const auto print = [&](const Cells& row) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string fill(widths[i] - row[i].size(), ' ');
      out << (layout == Layout::kMarkdown ? "| " : "") << (i == 0 ? row[i] + fill : fill + row[i]) << "  ";
    }
    out << (layout == Layout::kMarkdown ? "|\n" : "\n");
  };
  for (const Cells& row : rows) {
    print(row);
    if (&row != &rows.front() || layout != Layout::kMarkdown) continue;
    for (std::size_t i = 0; i < row.size(); ++i) out << (i == 0 ? "|---" : "|--:");
    out << "|\n";
  }
  out << "\n";
}

std::vector<FrameRow> Rows(const FrameResults& results, bool drawn) {
  std::vector<FrameRow> rows;
  std::ranges::copy_if(results.rows, std::back_inserter(rows), [&](const FrameRow& row) { return row.drawn == drawn; });
  return rows;
}

std::string NameAndSize(const FrameRow& row) {
  return row.name + ", " + std::to_string(row.size.width) + "x" + std::to_string(row.size.height);
}

// The mean of every figure, over rows that have it.
FrameRow MeanRow(const std::vector<FrameRow>& rows) {
  FrameRow mean = rows.front();
  mean.name = "mean";
  const auto average = [&](auto figure) {
    double sum = 0;
    for (const FrameRow& row : rows) sum += figure(row);
    return sum / static_cast<double>(rows.size());
  };
  mean.own.quality = {average([](const FrameRow& row) { return row.own.quality.psnr; }),
                      average([](const FrameRow& row) { return row.own.quality.ssim; })};
  for (std::size_t i = 0; i < mean.peers.size(); ++i) {
    mean.peers[i].quality = {average([i](const FrameRow& row) { return row.peers[i].quality.psnr; }),
                             average([i](const FrameRow& row) { return row.peers[i].quality.ssim; })};
  }
  return mean;
}

Cells QualityCells(const std::string& name, const FrameRow& row) {
  Cells cells = {name, Pair(row.own.quality)};
  for (const FrameQuality& peer : row.peers) cells.push_back(Pair(peer.quality));
  return cells;
}

void PrintQuality(std::ostream& out, Layout layout, const FrameResults& results, const std::vector<FrameRow>& rows) {
  std::vector<Cells> table = {{"PSNR (dB) / SSIM", "ours"}};
  table[0].insert(table[0].end(), results.peers.begin(), results.peers.end());
  for (const FrameRow& row : rows) table.push_back(QualityCells(NameAndSize(row), row));
  table.push_back(QualityCells("mean", MeanRow(rows)));
  Print(out, layout, table);
}

void PrintErrors(std::ostream& out, Layout layout, const FrameResults& results) {
  std::vector<Cells> table = {{"mean error of vectors (pixels)", "ours"}};
  std::vector<std::size_t> shown;
  for (std::size_t i = 0; i < results.peers.size(); ++i) {
    const auto known = [i](const FrameRow& row) { return !std::isnan(row.peers[i].vector_error); };
    if (!std::ranges::any_of(results.rows, known)) continue;
    shown.push_back(i);
    table[0].push_back(results.peers[i]);
  }
  for (const FrameRow& row : results.rows) {
    if (std::isnan(row.own.vector_error)) continue;
    table.push_back({NameAndSize(row), Format("%.3f", row.own.vector_error)});
    for (const std::size_t i : shown) table.back().push_back(Format("%.3f", row.peers[i].vector_error));
  }
  if (table.size() > 1) Print(out, layout, table);
}

void PrintTimes(std::ostream& out, Layout layout, const FrameResults& results, const std::vector<FrameRow>& rows) {
  const bool compared = results.yardstick >= 0;
  const std::string peer = compared ? results.peers[static_cast<std::size_t>(results.yardstick)] : "";
  std::vector<Cells> table = {{"processor time (ms)", "ours, new pair", "further frame", "of the first"}};
  if (compared) table[0].insert(table[0].end(), {peer + " twice", "with its picture", "ours / " + peer + " twice"});
  table[0].insert(table[0].end(), {"wall, 1 thread", "2 threads", "of 1 thread"});
  const auto milliseconds = [](double seconds) { return Format("%.1f", 1e3 * seconds); };
  double further = 0, cost = 0, threads = 0;
  for (const FrameRow& row : rows) {
    const FrameTimes& times = row.times;
    further += times.further / times.first / static_cast<double>(rows.size());
    cost += times.first / times.yardstick / static_cast<double>(rows.size());
    threads += times.wall_two / times.wall_one / static_cast<double>(rows.size());
    Cells cells = {NameAndSize(row), milliseconds(times.first), milliseconds(times.further),
                   Format("%.2f", times.further / times.first)};
    if (compared) {
      cells.insert(cells.end(), {milliseconds(times.yardstick), milliseconds(times.yardstick_made),
                                 Format("%.2fx", times.first / times.yardstick)});
    }
    cells.insert(cells.end(), {milliseconds(times.wall_one), milliseconds(times.wall_two),
                               Format("%.2f", times.wall_two / times.wall_one)});
    table.push_back(std::move(cells));
  }
  Cells mean = {"mean of the ratios", "", "", Format("%.2f", further)};
  if (compared) mean.insert(mean.end(), {"", "", Format("%.2fx", cost)});
  mean.insert(mean.end(), {"", "", Format("%.2f", threads)});
  table.push_back(std::move(mean));
  Print(out, layout, table);
}

nlohmann::json Number(double value) { return std::isfinite(value) ? nlohmann::json(value) : nlohmann::json(); }

nlohmann::json QualityJson(const std::string& name, const FrameQuality& quality) {
  return {{"name", name},
          {"psnr", Number(quality.quality.psnr)},
          {"ssim", Number(quality.quality.ssim)},
          {"vector_error", Number(quality.vector_error)}};
}

nlohmann::json RowJson(const FrameResults& results, const FrameRow& row) {
  nlohmann::json json = {{"name", row.name},
                         {"size", {row.size.width, row.size.height}},
                         {"drawn", row.drawn},
                         {"ways", {QualityJson("ours", row.own)}}};
  for (std::size_t i = 0; i < row.peers.size(); ++i)
    json["ways"].push_back(QualityJson(results.peers[i], row.peers[i]));
  if (row.drawn) return json;
  json["seconds"] = {{"first", row.times.first},
                     {"further", row.times.further},
                     {"yardstick", row.times.yardstick},
                     {"yardstick_with_picture", row.times.yardstick_made},
                     {"wall_one_thread", row.times.wall_one},
                     {"wall_two_threads", row.times.wall_two}};
  return json;
}

const char* Verdict(const Bar& bar) {
  if (bar.aim) return bar.holds ? "aim reached: " : "aim not reached: ";
  return bar.holds ? "pass: " : "MISSED: ";
}

}  // namespace

void PrintFrames(std::ostream& out, Layout layout, const Machine& machine, const FrameResults& results) {
  const char* const end = layout == Layout::kMarkdown ? "  \n" : "\n";
  out << machine.cpu << ", " << machine.processors << " logical processors, " << machine.vector_target << "; "
      << machine.compiler << "; " << machine.date << "; load average " << Format("%.1f", machine.load) << end;
  for (std::size_t i = 0; i < results.peers.size(); ++i) {
    out << results.peers[i] << ": " << results.remarks[i] << end;
  }
  for (const std::string& name : results.missing) out << "left out, not installed: " << name << end;
  out << "\n";
  const std::vector<FrameRow> footage = Rows(results, false), drawn = Rows(results, true);
  if (!footage.empty()) PrintQuality(out, layout, results, footage);
  if (!footage.empty()) PrintTimes(out, layout, results, footage);
  if (!drawn.empty()) PrintQuality(out, layout, results, drawn);
  PrintErrors(out, layout, results);
  for (const Bar& bar : FrameBars(results))
    out << (layout == Layout::kMarkdown ? "- " : "") << Verdict(bar) << bar.text << "\n";
}

void WriteFramesJson(std::ostream& out, const Machine& machine, const FrameResults& results) {
  nlohmann::json json = {{"machine", MachineToJson(machine)},
                         {"missing_peers", results.missing},
                         {"rows", nlohmann::json::array()},
                         {"bars", nlohmann::json::array()}};
  for (std::size_t i = 0; i < results.peers.size(); ++i) {
    json["peers"].push_back({{"name", results.peers[i]}, {"remark", results.remarks[i]}});
  }
  for (const FrameRow& row : results.rows) json["rows"].push_back(RowJson(results, row));
  for (const Bar& bar : FrameBars(results)) {
    json["bars"].push_back({{"text", bar.text}, {"holds", bar.holds}, {"aim", bar.aim}});
  }
  out << json.dump(1) << "\n";
}

}  // namespace pfbench
