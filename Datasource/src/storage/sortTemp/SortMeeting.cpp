#include "storage/sortTemp/SortMeeting.h"

namespace {

constexpr unsigned long kMostPadding = 16;

}  // namespace

SortBuffer MakeSortBuffer() { return std::make_unique_for_overwrite<char[]>(kSortBlockSize + kMostPadding); }
