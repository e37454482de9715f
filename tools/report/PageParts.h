// The style sheet and the script of a code book. The policy in the page's head names their SHA-256, so that nothing else
// is applied or run; tests/cli/report_test.py compares them.

#ifndef TOOLS_REPORT_PAGEPARTS_H
#define TOOLS_REPORT_PAGEPARTS_H

#include <string_view>

namespace tool {

extern const std::string_view kPageStyle;
extern const std::string_view kPageScript;
// The value of the header Content-Security-Policy.
extern const std::string_view kPagePolicy;

}  // namespace tool

#endif
