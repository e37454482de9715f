// Writes text of a file into an HTML page.
//
// Threads: any.

#ifndef TOOLS_REPORT_HTML_H
#define TOOLS_REPORT_HTML_H

#include <string>
#include <string_view>

namespace tool {

// Appends valid UTF-8 as text that is no markup, in an element or in an attribute with quotes. A control character becomes
// the replacement character; tabs and line feeds stay.
void AppendHtml(std::string& out, std::string_view text);
// Appends a number with at most two decimals, as attributes of drawings take it.
void AppendLength(std::string& out, double length);

}  // namespace tool

#endif
