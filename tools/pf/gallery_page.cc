#include <fmt/format.h>

#include "PF/PF_TransferModes.h"
#include "formulas.h"
#include "gallery.h"
#include "html.h"

namespace pftool {
namespace {

constexpr const char* kStyle = R"(
body { background: #222; color: #e1e1e1; font: 14px/1.4 sans-serif; margin: 24px auto; max-width: 1200px; padding: 0 16px }
a { color: inherit }
h1 { font-size: 26px; margin-bottom: 4px }
h2 { font-size: 18px; margin: 0 }
h2 small { color: #aaa; font-weight: normal; margin-left: 8px }
nav a { display: inline-block; margin: 0 10px 2px 0; white-space: nowrap }
section { border-top: 1px solid #555; margin-top: 24px; padding-top: 14px }
code { color: #ffd479; font: 13px monospace }
p { margin: 4px 0 }
.dim { color: #aaa }
.row { display: flex; flex-wrap: wrap; gap: 16px; margin-top: 10px; align-items: flex-start }
.grid { display: grid; grid-template-columns: auto auto auto; gap: 8px }
figure { margin: 0 }
figcaption { color: #aaa; font-size: 12px; text-align: center }
img { display: block; background: repeating-conic-gradient(#666 0 25%, #999 0 50%) 0 0 / 16px 16px }
.map { width: 200px; height: 200px; image-rendering: auto }
)";

std::string Figure(const std::string& file, const std::string& caption, const char* kind, const std::string& about) {
  return fmt::format(
      "<figure><img class=\"{}\" src=\"{}\" alt=\"{}\" loading=\"lazy\"><figcaption>{}</figcaption></figure>\n", kind,
      file, HtmlText(about + ", " + caption), HtmlText(caption));
}

std::string NumberText(int number) { return number < 0 ? fmt::format("\u2212{}", -number) : std::to_string(number); }

std::string Section(const GalleryEntry& entry) {
  const ModeText& mode = *entry.mode;
  std::string text =
      fmt::format("<section id=\"mode{0}\">\n<h2>{1} {2}<small>{3}, flag {4}</small></h2>\n<p><code>{5}</code></p>\n",
                  mode.number, NumberText(mode.number), mode.name, PF_GetTransferModeName(mode.number),
                  PF_GetTransferFlags(mode.number), HtmlText(mode.formula));
  const std::string family = FamilyText(mode.number);
  if (!family.empty()) text += fmt::format("<p class=\"dim\">{}</p>\n", HtmlText(family));
  text += "<p class=\"dim\">largest difference from the formula:";
  for (std::size_t i = 0; i < kGalleryDepths.size(); ++i) {
    text += fmt::format("{} {} {:.3f}", i ? "," : "", DepthText(kGalleryDepths[i]), entry.steps[i]);
  }
  text += " steps</p>\n<div class=\"row\">\n";
  for (const MapAlphas& alphas : kMapAlphas) {
    text += Figure(MapFile(mode, alphas), std::string("s \u2192, d \u2191, ") + alphas.text, "map", mode.name);
  }
  text += "<div class=\"grid\">\n";
  for (const bool linear : {false, true}) {
    for (const int depth : kGalleryDepths) {
      text += Figure(ExampleFile(mode, depth, linear),
                     DepthText(depth) + (linear ? ", linear light" : ", stored values"), "example", mode.name);
    }
  }
  return text + "</div>\n</div>\n</section>\n";
}

}  // namespace

std::string DepthText(int depth) { return depth == 32 ? "float" : fmt::format("{} bits", depth); }

std::string MapFile(const ModeText& mode, const MapAlphas& alphas) {
  return fmt::format("{}-map-{}.png", mode.name, alphas.name);
}
std::string ExampleFile(const ModeText& mode, int depth, bool linear) {
  return fmt::format("{}-{}-{}.png", mode.name, depth == 32 ? "float" : std::to_string(depth),
                     linear ? "linear" : "stored");
}

std::string GalleryPage(const std::vector<GalleryEntry>& entries, const ExamplePictures& pictures,
                        const std::string& profile) {
  std::string page = fmt::format(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width\">\n<title>Transfer modes</title>\n<style>{}</style>\n"
      "</head>\n<body>\n<h1>Transfer modes</h1>\n",
      kStyle);
  page += fmt::format(
      "<p>How a layer s is laid onto a base d. c is a colour channel, a alpha, full = 1; a<sub>r</sub> = 1 \u2212 (1 "
      "\u2212 a<sub>s</sub>)(1 \u2212 a<sub>d</sub>); b is d on the family's background, B what a formula gives.</p>\n"
      "<p>In a response map the source's value grows from left to right and the destination's from bottom to top; "
      "modes "
      "of colours get hues instead, the destination's growing lighter. What is transparent shows a checkerboard. The "
      "maps are the library's work and have been compared with the formulas: a step is 1/255 or 1/32768, half a step "
      "is "
      "rounding; a step of floats is a millionth. Linear light is that of {}.</p>\n<div class=\"row\">\n",
      HtmlText(profile));
  page += Figure("base.png", "base d: " + pictures.base_text, "example", "base");
  page += Figure("layer.png", "layer s: " + pictures.layer_text, "example", "layer");
  page += "</div>\n<nav><p>\n";
  for (const GalleryEntry& entry : entries) {
    page += fmt::format("<a href=\"#mode{}\">{} {}</a>\n", entry.mode->number, NumberText(entry.mode->number),
                        entry.mode->name);
  }
  page += "</p></nav>\n";
  for (const GalleryEntry& entry : entries) page += Section(entry);
  return page + "</body>\n</html>\n";
}

}  // namespace pftool
