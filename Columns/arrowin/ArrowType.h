// The type of an Arrow column, as its format string says it (Arrow documentation, "The Arrow C data interface",
// "Data type description -- format strings").
//
// Threads: any.

#ifndef COLUMNS_ARROWIN_ARROWTYPE_H
#define COLUMNS_ARROWIN_ARROWTYPE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "datasrc/QUAV_Format.h"

namespace arrowin {

struct ArrowType {
  enum class Kind {
    null,
    boolean,
    integer,
    real,
    decimal,
    days,       // since 1970
    timestamp,  // ticks since 1970
    time,       // ticks: a time of day or a duration
    text,
    textView
  };

  Kind kind = Kind::null;
  int bits = 0;  // of a value, or of an offset of a text
  bool isSigned = true;
  int scale = 0;                               // digits of a decimal after the point
  std::int64_t perSecond = 1;                  // ticks
  std::string zone = {};                       // of a timestamp
  QUAV_Format format = kDefaultNumericFormat;  // of a new variable

  bool IsText() const { return kind == Kind::text || kind == Kind::textView; }
};

// Returns nothing for a type that no variable can be.
std::optional<ArrowType> ParseArrowType(std::string_view format);

}  // namespace arrowin

#endif
