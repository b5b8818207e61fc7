/// \file
/// Text in HTML pages.
#ifndef TOOLS_PF_HTML_H
#define TOOLS_PF_HTML_H

#include <string>

namespace pftool {

/// The text as it stands between tags or in quoted attributes.
std::string HtmlText(const std::string& text);

}  // namespace pftool

#endif
