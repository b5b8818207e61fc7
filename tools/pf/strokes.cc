#include "strokes.h"

#include <fmt/format.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "failure.h"

namespace pftool {
namespace {

constexpr double kFar = 1e6;                  // pixels; further out nothing can be seen
constexpr std::size_t kMostSteps = 10000000;  // a stroke with tiny spacing would never end

class Parser {
 public:
  Parser(std::string name, Reporter* reporter) : name_(std::move(name)), reporter_(reporter) {
    SetBrush(DiskBrush(15, 1));
  }

  std::vector<PaintStep> Read() {
    std::error_code no_folder;
    std::ifstream file(name_);
    if (!file || std::filesystem::is_directory(name_, no_folder)) {
      const int error = errno ? errno : EISDIR;
      throw Failure(ExitCode::kNoInput, "cannot read", QuotedInput(name_), ErrorText(error), "check the name");
    }
    for (std::string line; std::getline(file, line);) {
      ++line_;
      ReadLine(line.substr(0, line.find('#', line.find_first_not_of(" \t") == line.find('#') ? 0 : ColourEnd(line))));
    }
    return std::move(steps_);
  }

 private:
  // A "#" right behind "color" starts a colour, not a comment.
  static std::size_t ColourEnd(const std::string& line) {
    std::istringstream words(line);
    std::string command, colour;
    words >> command >> colour;
    return command == "color" && !colour.empty() && colour[0] == '#' ? line.find('#') + 1 : 0;
  }

  Failure Bad(const std::string& word, const std::string& why) const {
    return {ExitCode::kBadData, fmt::format("cannot understand line {} of", line_), QuotedInput(name_),
            word.empty() ? why : fmt::format("'{}' {}", word, why), "'pf help paint' tells the commands"};
  }

  void ReadLine(const std::string& line) {
    std::istringstream text(line);
    words_.clear();
    for (std::string word; text >> word;) words_.push_back(word);
    if (words_.empty()) return;
    const std::string command = words_.front();
    words_.erase(words_.begin());
    if (command == "color") return ReadColour();
    if (command == "disk") return Need(1, 2), SetBrush(DiskBrush(Size(0), words_.size() > 1 ? Number(1, 0, 1) : 1));
    if (command == "square") return Need(1, 1), SetBrush(SquareBrush(Size(0)));
    if (command == "hbar" || command == "vbar") return Need(1, 1), SetBrush(BarBrush(Size(0), command == "vbar"));
    if (command == "brush") return Need(1, 1), SetBrush(ReadBrush());
    if (command == "opacity") return Need(1, 1), SetOpacity(Number(0, 0, 1));
    if (command == "spacing") return Need(1, 1), static_cast<void>(spacing_ = Number(0, 0.01, kFar));
    if (command == "dab") return Need(2, 2), Add(PaintStep::kDab, Coordinate(0), Coordinate(1), 0, 0);
    if (command == "pixel") return Need(2, 2), Add(PaintStep::kPixel, Coordinate(0), Coordinate(1), 0, 0);
    if (command == "line") {
      return Need(4, 4), Add(PaintStep::kLine, Coordinate(0), Coordinate(1), Coordinate(2), Coordinate(3));
    }
    if (command == "stroke") return ReadStroke();
    throw Bad(command, "is no command");
  }

  void Need(std::size_t least, std::size_t most) const {
    if (words_.size() < least) throw Bad("", fmt::format("{} values are missing", least - words_.size()));
    if (words_.size() > most) throw Bad(words_[most], "is one value too many");
  }

  double Number(std::size_t index, double low, double high) const {
    const std::string& word = words_[index];
    char* end = nullptr;
    const double value = std::strtod(word.c_str(), &end);
    if (end != word.c_str() + word.size()) throw Bad(word, "is no number");
    if (!(value >= low && value <= high)) throw Bad(word, fmt::format("is not in {:g} to {:g}", low, high));
    return value;
  }
  double Coordinate(std::size_t index) const { return Number(index, -kFar, kFar); }
  int Size(std::size_t index) const {
    const double value = Number(index, 1, kLargestBrush);
    if (value != std::floor(value)) throw Bad(words_[index], "is no whole number");
    return static_cast<int>(value) | 1;
  }

  void ReadColour() {
    if (words_.size() == 1 && words_[0][0] == '#') return ReadHexColour();
    Need(3, 4);
    colour_ = {words_.size() > 3 ? Part(3) : 1, Part(0), Part(1), Part(2)};
  }
  float Part(std::size_t index) const { return static_cast<float>(Number(index, 0, 1)); }

  void ReadHexColour() {
    const std::string& word = words_[0];
    const bool hex = word.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    if (!hex || (word.size() != 7 && word.size() != 9)) throw Bad(word, "is no colour; write #RRGGBB or #RRGGBBAA");
    const auto part = [&](std::size_t at) {
      return static_cast<float>(std::strtoul(word.substr(at, 2).c_str(), nullptr, 16)) / 255;
    };
    colour_ = {word.size() == 9 ? part(7) : 1, part(1), part(3), part(5)};
  }

  Brush ReadBrush() const {
    const std::string path = (std::filesystem::path(name_).parent_path() / words_[0]).string();
    return PictureBrush(Inputs({path}, "").files()[0], reporter_);
  }
  void SetBrush(Brush brush) {
    full_ = std::move(brush);
    SetOpacity(opacity_);
  }
  void SetOpacity(double opacity) {
    opacity_ = opacity;
    brush_ = std::make_shared<const Brush>(opacity < 1 ? Weakened(full_, opacity) : full_);
  }

  void Add(PaintStep::Kind kind, double x0, double y0, double x1, double y1) {
    if (steps_.size() >= kMostSteps) throw Bad("", fmt::format("there are more than {} dabs", kMostSteps));
    steps_.push_back({kind, x0, y0, x1, y1, colour_, kind == PaintStep::kDab ? brush_ : nullptr});
  }

  // Dabs at equal distances along the whole line, the first at its start.
  void ReadStroke() {
    if (words_.size() < 4 || words_.size() % 2 != 0)
      throw Bad("", "a stroke needs two points or more, X and Y of each");
    const double spacing = spacing_ > 0 ? spacing_ : std::max(1.0, brush_->size / 4.0);
    double along = 0;  // of the next dab, behind the start of the segment
    for (std::size_t i = 0; i + 3 < words_.size(); i += 2) {
      const double x0 = Coordinate(i), y0 = Coordinate(i + 1), x1 = Coordinate(i + 2), y1 = Coordinate(i + 3);
      const double length = std::hypot(x1 - x0, y1 - y0);
      for (; along <= length; along += spacing) {
        const double t = length > 0 ? along / length : 0;
        Add(PaintStep::kDab, x0 + (x1 - x0) * t, y0 + (y1 - y0) * t, 0, 0);
      }
      along -= length;
    }
  }

  std::string name_;
  Reporter* reporter_;
  int line_ = 0;
  std::vector<std::string> words_;
  std::vector<PaintStep> steps_;
  PF_PixelFloat colour_ = {1, 1, 1, 1};
  Brush full_;
  std::shared_ptr<const Brush> brush_;
  double opacity_ = 1, spacing_ = 0;
};

}  // namespace

std::vector<PaintStep> ReadStrokes(const std::string& name, Reporter* reporter) {
  return Parser(name, reporter).Read();
}

}  // namespace pftool
