#include <fmt/format.h>

#include <filesystem>

#include "html.h"
#include "sheet.h"

namespace pftool {
namespace {

/// A relative link: bytes that a URL path cannot hold are percent-encoded.
std::string Link(const std::string& page_path, const std::string& target) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::absolute(page_path).parent_path();
  const std::string relative = fs::absolute(target).lexically_relative(folder).generic_string();
  std::string out;
  for (const char c : relative) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = std::isalnum(byte) || c == '/' || c == '.' || c == '-' || c == '_' || c == '~';
    out += plain ? std::string(1, c) : fmt::format("%{:02X}", byte);
  }
  // A leading "name:" would read as a scheme.
  return relative.find(':') == std::string::npos ? out : "./" + out;
}

}  // namespace

std::string SheetPage(const std::string& page_path, const std::string& sheet_path, const std::string& title,
                      const SheetLayout& layout, const std::vector<SheetEntry>& entries) {
  const std::string sheet = Link(page_path, sheet_path);
  const std::string shown_title = HtmlText(title.empty() ? "Contact sheet" : title);
  std::string page = fmt::format(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width\">\n<title>{0}</title>\n<style>\n"
      "body {{ background: #222; color: #e1e1e1; font: 14px sans-serif; margin: 16px }}\n"
      "a {{ color: inherit }}\nfigure {{ display: inline-block; margin: 8px; width: {1}px; vertical-align: top }}\n"
      "figure a {{ display: block; width: {1}px; height: {2}px; background-image: url(\"{3}\") }}\n"
      "figcaption span {{ color: #999 }}\n</style>\n</head>\n<body>\n<h1>{0}</h1>\n"
      "<p><a href=\"{3}\">The whole sheet</a></p>\n",
      shown_title, layout.cell_width, layout.cell_height, sheet);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::string caption = HtmlText(entries[i].caption);
    page += fmt::format(
        "<figure><a href=\"{}\" title=\"{}\" style=\"background-position: -{}px -{}px\"></a>"
        "<figcaption>{}<br><span>{}</span></figcaption></figure>\n",
        Link(page_path, entries[i].name), caption, layout.left(i), layout.top(i), caption, HtmlText(entries[i].facts));
  }
  return page + "</body>\n</html>\n";
}

}  // namespace pftool
