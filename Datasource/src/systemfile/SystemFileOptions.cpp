#include "systemfile/SystemFileOptions.h"

#include <string>

#include "systemfile/DictionaryFindings.h"
#include "systemfile/SystemFileException.h"

void SystemFileOptions::NoteFlaw(const char* text) const {
  if (findings != nullptr) findings->Note(kMalformed, text);
}

void SystemFileOptions::NoteFlaws(long long count, const char* things) const {
  if (findings != nullptr && count != 0) findings->Note(kMalformed, std::string(things) + ": " + std::to_string(count));
}

void SystemFileOptions::NoteExtension(int subtype) {
  if (0 <= subtype && static_cast<std::size_t>(subtype) < extensionsFound.size())
    extensionsFound[static_cast<std::size_t>(subtype)] = true;
}
