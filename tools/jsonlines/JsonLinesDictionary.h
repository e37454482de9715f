// Builds a dictionary for JSON lines of objects: the names of their members are the variables, in the order in which they
// first appear, and their values have the types.
//
//   values of a member                 variable
//   null, or none                      number
//   numbers                            number, with the decimals that are written
//   texts, all dates                   date; likewise dates and times, and times of day and durations
//   other texts                        text, as wide as the widest
//
// Numbers and texts in one member, values that a number cannot hold, true and false, lists and objects in an object, and
// more than kMostMembers names are a ToolError with the number of the line.
//
// Threads: any, as long as the process's encoding does not change.

#ifndef TOOLS_JSONLINES_JSONLINESDICTIONARY_H
#define TOOLS_JSONLINES_JSONLINESDICTIONARY_H

#include <memory>
#include <string>
#include <vector>

#include "datasrc/SystemFileDataSource.h"
#include "tools/files/InputBytes.h"
#include "tools/threads/BlockWork.h"

namespace tool {

inline constexpr std::size_t kMostMembers = 100'000;

struct JsonLinesDictionary {
  std::unique_ptr<SystemFileDataSource> dictionary;
  std::vector<std::string> members;  // their names, one for each variable
};

// Reads the inputs to their ends and rewinds them: the cases of all decide. A name that is not legal is mended into one and becomes the label. Warns about
// texts that look like dates or times but would lose digits. Throws ToolError when there is no object with a name, too.
JsonLinesDictionary TypeJsonObjects(const std::vector<InputBytes*>& inputs, const BlockWork& work = {});

}  // namespace tool

#endif
