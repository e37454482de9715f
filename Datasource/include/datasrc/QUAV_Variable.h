// One column of a dictionary: a cheap copy-on-write handle on a shared body.
//
// A copy of a dictionary shares all variables with its source. Each setter first gives its handle its own body. The
// type is 0 for a number, else the string's width in bytes, at most MAX_STRING_TYPE. Copying and renaming keep the
// identity; only NewID and SetID change it. The originator in a new identity is 0: callers cannot set another one here,
// but may give a variable any identity by SetID.
//
// A default-constructed handle is null: every operation on it except copying and assignment asserts.
//
// Threads: one writer, or several readers, for each handle; handles on different threads may share a body.

#ifndef DATASRC_QUAV_VARIABLE_H
#define DATASRC_QUAV_VARIABLE_H

#include <string>
#include <utility>

#include "Platform/Export.h"
#include "datasrc/DatasourceAttributes.h"
#include "datasrc/LocallyUniqueID.h"
#include "datasrc/Obs.h"
#include "datasrc/QUAV_Format.h"
#include "datasrc/QUAV_ValueLabelMap.h"
#include "datasrc/RefCountPtr.h"

class QUAV_VariableImpl;

// Format: the numbers reach system files.
class QUAV_Variable_Enumerations {
 public:
  enum MeasurementLevel : int {
    kLevelDefaultNumeric = 0,
    kLevelDefaultString = 1,
    kLevelOrdinal = 2,
    kLevelScale = 3,
    kLevelExtended4 = 4,
    kLevelExtended5 = 5,
  };
  enum Alignment : int { kAlignLeft = 0, kAlignRight = 1, kAlignCenter = 2 };
  enum Role : int {
    kRoleInput = 0,
    kRoleTarget = 1,
    kRoleBoth = 2,
    kRoleNone = 3,
    kRolePartition = 4,
    kRoleSplit = 5,
    kRoleExtended6 = 6,
    kRoleExtended7 = 7,
  };
};

class DATASRC_API QUAV_Variable : public QUAV_Variable_Enumerations {
 public:
  // Makes a null handle.
  QUAV_Variable();
  // Makes a variable without a name, with a new identity and the defaults of its type. Asserts that the type is at
  // most MAX_STRING_TYPE and at least -1. A variable of type -1 cannot enter a dictionary.
  explicit QUAV_Variable(int type);
  QUAV_Variable(const QUAV_Variable& other);
  QUAV_Variable(QUAV_Variable&& other) noexcept;
  QUAV_Variable& operator=(const QUAV_Variable& other);
  // Inline, because a dictionary moves all variables after the place of a change.
  QUAV_Variable& operator=(QUAV_Variable&& other) noexcept {
    fpImpl = std::move(other.fpImpl);
    return *this;
  }
  ~QUAV_Variable();

  // ---- Name and identity ----
  // Both texts live until the variable changes.
  const char* GetName() const;
  // The form that look-ups compare: upper case, at most 128 bytes.
  const char* GetUpperCaseName() const;
  // Trailing blanks are removed. Whether the name is legal is not checked. The length is in bytes.
  void SetName(const char* text);
  void SetName(const char* text, unsigned int length);
  LocallyUniqueID GetID() const;
  void SetID(LocallyUniqueID id);
  void NewID();

  // ---- Type and formats ----
  int GetType() const;
  // Rebuilds both formats for the new type; all else stays. The layout of a dictionary that holds the variable does not
  // follow: use QUAV_DataSource::SetVariable. Asserts 0 <= type <= MAX_STRING_TYPE.
  void SetType(int type);
  // The print and the write format. Only the low byte of a width is kept, and a width above 40 reads back as 40.
  // kFormatString keeps 16 bits of the width and no decimals; kFormatHexString keeps the whole low byte.
  QUAV_Format GetFormat() const;
  QUAV_Format GetFormatEx() const;
  QUAV_Format GetWriteFormat() const;
  QUAV_Format GetWriteFormatEx() const;
  void GetFormat(FormatType& type, int& width, int& decimals) const;
  void GetWriteFormat(FormatType& type, int& width, int& decimals) const;
  void SetFormat(QUAV_Format format);
  void SetWriteFormat(QUAV_Format format);
  void SetFormat(FormatType type, int width, int decimals);
  void SetWriteFormat(FormatType type, int width, int decimals);

  // ---- Label ----
  // Null when there is no label. An empty label is one. The text lives until the process ends.
  const char* GetLabel() const;
  // Null removes the label. The memory of a label's text is not freed before the process ends. The length is in bytes.
  void SetLabel(const char* text);
  void SetLabel(const char* text, unsigned int length);
  // Returns the label when there is one, else the name.
  std::string GetPreferredLabel() const;

  // ---- Display ----
  // The width is in columns. Nothing here checks a value.
  short GetDisplayWidth() const;
  void SetDisplayWidth(short width);
  MeasurementLevel GetMeasurementLevel() const;
  void SetMeasurementLevel(MeasurementLevel level);
  Alignment GetAlignment() const;
  void SetAlignment(Alignment alignment);
  Role GetRole() const;
  void SetRole(Role role);

  // ---- Attributes and value labels ----
  const DatasourceAttributes& GetAttributes() const;
  void SetAttributes(const DatasourceAttributes& attributes);
  // The map is null when there is none; variables may share one.
  const QUAV_VLImplPointer& GetValueLabels() const;
  void SetValueLabels(const QUAV_VLImplPointer& labels);

  // ---- Missing values ----
  //
  //   code     values
  //   0        none
  //   1, 2, 3  that number of single values
  //   -2       a range from the first to the second, both included
  //   -3       such a range, and a third single value
  //
  // A value is one cell; of a string it has the first 8 bytes.

  // Sets the pointers to the three stored cells, unused ones too, and returns the code. The cells live until the
  // variable changes.
  int GetMissingValues(const OBS*& v1, const OBS*& v2, const OBS*& v3) const;
  // Stores any other code too; the variable then has no missing values. A file gets the code -1 as it is, and 0 for a
  // code below -3 or above 3. Asserts that no value that the code needs is null.
  void SetMissingValues(int code, const OBS* v1, const OBS* v2, const OBS* v3);
  // Set single values; the first null ends them, and a value after a null asserts. A number for a string, or a text
  // for a numeric variable, asserts.
  void SetMissingValues(const OBS* v1, const OBS* v2, const OBS* v3);
  void SetMissingValues(const double* v1, const double* v2, const double* v3);
  void SetMissingValues(const char* v1, const char* v2, const char* v3);
  // Sets a range, and a single value unless that is null. A null end is the lowest or the highest number. Asserts that
  // the variable is numeric.
  void SetMissingRange(const double* low, const double* high, const double* v3);
  // Return 1 when the value is missing, else 0. Single values are compared by bits. System-missing is missing for every
  // numeric variable. Of a string only the first cell is compared; a text of more than 8 bytes, or of more than the
  // variable's width, is not missing.
  int IsMissing(const OBS* value) const;
  int IsMissing(const double& value) const;
  int IsMissing(const char* value) const;

  // Always returns 0: nothing sets the bit, and system files do not have it. It is there for callers that ask.
  int IsObsolete() const;

  // Compares everything that a user can see, but not the identity. Asserts that neither handle is null.
  bool operator==(const QUAV_Variable& other) const;

  // Returns whether a format fits a variable of the type: 0 when it fits, 1 when the type is wrong, 2 the width, 3 the
  // decimals. The first fault counts. With `fix` the arguments are corrected.
  static int ValidateFormat(int varType, FormatType& type, int& width, int& decimals, bool fix);
  // Returns the index of the icon for a variable of the format and level.
  static int GetImageIndex(FormatType type, MeasurementLevel level);

 private:
  friend class QUAV_VariableImpl;

  const QUAV_VariableImpl& Body() const;
  QUAV_VariableImpl& WritableBody();

  RefCountPtr<QUAV_VariableImpl> fpImpl;
};

#endif
