// Times the library against memory, its own portable code and other libraries.
#include <malloc.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <fstream>
#include <iostream>

#include "Frames.h"
#include "Host.h"
#include "Report.h"
#include "Suite.h"

namespace pfbench {
namespace {

constexpr int kUsage = 64, kInternal = 70;  // exit codes
constexpr Pace kUsualPace = {5, 0.030, 0.25};
constexpr Pace kQuickPace = {3, 0.015, 0.06};
constexpr Pace kFramesPace = {7, 0.030, 8}, kQuickFramesPace = {2, 0.015, 0.06};

struct Options {
  std::vector<std::string> filters, sizes;
  std::string json, plot, save;
  bool quick = false, list = false, markdown = false, every_peer = false, frames = false;

  Layout layout() const { return markdown ? Layout::kMarkdown : Layout::kConsole; }
};

Size ParseSize(const std::string& text) {
  Size size = {};
  const char* const end = text.data() + text.size();
  const auto width = std::from_chars(text.data(), end, size.width);
  if (width.ptr == end || *width.ptr != 'x' || std::from_chars(width.ptr + 1, end, size.height).ptr != end ||
      std::min(size.width, size.height) < 16 || std::max(size.width, size.height) > PF_MAX_WORLD_SIZE) {
    throw CLI::ValidationError("--sizes", "'" + text + "' is not a size like 1920x1080 of 16 to 30000 pixels a side");
  }
  return size;
}

std::vector<Case> WantedCases(const Options& options) {
  std::vector<Case> cases;
  for (const auto add :
       {&AddConvertCases, &AddDraftCases, &AddEnlargeCases, &AddReduceCases, &AddIterateCases, &AddMaskCases,
        &AddMaskScanCases, &AddBlurCases, &AddBlendCases, &AddAlphaCases, &AddTransferCases, &AddColorCases}) {
    for (const std::string& size : options.sizes) add(ParseSize(size), cases);
  }
  std::erase_if(cases, [&](const Case& one) {
    const auto matches = [&](const std::string& text) { return one.Name().find(text) != std::string::npos; };
    return !options.filters.empty() && std::ranges::none_of(options.filters, matches);
  });
  return cases;
}

// Keeps freed memory: a peer that allocates its result on every call then gets warm pages, as it would in
// a program that goes on running.
void KeepFreedMemory() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, -1);
}

// Not open where no file is wanted.
std::ofstream Opened(const std::string& path) {
  std::ofstream file;
  if (!path.empty()) {
    file.open(path);
    if (!file) throw std::runtime_error("cannot write " + path);
  }
  return file;
}

void Run(const Options& options, const std::vector<Case>& cases) {
  std::ofstream json = Opened(options.json), plot = Opened(options.plot);
  KeepFreedMemory();
  UseThreads(1);
  const Machine machine = DescribeMachine();
  Table table(std::cout, options.layout(), options.every_peer);
  table.Begin(machine);
  std::vector<Row> rows;
  for (const Case& one : cases) {
    rows.push_back(RunCase(one, options.quick ? kQuickPace : kUsualPace));
    table.Add(rows.back());
  }
  table.End();
  StopHost();
  if (json.is_open()) WriteJson(json, machine, rows);
  if (plot.is_open()) WritePlot(plot, machine, rows);
  if (!json.flush()) throw std::runtime_error("cannot write " + options.json);
  if (!plot.flush()) throw std::runtime_error("cannot write " + options.plot);
}

void RunFrames(const Options& options) {
  std::ofstream json = Opened(options.json);
  KeepFreedMemory();
  UseThreads(1);
  const Machine machine = DescribeMachine();
  const FrameOptions wanted = {options.filters, options.save, options.quick ? kQuickFramesPace : kFramesPace};
  const FrameResults results = MeasureFrames(wanted, std::cerr);
  PrintFrames(std::cout, options.layout(), machine, results);
  if (json.is_open()) WriteFramesJson(json, machine, results);
  if (!json.flush()) throw std::runtime_error("cannot write " + options.json);
}

int Main(int argc, char** argv) {
  Options options;
  CLI::App app("Times the library against memcpy, its own portable code and other libraries, one thread each.");
  app.add_option("--filter", options.filters, "only lines that contain TEXT; several mean any of them")
      ->type_name("TEXT");
  app.add_option("--sizes", options.sizes, "sizes of the larger picture, by default 1920x1080,3840x2160")
      ->delimiter(',')
      ->type_name("WxH");
  app.add_flag("--quick", options.quick, "one size and short measurements: rough figures within a minute");
  app.add_flag("--every-peer", options.every_peer, "show all peers, not just the fastest");
  app.add_flag("--list", options.list, "name the lines and stop");
  app.add_flag("--markdown", options.markdown, "print the table as Markdown");
  app.add_option("--json", options.json, "write all figures to FILE too")->type_name("FILE");
  app.add_option("--plot", options.plot, "draw the cost of Gaussian blurs against their radius into FILE (SVG)")
      ->type_name("FILE");
  CLI::Option* const frames = app.add_flag(
      "--frames", options.frames, "measure in-between frames instead, quality and speed; pictures from PF_TEST_DATA");
  app.add_option("--save", options.save, "write our frames, the true ones and four times the difference into DIR")
      ->type_name("DIR")
      ->needs(frames);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kUsage;
  }
  if (options.sizes.empty()) {
    options.sizes = {"1920x1080"};
    if (!options.quick) options.sizes.emplace_back("3840x2160");
  }

  try {
    if (options.frames) {
      RunFrames(options);
      return 0;
    }
    const std::vector<Case> cases = WantedCases(options);
    if (cases.empty()) throw CLI::ValidationError("--filter", "nothing contains that text; --list names the lines");
    if (options.list) {
      for (const Case& one : cases) std::cout << one.Name() << "\n";
      return 0;
    }
    Run(options, cases);
    return 0;
  } catch (const CLI::Error& error) {
    app.exit(error);
    return kUsage;
  } catch (const std::exception& error) {
    std::cerr << "bench: " << error.what() << "\n";
    return kInternal;
  }
}

}  // namespace
}  // namespace pfbench

int main(int argc, char** argv) { return pfbench::Main(argc, argv); }
