// Print formats in words: "number 8.2", "date 11", "text 12"; a type without a word becomes "type 60 12.3".

#ifndef TOOLS_TEXT_FORMATNAME_H
#define TOOLS_TEXT_FORMATNAME_H

#include <string>

#include "datasrc/QUAV_Format.h"

namespace tool {

std::string FormatName(QUAV_Format format);

}  // namespace tool

#endif
