// The output of `datasrc verify`: text for people, or one JSON object.
//
// Threads: any.

#ifndef TOOLS_VERIFY_VERIFYREPORT_H
#define TOOLS_VERIFY_VERIFYREPORT_H

#include <string>

#include "datasrc/SystemFileVerification.h"
#include "tools/text/Color.h"

namespace tool {

void AppendVerifyText(std::string& out, const std::string& file, const VerifiedFile& found, const Color& color);
void AppendVerifyJson(std::string& out, const std::string& file, const VerifiedFile& found);

// Returns "case 7", "cases 7 to 19" or, when the end is unknown, "an unknown number of cases from case 7 on". Cases are
// counted from 0.
std::string RowGapText(const RowGap& gap);

}  // namespace tool

#endif
