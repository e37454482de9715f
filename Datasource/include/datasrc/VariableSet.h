// Variable sets and multiple response sets as callers and files have them: members by name.
//
// A set is one line of text in a file. NAME, LABEL and VALUE are the texts themselves; a length is the number of their
// bytes, in decimal. MEMBERS is a blank, then the names with one blank between two:
//
//   plain                   NAME "=" MEMBERS LF
//   categories              NAME "=C " length " " LABEL MEMBERS LF
//   dichotomy               NAME "=D" length " " VALUE " " length " " LABEL MEMBERS LF
//   enhanced dichotomy      NAME "=E " FLAGS " " length " " VALUE " " length " " LABEL MEMBERS LF
//
// A dichotomy whose label is that of a variable has "0 " instead of length, blank and label. Format:
// docs/system-file.md, "Sets".
//
// A line of a multiple response set, which begins with "$", must follow its form: parsing asserts it, also for a line
// from a file.
//
// When memory runs out, the exception reaches the caller, and what should change is as it was.
//
// Threads: values; one thread at a time for each object.

#ifndef DATASRC_VARIABLESET_H
#define DATASRC_VARIABLESET_H

#include <array>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "Platform/Export.h"
#include "datasrc/LocallyUniqueID.h"
#include "datasrc/QUAV_DataSource.h"
#include "datasrc/VariableNames.h"
#include "datasrc/VariableSetImpl.h"

class DATASRC_API VariableSet {
 public:
  // Contract: the numbers.
  enum VariableSetType : int { kPlain = 0, kCategories = 1, kDichotomy = 2 };
  enum ChangeCase : int { kLowerCase = 0, kUpperCase = 1, kAsStored = 2 };

  // The results of Validate. Only callers use kValueOutOfBound and kVariableNameNotFound.
  static const int kNoError;
  static const int kNameLengthTooBig;
  static const int kValueOutOfBound;
  static const int kVariableNameNotFound;
  static const int kTooFewVariables;
  static const int kInvalidSetName;

  VariableSet() = default;
  VariableSet(const std::string& name, VariableSetType type) : m_type(type), m_name(name) {}
  // Parses the first line of the text, as operator>> does.
  explicit VariableSet(const std::string& line);
  VariableSet(const VariableSet&) = default;
  VariableSet(VariableSet&&) noexcept = default;
  VariableSet& operator=(const VariableSet& other) { return *this = VariableSet(other); }
  VariableSet& operator=(VariableSet&&) noexcept = default;
  ~VariableSet() = default;

  VariableSetType GetType() const { return m_type; }
  void SetType(VariableSetType type) { m_type = type; }
  // Upper or lower case asserts that the name is not empty.
  std::string GetName(ChangeCase how) const;
  void SetName(const std::string& name) { m_name = name; }
  const std::string& GetLabel() const { return m_label; }
  void SetLabel(const std::string& label) { m_label = label; }
  // Returns the set's label. If a variable sets it, returns the label of the first member that has one in the source,
  // else the first member's name; then the set must have a member.
  std::string GetLabel(QUAV_DataSource& source) const;
  // The value that a dichotomy counts.
  const std::string& GetValue() const { return m_value; }
  void SetValue(const std::string& value) { m_value = value; }

  // The names of the members, in their order.
  std::vector<std::string> GetVariableNames(ChangeCase how) const;
  // Adds a member at the end. Ignores an empty name, and the name of a member without regard to case.
  void AddVariableName(const std::string& name);

  bool qUseVariableCategoryLabels() const { return m_flags[0]; }
  void UseVariableCategoryLabels(bool use) { m_flags[0] = use; }
  bool qLabelSetByVariable() const { return m_flags[1]; }
  void LabelSetByVariable(bool set) { m_flags[1] = set; }
  bool qIsEnhancedDichotomy() const { return m_type == kDichotomy && m_flags[0]; }
  // The flags as text: "0" or "1" for the first one (variable category labels), then "1" if the second one (label set
  // by variable) is set. When text is parsed, every character except "0" sets its flag.
  std::string GetFlags() const;
  void SetFlags(const std::string& text);

  // Checks the length of the name, then the name (legal for a variable in a plain set, else one that begins with "$"),
  // then that there is a member. Returns the first fault, or kNoError.
  int Validate() const;
  // Returns the line, including its line feed. Asserts that a dichotomy has a value, and that the name of a multiple
  // response set begins with "$".
  std::string ToExtension() const;

  // Compares names without regard to case, label and value by bytes.
  bool operator==(const VariableSet& other) const;

 private:
  DATASRC_LOCAL void SetVariableNames(std::vector<std::string> names);

  friend void LowerCaseMembers(std::vector<VariableSet>& sets);
  friend DATASRC_API void ConvertToVarSet(const VariableSetImpl& stored, const QUAV_DataSource& source,
                                          VariableSet& set, std::map<LocallyUniqueID, int>& columns);

  VariableSetType m_type = kPlain;
  std::array<bool, 2> m_flags{};  // use variable category labels, label set by variable
  std::string m_name;
  std::string m_label;
  std::string m_value;
  std::vector<std::string> m_variableNames;
  // The upper-case forms of the first m_nKnown members, which AddVariableName has searched; none while there are few.
  std::unordered_set<std::string> m_known;
  std::size_t m_nKnown = 0;
};

// The two lists of a data source.
enum VarSetsType : int { kPlainSets = 0, kMRSets = 1 };

// operator<< appends the set's line to the text. operator>> parses the first line of the text, which it does not
// change; it replaces what the line has, but adds to the members that the set has already. Both assert the form, see
// above.
DATASRC_API std::string& operator<<(std::string& text, const VariableSet& set);
DATASRC_API std::string& operator>>(std::string& text, VariableSet& set);

// Converts the members to identities; those that the source does not have are dropped. `index` has the source's
// names; with null each name is searched in the source. With an index, asserts that no member's name is empty.
DATASRC_API void ConvertToImpl(const VariableSet& set, const QUAV_DataSource& source, VariableSetImpl& stored,
                               const VariableNameIndex* index);
// Converts back, and replaces the members of `set`. `columns` maps identities to columns and is searched before the
// source; it may be empty, and does not change.
DATASRC_API void ConvertToVarSet(const VariableSetImpl& stored, const QUAV_DataSource& source, VariableSet& set,
                                 std::map<LocallyUniqueID, int>& columns);

// Returns the sets of one list of the source.
DATASRC_API std::vector<VariableSet> VariableSets(const QUAV_DataSource& source, VarSetsType which);
// Replaces one list of the source by the sets. Sets of the other list's kind, and sets without any variable of the
// source, are dropped.
DATASRC_API void SaveVariableSets(const std::vector<VariableSet>& sets, QUAV_DataSource& source, VarSetsType which);

#endif
