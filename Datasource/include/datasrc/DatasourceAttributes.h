// The named, multi-valued text attributes that a data set and each variable carry.
//
// Names are unique without regard to case; entries stand in the order of their first definition. Values are opaque
// bytes in the data source's encoding, without limit of number or length. Copies are deep.
//
// A set that was never changed, or was emptied, has no list at all. That equals an empty list everywhere but in
// operator==.
//
// In files and elsewhere a set stands as text, MakeString and Parse:
//
//   set     := attribute ...            up to the end, or to a "/" where a name would begin
//   attribute := NAME "(" value ... ")"
//   value   := "'" BYTES "'" LF         nothing is escaped: a value ends at the quote in front of its line feed
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
  DatasourceAttributes() = default;
  DatasourceAttributes(const DatasourceAttributes& other);
  DatasourceAttributes& operator=(const DatasourceAttributes& other);
  ~DatasourceAttributes() = default;

  // Makes the empty list when there is none, and counts a change.
  void Change();

  // The number of entries.
  unsigned long Size() const;
  // Entry k, counted from 0. Asserts that it exists.
  std::string Name(unsigned long k) const;
  std::vector<std::string> Values(unsigned long k) const;
  // By name, without regard to case: no values, and -1, for a name that is not there.
  std::vector<std::string> Values(const std::string& name) const;
  int Index(const std::string& name) const;

  // Replaces the entry of the name, spelling and all, in its place; or adds one at the end. The name is not checked.
  void Define(const std::string& name, const std::vector<std::string>& values);
  void Delete(unsigned long k);
  // Whether there was an entry of the name.
  bool Delete(const std::string& name);
  // Takes over the entries that are missing here and, with `replace`, those with other values. Answers whether anything
  // changed.
  bool Merge(const DatasourceAttributes& other, bool replace);

  // The text of all entries that have values. Deliberate: a value with a line feed has no text, and this never returns
  // for it. Whoever takes values from people refuses such a one.
  std::string MakeString() const;
  // Makes `result` what the text says, and tells how far it was read (`consumed` may be null): up to the end or to the
  // "/". Answers false, and leaves `result`, for a text that does not follow the form; `consumed` is then where that
  // was found. Of several attributes of one name the last one counts, in the place of the first; one without values,
  // and one whose name is neither a variable's nor begins with "$", is passed by. `text` has a zero byte behind its
  // `length`.
  static bool Parse(const char* text, unsigned long length, DatasourceAttributes& result, unsigned long* consumed);
  static bool Parse(const std::string& text, DatasourceAttributes& result, unsigned long* consumed);

  // What kind of name it is for an attribute of a data set, and of a variable: 0 none, 1 a user's, 2 a registered one,
  // 3 one that begins with "$" and is not registered.
  static int ValidateFileAttrName(const std::string& name);
  static int ValidateVarAttrName(const std::string& name);

  // Names and values by bytes, in order. No list differs from an empty one.
  bool operator==(const DatasourceAttributes& other) const;

 private:
  using Entry = std::pair<std::string, std::vector<std::string>>;

  std::unique_ptr<std::vector<Entry>> m_entries;  // null: no list
  unsigned long long m_changes = 0;
};

#endif
