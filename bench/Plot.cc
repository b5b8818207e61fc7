// The cost of blurs against their radius, as a drawing.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <stdexcept>

#include "Report.h"

namespace pfbench {
namespace {

struct Point {
  double radius, cost;  // pixels, milliseconds for a million pixels
};

// What is drawn: our times, or those of one peer.
struct Curve {
  const char* peer;  // null: ours
  const char* label;
  const char* style;  // class in the style sheet, and marker
};
constexpr Curve kCurves[] = {{nullptr, "PF_GaussianBlur1D", "ours"},
                             {"OpenCV GaussianBlur", "OpenCV GaussianBlur, of the same reach", "taps"},
                             {"OpenCV blur, three times", "OpenCV blur, three times: not quite a bell", "boxes"}};
constexpr const char* kDepths[] = {"8 bits", "float"};

constexpr double kPanelWidth = 330, kPanelHeight = 250, kLeft = 56, kTop = 92, kBetween = 34;
constexpr double kLeastRadius = 2, kMostRadius = 750, kLeastCost = 1;

std::string Text(const char* format, double a, double b = 0, double c = 0, double d = 0) {
  char text[200];
  std::snprintf(text, sizeof text, format, a, b, c, d);
  return text;
}

double Along(double value, double least, double most) { return std::log(value / least) / std::log(most / least); }
double X(std::size_t panel, double radius) {
  return kLeft + static_cast<double>(panel) * (kPanelWidth + kBetween) +
         kPanelWidth * Along(radius, kLeastRadius, kMostRadius);
}
// Costs from kLeastCost to the next power of ten above all of them.
struct CostScale {
  double most = 10 * kLeastCost;
  void Include(double cost) {
    while (cost > most) most *= 10;
  }
  double Y(double cost) const {
    return kTop + kPanelHeight * (1 - Along(std::max(cost, kLeastCost), kLeastCost, most));
  }
};

std::vector<Point> PointsOf(const Curve& curve, const std::string& depth, Size size, const std::vector<Row>& rows) {
  std::vector<Point> points;
  for (const Row& row : rows) {
    const Case& one = row.measured;
    if (one.work != Work::kBlurBell || one.depth != depth || one.size.width != size.width) continue;
    const auto add = [&](double seconds) { points.push_back({double(one.scan.radius), 1e3 / row.Speed(seconds)}); };
    if (curve.peer == nullptr) add(row.own);
    for (const PeerTime& peer : row.peers) {
      if (curve.peer != nullptr && peer.name == curve.peer) add(peer.seconds);
    }
  }
  std::ranges::sort(points, {}, &Point::radius);
  return points;
}

std::string Marker(const std::string& style, double x, double y) {
  const std::string shape = style == "ours"   ? Text("<circle cx='%.1f' cy='%.1f' r='4'", x, y)
                            : style == "taps" ? Text("<rect x='%.1f' y='%.1f' width='7' height='7'", x - 3.5, y - 3.5)
                                              : Text("<path d='M%.1f %.1fl4.5 8h-9z'", x, y - 5);
  return shape + " class='" + style + " dot'/>\n";
}

void DrawCurve(std::ostream& out, const Curve& curve, const std::vector<Point>& points, std::size_t panel,
               const CostScale& scale) {
  out << "<polyline class='" << curve.style << " line' points='";
  for (const Point& point : points) out << Text("%.1f,%.1f ", X(panel, point.radius), scale.Y(point.cost));
  out << "'/>\n";
  for (const Point& point : points) out << Marker(curve.style, X(panel, point.radius), scale.Y(point.cost));
}

void DrawAxes(std::ostream& out, std::size_t panel, const CostScale& scale) {
  const double left = X(panel, kLeastRadius), right = X(panel, kMostRadius), bottom = scale.Y(kLeastCost);
  out << Text("<text class='head' x='%.1f' y='%.1f'>", left, kTop - 10) << kDepths[panel] << "</text>\n";
  for (double cost = kLeastCost; cost <= scale.most; cost *= 10) {
    out << Text("<path class='grid' d='M%.1f %.1fH%.1f'/>\n", left, scale.Y(cost), right);
    if (panel == 0) out << Text("<text class='end' x='%.1f' y='%.1f'>%g</text>\n", left - 7, scale.Y(cost) + 4, cost);
  }
  for (const double radius : {3.0, 10.0, 50.0, 200.0, 500.0}) {
    out << Text("<path class='grid' d='M%.1f %.1fV%.1f'/>\n", X(panel, radius), bottom, bottom + 5);
    out << Text("<text class='mid' x='%.1f' y='%.1f'>%g</text>\n", X(panel, radius), bottom + 19, radius);
  }
  out << Text("<text class='mid' x='%.1f' y='%.1f'>radius, pixels</text>\n", (left + right) / 2, bottom + 38);
}

constexpr const char* kStyle = R"(<style>
text { font: 12px system-ui, sans-serif; fill: #424a53 }
.title { font-size: 15px; font-weight: 600 } .head { font-weight: 600 } .note { font-size: 11px }
.end { text-anchor: end } .mid { text-anchor: middle }
.paper { fill: #ffffff } .grid { stroke: #d0d7de; fill: none }
.line { fill: none; stroke-width: 2.2 } .boxes.line { stroke-dasharray: 5 4 }
.ours.line { stroke: #1f6feb } .taps.line { stroke: #c4570c } .boxes.line { stroke: #818b98 }
.ours.dot { fill: #1f6feb } .taps.dot { fill: #c4570c } .boxes.dot { fill: #818b98 }
@media (prefers-color-scheme: dark) {
  text { fill: #d1d7e0 } .paper { fill: #151b23 } .grid { stroke: #3d444d }
  .ours.line { stroke: #58a6ff } .taps.line { stroke: #f0883e } .boxes.line { stroke: #9198a1 }
  .ours.dot { fill: #58a6ff } .taps.dot { fill: #f0883e } .boxes.dot { fill: #9198a1 }
}
</style>
)";

}  // namespace

void WritePlot(std::ostream& out, const Machine& machine, const std::vector<Row>& rows) {
  const auto first = std::ranges::find_if(rows, [](const Row& row) { return row.measured.work == Work::kBlurBell; });
  if (first == rows.end()) throw std::runtime_error("nothing to plot: no gaussian blur was measured");
  const Size size = first->measured.size;
  CostScale scale;
  for (const char* depth : kDepths) {
    for (const Curve& curve : kCurves) {
      for (const Point& point : PointsOf(curve, depth, size, rows)) scale.Include(point.cost);
    }
  }
  const double width = kLeft + 2 * kPanelWidth + kBetween + 20, height = kTop + kPanelHeight + 74;
  out << Text("<svg xmlns='http://www.w3.org/2000/svg' role='img' viewBox='0 0 %g %g' width='%g' height='%g'>\n", width,
              height, width, height)
      << "<title>Cost of Gaussian blurs against their radius</title>\n"
      << kStyle << Text("<rect class='paper' width='%g' height='%g' rx='8'/>\n", width, height)
      << "<text class='title' x='16' y='26'>Gaussian blur along rows and columns: milliseconds per megapixel of four "
         "channels</text>\n";
  double x = 20;
  for (const Curve& curve : kCurves) {
    out << Marker(curve.style, x, 49) << Text("<text x='%.1f' y='%.1f'>", x + 12, 53) << curve.label << "</text>\n";
    x += curve.peer == nullptr ? 150 : 284;
  }
  for (std::size_t panel = 0; panel < std::size(kDepths); ++panel) {
    DrawAxes(out, panel, scale);
    for (const Curve& curve : kCurves) DrawCurve(out, curve, PointsOf(curve, kDepths[panel], size, rows), panel, scale);
  }
  out << Text("<text class='note' x='16' y='%.1f'>", height - 12) << machine.date << ", " << machine.cpu << ", "
      << machine.vector_target << ", one thread, load average " << Text("%.1f", machine.load) << ", " << size.width
      << " x " << size.height << ". Logarithmic; lower is faster.</text>\n</svg>\n";
}

}  // namespace pfbench
