// One column of a dictionary: a cheap copy-on-write handle on a shared body.
//
// A dictionary copy shares every variable with its source; each setter first makes the body this handle's own. The type
// is 0 for a number, else the string's width in bytes, at most MAX_STRING_TYPE. The identity survives copying and
// renaming; only NewID and SetID change it.
//
// A default-constructed handle is null: any operation on it but copying and assignment ends in an assertion.
//
// Threads: variables are built on one thread; several may read while nobody writes. IsMissing of a text uses one cell
// of the process and is for one thread at a time.

#ifndef DATASRC_QUAV_VARIABLE_H
#define DATASRC_QUAV_VARIABLE_H

#include <string>

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
  // A null handle.
  QUAV_Variable();
  // A new variable without a name, with the defaults of its type.
  explicit QUAV_Variable(int type);
  QUAV_Variable(const QUAV_Variable& other);
  QUAV_Variable(QUAV_Variable&& other) noexcept;
  QUAV_Variable& operator=(const QUAV_Variable& other);
  QUAV_Variable& operator=(QUAV_Variable&& other) noexcept;
  ~QUAV_Variable();

  // ---- Name and identity. Text lives until the variable changes. ----
  const char* GetName() const;
  // The form that look-ups compare.
  const char* GetUpperCaseName() const;
  // Trailing blanks are cut. Whether the name is legal is not looked at.
  void SetName(const char* text);
  void SetName(const char* text, unsigned int length);
  LocallyUniqueID GetID() const;
  void SetID(LocallyUniqueID id);
  void NewID();

  // ---- Type and formats ----
  int GetType() const;
  // Rebuilds the formats for the new type. The layout of a dictionary that holds the variable does not follow:
  // QUAV_DataSource::SetVariable is for that. Asserts 0 <= type <= MAX_STRING_TYPE.
  void SetType(int type);
  // A width read back is at most 40, except that of a string.
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
  // Null when there is none. The empty label is one.
  const char* GetLabel() const;
  // Null takes the label away. The text of a label is never given back to the system before the process ends.
  void SetLabel(const char* text);
  void SetLabel(const char* text, unsigned int length);
  // The label when there is one, else the name.
  std::string GetPreferredLabel() const;

  // ---- Display ----
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
  const QUAV_VLImplPointer& GetValueLabels() const;
  void SetValueLabels(const QUAV_VLImplPointer& labels);

  // ---- Missing values ----
  //
  // The code: 0 none; 1, 2, 3 so many single values; -2 a range from the first to the second; -3 a range and a third
  // single value. Of a string only the first 8 bytes of each value are kept.

  // Sets the pointers to the stored cells, which live until the variable changes, and answers the code.
  int GetMissingValues(const OBS*& v1, const OBS*& v2, const OBS*& v3) const;
  // Asserts that as many values as the code says are given.
  void SetMissingValues(int code, const OBS* v1, const OBS* v2, const OBS* v3);
  // Single values; null stands for none.
  void SetMissingValues(const OBS* v1, const OBS* v2, const OBS* v3);
  void SetMissingValues(const double* v1, const double* v2, const double* v3);
  void SetMissingValues(const char* v1, const char* v2, const char* v3);
  // A range, both ends included, and a single value or null. A null end is the lowest or highest number there is.
  void SetMissingRange(const double* low, const double* high, const double* v3);
  // 1 when the value is missing, else 0. The system-missing value is missing for every numeric variable.
  int IsMissing(const OBS* value) const;
  int IsMissing(const double& value) const;
  int IsMissing(const char* value) const;

  // Always 0 here: the bit is kept for files and callers that knew it.
  int IsObsolete() const;

  // All that a user can see; not the identity.
  bool operator==(const QUAV_Variable& other) const;

  // Whether a format fits a variable of the type: 0 it does, 1 the type is wrong, 2 the width, 3 the decimals; the
  // first fault counts. With `fix` the arguments are mended.
  static int ValidateFormat(int varType, FormatType& type, int& width, int& decimals, bool fix);
  // The index of the icon for a variable of the format and level.
  static int GetImageIndex(FormatType type, MeasurementLevel level);

 private:
  friend class QUAV_VariableImpl;

  const QUAV_VariableImpl& Body() const;
  QUAV_VariableImpl& WritableBody();

  RefCountPtr<QUAV_VariableImpl> fpImpl;
};

#endif
