#include "systemfile/SystemFileOptions.h"

void SystemFileOptions::NoteExtension(int subtype) {
  if (0 <= subtype && static_cast<std::size_t>(subtype) < extensionsFound.size())
    extensionsFound[static_cast<std::size_t>(subtype)] = true;
}
