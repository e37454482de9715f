// A mistake in the JSON of a dictionary: the text is not JSON, or says what no system file can hold.

#ifndef COLUMNS_DICTIONARY_DICTIONARYJSONERROR_H
#define COLUMNS_DICTIONARY_DICTIONARYJSONERROR_H

#include <stdexcept>

namespace dstext {

// what() names the place in the document, for example "variables[3].print is not a list of 3 values".
class DictionaryJsonError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace dstext

#endif
