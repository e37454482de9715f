#include "Columns/arrowfile/FieldShape.h"

#include <utility>

#include "Columns/text/ShownText.h"
#include "datasrc/ArrowFile.h"

namespace arrowfile {

namespace {

using Layout = ValueShape::Layout;
using messages::Type;

// Letters of the C data interface for the units of TimeUnit.
constexpr char kUnits[] = {'s', 'm', 'u', 'n'};

[[noreturn]] void Refuse(const std::string& column, const std::string& trouble) {
  throw ArrowFileError("the column " + column + " " + trouble);
}

[[noreturn]] void RefuseType(const std::string& column, Type type) {
  const char* const name = messages::EnumNameType(type);
  Refuse(column, std::string("has the Arrow type ") + (*name == '\0' ? "of an unknown number" : name) +
                     ", which no variable can have: leave it out of the file or change its type there");
}

template <class Unit>
char UnitLetter(Unit unit, const std::string& column) {
  const auto number = static_cast<std::size_t>(unit);
  if (number >= std::size(kUnits)) Refuse(column, "has a time of an unknown unit");
  return kUnits[number];
}

ValueShape Fixed(std::string format, int bits) { return {std::move(format), Layout::fixed, bits / 8}; }

ValueShape IntegerShape(const messages::Int& type, const std::string& column) {
  const bool isSigned = type.is_signed();
  switch (type.bit_width()) {
    case 8:
      return Fixed(isSigned ? "c" : "C", 8);
    case 16:
      return Fixed(isSigned ? "s" : "S", 16);
    case 32:
      return Fixed(isSigned ? "i" : "I", 32);
    case 64:
      return Fixed(isSigned ? "l" : "L", 64);
    default:
      Refuse(column, "has integers of " + std::to_string(type.bit_width()) + " bits");
  }
}

ValueShape RealShape(const messages::FloatingPoint& type, const std::string& column) {
  switch (type.precision()) {
    case messages::Precision::Half:
      return Fixed("e", 16);
    case messages::Precision::Single:
      return Fixed("f", 32);
    case messages::Precision::Double:
      return Fixed("g", 64);
  }
  Refuse(column, "has floating point numbers of an unknown precision");
}

ValueShape DecimalShape(const messages::Decimal& type, const std::string& column) {
  const int bits = type.bit_width();
  if (bits != 32 && bits != 64 && bits != 128 && bits != 256)
    Refuse(column, "has decimals of " + std::to_string(bits) + " bits");
  return Fixed(
      "d:" + std::to_string(type.precision()) + "," + std::to_string(type.scale()) + "," + std::to_string(bits), bits);
}

ValueShape DateShape(const messages::Date& type, const std::string& column) {
  switch (type.unit()) {
    case messages::DateUnit::Day:
      return Fixed("tdD", 32);
    case messages::DateUnit::Millisecond:
      return Fixed("tdm", 64);
  }
  Refuse(column, "has dates of an unknown unit");
}

ValueShape TimeShape(const messages::Time& type, const std::string& column) {
  const char unit = UnitLetter(type.unit(), column);
  const int bits = unit == 's' || unit == 'm' ? 32 : 64;
  if (type.bit_width() != bits) Refuse(column, "has times of " + std::to_string(type.bit_width()) + " bits");
  return Fixed(std::string("tt") + unit, bits);
}

ValueShape ShapeOfType(const messages::Field& field, const std::string& column) {
  if (field.type() == nullptr) Refuse(column, "has no type");
  switch (field.type_type()) {
    case Type::Null:
      return {"n", Layout::none, 0};
    case Type::Bool:
      return {"b", Layout::bits, 0};
    case Type::Int:
      return IntegerShape(*field.type_as_Int(), column);
    case Type::FloatingPoint:
      return RealShape(*field.type_as_FloatingPoint(), column);
    case Type::Decimal:
      return DecimalShape(*field.type_as_Decimal(), column);
    case Type::Date:
      return DateShape(*field.type_as_Date(), column);
    case Type::Time:
      return TimeShape(*field.type_as_Time(), column);
    case Type::Timestamp: {
      const messages::Timestamp& type = *field.type_as_Timestamp();
      const std::string zone = type.timezone() != nullptr ? type.timezone()->str() : "";
      return Fixed(std::string("ts") + UnitLetter(type.unit(), column) + ":" + zone, 64);
    }
    case Type::Duration:
      return Fixed(std::string("tD") + UnitLetter(field.type_as_Duration()->unit(), column), 64);
    case Type::Utf8:
      return {"u", Layout::texts32, 0};
    case Type::LargeUtf8:
      return {"U", Layout::texts64, 0};
    case Type::Utf8View:
      return {"vu", Layout::views, 0};
    default:
      RefuseType(column, field.type_type());
  }
}

}  // namespace

FieldShape ShapeOf(const messages::Field& field) {
  FieldShape shape;
  if (field.name() != nullptr) shape.name = field.name()->str();
  if (!dstext::IsValidUtf8(shape.name)) throw ArrowFileError("the name of a column is not UTF-8");
  shape.values = ShapeOfType(field, shape.name);
  if (const messages::DictionaryEncoding* const dictionary = field.dictionary()) {
    shape.id = dictionary->id();
    shape.dictionary = std::move(shape.values);
    // The format's default.
    shape.values =
        dictionary->index_type() != nullptr ? IntegerShape(*dictionary->index_type(), shape.name) : Fixed("i", 32);
  }
  return shape;
}

SchemaData SchemaOf(const messages::Field& field, const FieldShape& shape) {
  SchemaData schema;
  schema.format = shape.values.format;
  schema.name = shape.name;
  schema.flags = field.nullable() ? ARROW_FLAG_NULLABLE : 0;
  schema.metadata = MetadataOf(field);
  if (shape.id) {
    schema.dictionary = std::make_unique<SchemaData>();
    schema.dictionary->format = shape.dictionary.format;
    schema.dictionary->flags = ARROW_FLAG_NULLABLE;
  }
  return schema;
}

}  // namespace arrowfile
