// Variable sets and multiple response sets as callers and files see them: members by name.
//
// A set is one line of text in a file. NAME, LABEL and VALUE stand for themselves; a length is the number of their
// bytes, in decimal; MEMBERS is a blank, then the names with one blank between two:
//
//   plain                   NAME "=" MEMBERS LF
//   categories              NAME "=C " length " " LABEL MEMBERS LF
//   dichotomy               NAME "=D" length " " VALUE " " length " " LABEL MEMBERS LF
//   enhanced dichotomy      NAME "=E " FLAGS " " length " " VALUE " " length " " LABEL MEMBERS LF
//
// A dichotomy whose label is that of a variable has "0 " in place of length, blank and label. Format:
// docs/system-file.md, "Sets".
//
// A line of a multiple response set that does not follow its form ends the process by an assertion, also when it came
// from a file.
//
// Threads: values.

#ifndef DATASRC_VARIABLESET_H
#define DATASRC_VARIABLESET_H

#include <array>
#include <map>
#include <string>
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

  // What Validate answers; the two others are for callers.
  static const int kNoError;
  static const int kNameLengthTooBig;
  static const int kValueOutOfBound;
  static const int kVariableNameNotFound;
  static const int kTooFewVariables;
  static const int kInvalidSetName;

  VariableSet() = default;
  VariableSet(const std::string& name, VariableSetType type) : m_type(type), m_name(name) {}
  // From the first line of the text. Asserts what the form above says of multiple response sets, which are those that
  // begin with "$".
  explicit VariableSet(const std::string& line);

  VariableSetType GetType() const { return m_type; }
  void SetType(VariableSetType type) { m_type = type; }
  std::string GetName(ChangeCase how) const;
  void SetName(const std::string& name) { m_name = name; }
  const std::string& GetLabel() const { return m_label; }
  void SetLabel(const std::string& label) { m_label = label; }
  // The set's label; where it is set by a variable, the label of the first member that has one, else the first member's
  // name. There must be a member then.
  std::string GetLabel(QUAV_DataSource& source) const;
  // What a dichotomy counts.
  const std::string& GetValue() const { return m_value; }
  void SetValue(const std::string& value) { m_value = value; }

  std::vector<std::string> GetVariableNames(ChangeCase how) const;
  // At the end; not an empty name, nor one that is there already, whatever its case.
  void AddVariableName(const std::string& name);

  bool qUseVariableCategoryLabels() const { return m_flags[0]; }
  void UseVariableCategoryLabels(bool use) { m_flags[0] = use; }
  bool qLabelSetByVariable() const { return m_flags[1]; }
  void LabelSetByVariable(bool set) { m_flags[1] = set; }
  bool qIsEnhancedDichotomy() const { return m_type == kDichotomy && m_flags[0]; }
  // "0" or "1" for the first flag, and "1" behind it when the second is set.
  std::string GetFlags() const;
  void SetFlags(const std::string& text);

  // The length of the name, the name (one of a variable for a plain set, else one that begins with "$"), a member.
  int Validate() const;
  // The line, its line feed included. Asserts that a dichotomy has a value, and that the name of a multiple response
  // set begins with "$".
  std::string ToExtension() const;

  // Names whatever their case, label and value by bytes.
  bool operator==(const VariableSet& other) const;

 private:
  friend void LowerCaseMembers(std::vector<VariableSet>& sets);
  friend DATASRC_API std::string& operator>>(std::string& text, VariableSet& set);
  friend DATASRC_API void ConvertToVarSet(const VariableSetImpl& stored, const QUAV_DataSource& source,
                                          VariableSet& set, std::map<LocallyUniqueID, int>& columns);

  VariableSetType m_type = kPlain;
  std::array<bool, 2> m_flags{};  // use variable category labels, label set by variable
  std::string m_name;
  std::string m_label;
  std::string m_value;
  std::vector<std::string> m_variableNames;
};

// Which of the two lists of a data source.
enum VarSetsType : int { kPlainSets = 0, kMRSets = 1 };

// Appends the line of the set; parses the first line of the text, which stays as it is, into the set, whose members
// stay.
DATASRC_API std::string& operator<<(std::string& text, const VariableSet& set);
DATASRC_API std::string& operator>>(std::string& text, VariableSet& set);

// By the identities of the members; those that the source does not have are dropped. The index of the source's names
// may be null.
DATASRC_API void ConvertToImpl(const VariableSet& set, const QUAV_DataSource& source, VariableSetImpl& stored,
                               const VariableNameIndex* index);
// And back. `columns` has the column of each identity, or none, and is looked at first.
DATASRC_API void ConvertToVarSet(const VariableSetImpl& stored, const QUAV_DataSource& source, VariableSet& set,
                                 std::map<LocallyUniqueID, int>& columns);

DATASRC_API std::vector<VariableSet> VariableSets(const QUAV_DataSource& source, VarSetsType which);
// Stores the sets in place of the list. Sets of the other list's kind, and sets none of whose variables the source has,
// are dropped.
DATASRC_API void SaveVariableSets(const std::vector<VariableSet>& sets, QUAV_DataSource& source, VarSetsType which);

#endif
