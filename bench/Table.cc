#include <algorithm>
#include <cstdio>
#include <ostream>

#include "Report.h"

namespace pfbench {
namespace {

struct Column {
  const char* title;
  int width;  // negative: flush left
};
constexpr Column kColumns[] = {{"operation", -29},    {"depth", -17},  {"size", -10},    {"Mpix/s", 7},
                               {"memcpy", 7},         {"portable", 9}, {"2 threads", 9}, {"all", 6},
                               {"fastest peer", -34}, {"Mpix/s", 7},   {"ours", 7},      {"like for like", -34},
                               {"Mpix/s", 7},         {"ours", 7}};

constexpr const char* kLegend[] = {
    "Mpix/s: output pixels in millions per second, one thread.  size: the larger of source and destination.",
    "memcpy: our time as a multiple of memcpy's for as many bytes read and written (1.00 = as fast as memory).",
    "portable, 2 threads, all: how many times as fast as the portable kernels, and as one thread, on 2 and on all "
    "processors.",
    "ours: how many times as fast as that peer we are.  A peer marked * does less; like for like is the fastest that "
    "does not.",
};

std::string Format(const char* format, double value) {
  char text[32];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string Multiple(double ratio) { return ratio == 0 ? "-" : Format("%.2fx", ratio); }
std::string Speed(double speed) { return Format(speed < 99.95 ? "%.1f" : "%.0f", speed); }

std::string Pad(const std::string& text, int width) {
  const auto wanted = static_cast<std::size_t>(std::abs(width));
  const std::string fill(wanted > text.size() ? wanted - text.size() : 0, ' ');
  return width < 0 ? text + fill : fill + text;
}

std::string Joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += (all.empty() ? "" : ", ") + text;
  return all;
}

std::string MarkedName(const PeerTime& peer) { return peer.less.empty() ? peer.name : peer.name + " *"; }

// Three cells for a peer, which may be absent.
void AppendPeer(const Row& row, const PeerTime* peer, std::vector<std::string>& cells) {
  if (peer == nullptr) {
    cells.insert(cells.end(), {"-", "-", "-"});
    return;
  }
  cells.insert(cells.end(), {MarkedName(*peer), Speed(row.Speed(peer->seconds)), Multiple(peer->seconds / row.own)});
}

const PeerTime* LikeForLike(const Row& row) {
  const auto found = std::ranges::find_if(row.peers, [](const PeerTime& peer) { return peer.less.empty(); });
  return found == row.peers.end() ? nullptr : &*found;
}

}  // namespace

Table::Table(std::ostream& out, Layout layout, bool every_peer) : out_(out), layout_(layout), every_peer_(every_peer) {}

void Table::Begin(const Machine& machine) {
  const char* const end = layout_ == Layout::kMarkdown ? "  \n" : "\n";
  out_ << machine.cpu << ", " << machine.processors << " logical processors, " << machine.vector_target << "; "
       << machine.compiler << "; " << machine.date << "; load average " << Format("%.1f", machine.load) << end;
  out_ << "peers: " << Joined(machine.peers) << end;
  if (!machine.missing.empty()) out_ << "left out, not installed: " << Joined(machine.missing) << end;
  for (const char* line : kLegend) out_ << line << end;
  out_ << "\n";
  std::vector<std::string> titles, rules;
  for (const Column& column : kColumns) {
    titles.emplace_back(column.title);
    rules.emplace_back(column.width < 0 ? "---" : "--:");
  }
  Line(titles);
  if (layout_ == Layout::kMarkdown) Line(rules);
}

void Table::Add(const Row& row) {
  std::vector<std::string> cells = {
      row.measured.operation,
      row.measured.depth,
      std::to_string(row.measured.size.width) + "x" + std::to_string(row.measured.size.height),
      Speed(row.Speed(row.own)),
      Multiple(row.own / row.copy),
      Multiple(row.portable / row.own),
      Multiple(row.two_threads),
      Multiple(row.all_threads)};
  AppendPeer(row, row.peers.empty() ? nullptr : &row.peers.front(), cells);
  AppendPeer(row, LikeForLike(row), cells);
  Line(cells);
  for (const PeerTime& peer : row.peers) {
    Remember(peer);
    if (!every_peer_) continue;
    std::vector<std::string> peer_cells(8);
    AppendPeer(row, &peer, peer_cells);
    Line(peer_cells);
  }
  out_.flush();
}

void Table::End() {
  std::ranges::sort(notes_);
  if (!notes_.empty()) out_ << "\nHow the peers differ:\n";
  for (const std::string& note : notes_) out_ << (layout_ == Layout::kMarkdown ? "- " : "  ") << note << "\n";
}

void Table::Line(const std::vector<std::string>& cells) {
  std::string line = layout_ == Layout::kMarkdown ? "|" : "";
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += layout_ == Layout::kMarkdown ? " " + cells[i] + " |" : Pad(cells[i], kColumns[i].width) + "  ";
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out_ << line << "\n";
}

void Table::Remember(const PeerTime& peer) {
  if (peer.less.empty() && peer.remark.empty()) return;
  const std::string less = peer.less.empty() ? "" : "* " + peer.less;
  const std::string note = peer.name + ": " + less + (less.empty() || peer.remark.empty() ? "" : "; ") + peer.remark;
  if (std::ranges::find(notes_, note) == notes_.end()) notes_.push_back(note);
}

}  // namespace pfbench
