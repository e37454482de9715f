// The named text attributes, with any number of values, of a data set or of a variable.
//
// Names are unique without regard to case; entries are in the order of their first definition. Values are opaque bytes
// in the data source's encoding, without a limit of number or length. Copies are deep.
//
// A set that was never changed, or whose last entry was deleted, has no list. Only operator== distinguishes this from
// an empty list.
//
// Files hold a set as text (MakeString and Parse):
//
//   set       := attribute ...          up to the end, or up to a "/" where a name would begin
//   attribute := NAME "(" value ... ")"
//   value     := "'" BYTES "'" LF       nothing is escaped: the first line feed ends the value, after its last quote
//
// Format: docs/system-file.md, "Attributes".
//
// Threads: a value; one writer, or several readers.

#ifndef DATASRC_DATASOURCEATTRIBUTES_H
#define DATASRC_DATASOURCEATTRIBUTES_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Export.h"

class DATASRC_API DatasourceAttributes {
 public:
  using Entry = std::pair<std::string, std::vector<std::string>>;  // a name and its values

  DatasourceAttributes() = default;
  DatasourceAttributes(const DatasourceAttributes& other);
  DatasourceAttributes(DatasourceAttributes&& other) noexcept;
  // When memory runs out, this and all other operations leave the set as it was.
  DatasourceAttributes& operator=(const DatasourceAttributes& other);
  DatasourceAttributes& operator=(DatasourceAttributes&& other) noexcept;
  ~DatasourceAttributes() = default;

  // Makes an empty list when there is none, and counts a change.
  void Change();

  // Returns the number of entries.
  unsigned long Size() const;
  // Entry k counts from 0. Both assert that it exists.
  std::string Name(unsigned long k) const;
  std::vector<std::string> Values(unsigned long k) const;
  // Find an entry by name, without regard to case. An unknown name has no values and the index -1.
  std::vector<std::string> Values(const std::string& name) const;
  int Index(const std::string& name) const;

  // Replaces the entry of the name at its place, the spelling of the name included, or adds an entry at the end. The
  // name is not checked.
  //
  // Cost: each call searches all entries. Use DefineAll for many.
  void Define(const std::string& name, const std::vector<std::string>& values);
  // Has the result of Define for each entry in turn, in time in proportion to the number of all entries.
  void DefineAll(std::vector<Entry> entries);
  // Asserts that entry k exists.
  void Delete(unsigned long k);
  // Returns whether there was an entry of the name.
  bool Delete(const std::string& name);
  // Takes over the other's entries that do not exist here and, with `replace`, those whose values differ. Returns
  // whether anything changed.
  bool Merge(const DatasourceAttributes& other, bool replace);

  // Returns the text of all entries that have values. Deliberate: the form has no text for a value with a line feed,
  // and this function never returns for one. A caller that takes values from users must refuse it.
  std::string MakeString() const;
  // Sets `result` to the contents of the text, and `*consumed` (which may be null) to the number of bytes read: up to
  // the end or up to the "/". Returns false, and does not change `result`, for a text that does not follow the form;
  // `*consumed` is then the place of the fault. The last attribute of a name counts, at the place of the first. An
  // attribute without values, or whose name is neither legal for a variable nor begins with "$", is skipped. `text`
  // has a zero byte after its `length` bytes.
  static bool Parse(const char* text, unsigned long length, DatasourceAttributes& result, unsigned long* consumed);
  static bool Parse(const std::string& text, DatasourceAttributes& result, unsigned long* consumed);

  // Return the kind of a name, for an attribute of a data set and of a variable: 0 not legal, 1 a user's, 2
  // registered, 3 begins with "$" and is not registered.
  static int ValidateFileAttrName(const std::string& name);
  static int ValidateVarAttrName(const std::string& name);

  // Compares names and values by bytes, in order. No list and an empty list are not equal.
  bool operator==(const DatasourceAttributes& other) const;

 private:
  std::unique_ptr<std::vector<Entry>> m_entries;  // null for no list
  unsigned long long m_changes = 0;
};

#endif
