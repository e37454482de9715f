#include "Columns/arrowfile/DictionaryStore.h"

#include <limits>
#include <utility>

#include "Platform/ByteOrder.h"
#include "datasrc/ArrowFile.h"

namespace arrowfile {

namespace {

using Layout = ValueShape::Layout;

const std::byte* BytesAt(const ArrayData& array, std::size_t buffer) {
  return static_cast<const std::byte*>(array.buffers[buffer]);
}

void AppendValidity(std::vector<std::uint8_t>& bits, std::int64_t length, const ArrayData& added) {
  const std::byte* const from = BytesAt(added, 0);
  bits.resize(static_cast<std::size_t>((length + added.length + 7) / 8));
  for (std::int64_t i = 0; i < added.length; ++i) {
    const bool isValid = from == nullptr || (std::to_integer<unsigned>(from[i / 8]) >> (i % 8) & 1) != 0;
    const std::int64_t place = length + i;
    if (isValid) bits[static_cast<std::size_t>(place / 8)] |= static_cast<std::uint8_t>(1U << (place % 8));
  }
}

}  // namespace

DictionaryStore::DictionaryStore(const std::vector<FieldShape>& columns) {
  for (const FieldShape& column : columns) {
    if (!column.id) continue;
    const auto [found, isNew] = m_dictionaries.try_emplace(*column.id, Dictionary{column.dictionary, column.name});
    if (found->second.shape != column.dictionary)
      throw ArrowFileError("the column " + column.name + " shares the dictionary of the column " +
                           found->second.column + ", but not its type");
  }
}

void DictionaryStore::Add(const messages::DictionaryBatch& message, const Bytes& body) {
  const auto found = m_dictionaries.find(message.id());
  if (found == m_dictionaries.end() || message.data() == nullptr)
    throw ArrowFileError("the file has a dictionary of no column");
  Dictionary& dictionary = found->second;
  BodyArrays arrays(*message.data(), body);
  ArrayData values = arrays.Next(dictionary.shape, dictionary.column);
  arrays.RequireEnd();
  if (message.is_delta() && dictionary.hasValues) {
    Join(dictionary, values);
    return;
  }
  dictionary.hasValues = true;
  dictionary.joined.reset();
  dictionary.values = std::move(values);
}

std::unique_ptr<ArrayData> DictionaryStore::Values(const FieldShape& column) const {
  const Dictionary& dictionary = m_dictionaries.at(*column.id);
  if (!dictionary.hasValues) throw ArrowFileError("the dictionary of the column " + column.name + " is missing");
  auto values = std::make_unique<ArrayData>();
  values->length = dictionary.values.length;
  values->nulls = dictionary.values.nulls;
  values->buffers = dictionary.values.buffers;
  values->owner = dictionary.values.owner;
  return values;
}

// The first values that are joined to others are copied. A consumer may still have the array of an earlier batch, so what
// it shares stays as it is.
void DictionaryStore::Join(Dictionary& dictionary, const ArrayData& added) {
  const Layout layout = dictionary.shape.layout;
  if (layout != Layout::fixed && layout != Layout::texts32)
    throw ArrowFileError("the dictionary of the column " + dictionary.column +
                         " comes in parts that cannot be joined: write it as one");
  const auto append = [&](Joined& joined, std::int64_t length, const ArrayData& array) {
    AppendValidity(joined.validity, length, array);
    if (layout == Layout::fixed) {
      if (array.length == 0) return;
      const std::byte* const from = BytesAt(array, 1);
      joined.values.insert(joined.values.end(), from, from + array.length * dictionary.shape.width);
      return;
    }
    if (joined.offsets.empty()) joined.offsets.push_back(0);
    if (array.length == 0) return;
    const auto offset = [&](std::int64_t i) {
      return Load<std::int32_t>(BytesAt(array, 1) + i * static_cast<std::int64_t>(sizeof(std::int32_t)));
    };
    const std::int64_t first = offset(0);
    const auto before = static_cast<std::int64_t>(joined.text.size());
    if (before + offset(array.length) - first > std::numeric_limits<std::int32_t>::max())
      throw ArrowFileError("the dictionary of the column " + dictionary.column + " has more than 2 GiB of text");
    for (std::int64_t i = 1; i <= array.length; ++i)
      joined.offsets.push_back(static_cast<std::int32_t>(before + offset(i) - first));
    if (const std::byte* const text = BytesAt(array, 2); text != nullptr)
      joined.text.insert(joined.text.end(), text + first, text + offset(array.length));
  };
  constexpr long kOwnUses = 2;  // dictionary.joined, and the owner of dictionary.values
  std::shared_ptr<Joined> joined = dictionary.joined;
  if (joined == nullptr) {
    joined = std::make_shared<Joined>();
    append(*joined, 0, dictionary.values);
  } else if (joined.use_count() > kOwnUses + 1) {
    joined = std::make_shared<Joined>(*joined);
  }
  append(*joined, dictionary.values.length, added);
  dictionary.values.length += added.length;
  dictionary.values.nulls += added.nulls;
  dictionary.values.buffers = {joined->validity.data()};
  if (layout == Layout::fixed) {
    dictionary.values.buffers.push_back(joined->values.data());
  } else {
    dictionary.values.buffers.insert(dictionary.values.buffers.end(), {joined->offsets.data(), joined->text.data()});
  }
  dictionary.values.owner = joined;
  dictionary.joined = std::move(joined);
}

}  // namespace arrowfile
