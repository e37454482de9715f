// Reads the elements of a list in a message. The verifier of flatbuffers checks that the list lies in the message, but not
// that elements of 8 bytes begin at addresses where the processor may read them.
//
// Threads: any.

#ifndef COLUMNS_ARROWFILE_LISTELEMENTS_H
#define COLUMNS_ARROWFILE_LISTELEMENTS_H

#include <flatbuffers/flatbuffers.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace arrowfile {

// Element is a number, or a pointer to a struct, as flatbuffers names the list. `index` is below the size of the list.
template <class Element>
auto ElementOf(const flatbuffers::Vector<Element>& list, std::uint32_t index) {
  std::remove_const_t<std::remove_pointer_t<Element>> element;
  std::memcpy(&element, list.Data() + std::size_t{index} * sizeof element, sizeof element);
  return element;
}

}  // namespace arrowfile

#endif
