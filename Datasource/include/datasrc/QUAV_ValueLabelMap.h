// Value label maps: a text for each of a set of values.
//
//   QUAV_ValueLabelMap   the handle that callers use, with an iterator of its own over the pairs
//   QUAV_VLImplPointer   the shared body, as a variable holds it; null means that the variable has no map
//   QUAV_VLMapRegistry   identities that outlive a map, for callers that keep maps apart from variables
//
// Many variables may hold one body; a handle that adds a pair first makes the body its own.
//
// Threads: bodies may be shared across threads by separate handles; writes and the registry belong to one thread at a
// time.

#ifndef DATASRC_QUAV_VALUELABELMAP_H
#define DATASRC_QUAV_VALUELABELMAP_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Export.h"
#include "datasrc/LocallyUniqueID.h"
#include "datasrc/Obs.h"
#include "datasrc/RefCountPtr.h"

struct ValueLabel {
  std::vector<OBS> value;  // CellCount(type) cells, without those that blankCells counts
  std::string label;
  // How many blank cells follow those of `value`. A map leaves them out at the end of a value where they are many, so
  // that short values of a very long string take little memory.
  std::size_t blankCells = 0;

  std::size_t CellCount() const { return value.size() + blankCells; }
};

// Contract: cell by cell as doubles, for strings too. The order in which pairs are delivered follows from it; it is not
// alphabetic, and not meant to be shown.
DATASRC_API bool operator<(const ValueLabel& a, const ValueLabel& b);

class DATASRC_API QUAV_VLMapImpl : public ThreadSafeRefCntObject {
 public:
  explicit QUAV_VLMapImpl(int type) : m_type(type) {}
  QUAV_VLMapImpl(const QUAV_VLMapImpl&) = default;
  ~QUAV_VLMapImpl() override;

  int Type() const { return m_type; }
  void SetType(int type) { m_type = type; }
  // Sorted by operator<.
  const std::vector<ValueLabel>& Pairs() const { return m_pairs; }

  // A pair with the bits of the value is replaced, else the new one is inserted where it belongs.
  void Add(ValueLabel pair);
  // As Add for one after the other, in about the time of sorting them.
  void AddAll(std::vector<ValueLabel> pairs);
  // The pair whose value has these bits, or null. It lives until the map changes. Blank cells are left out of the value
  // as in those of the map.
  const ValueLabel* Find(const ValueLabel& value) const;

 private:
  int m_type;
  std::vector<ValueLabel> m_pairs;
};

class DATASRC_API QUAV_VLImplPointer : public RefCountPtr<QUAV_VLMapImpl> {
 public:
  QUAV_VLImplPointer() = default;
  QUAV_VLImplPointer(QUAV_VLMapImpl* body) : RefCountPtr(body) {}
};

class DATASRC_API QUAV_ValueLabelMap {
 public:
  // An empty map for values of the type: 0 numeric, else the string's width.
  explicit QUAV_ValueLabelMap(int type);
  explicit QUAV_ValueLabelMap(const QUAV_VLImplPointer& body);
  // Share the body; the iterator is copied with its position.
  QUAV_ValueLabelMap(const QUAV_ValueLabelMap& other);
  QUAV_ValueLabelMap& operator=(const QUAV_ValueLabelMap& other);
  ~QUAV_ValueLabelMap();

  operator const QUAV_VLImplPointer&() const { return fpImpl; }
  operator QUAV_VLImplPointer&() { return fpImpl; }

  // The map must have a body.
  int Type() const;
  // An empty map gets a new body of the type; in one with pairs only the type changes, their values stay.
  void Type(int type);
  // The number of pairs; 0 without a body.
  int Size() const;

  // Goes back to the first pair. It must run before the first GetNextPair.
  void Reset();
  // Hand out the next pair and answer 1, or 0 behind the last. Pointers live until the map changes; those to the cells
  // of a string wider than 255 bytes as long as this handle at most. A string comes with all its blanks, Type() bytes
  // long. Assert that Reset has run.
  int GetNextPair(const OBS*& value, const char*& label) const;
  int GetNextPair(double& value, const char*& label) const;
  int GetNextPair(std::string& value, const char*& label) const;

  // The label of the value, or null; it lives until the map changes. Values are found by their bits. A text is cut or
  // filled with blanks to the field first.
  const char* GetLabel(const OBS* value) const;
  const char* GetLabel(const double& value) const;
  const char* GetLabel(const std::string& value) const;

  // A second label for a value replaces the first. Assert that the map has a body.
  void AddPair(const OBS* value, const std::string& label);
  void AddPair(const double& value, const std::string& label);
  void AddPair(const std::string& value, const std::string& label);
  // As AddPair for one after the other, in about the time of sorting them: for maps of many pairs.
  void AddPairs(std::vector<ValueLabel> pairs);
  void AddTextPairs(const std::vector<std::pair<std::string, std::string>>& pairs);

  // The same pairs in the same order, labels by bytes; the types are not compared.
  bool operator==(const QUAV_ValueLabelMap& other) const;

 private:
  class DATASRC_LOCAL MapIterator;

  ValueLabel MakePair(const OBS* value, const std::string& label) const;
  ValueLabel MakePair(const std::string& value, const std::string& label) const;

  QUAV_VLImplPointer fpImpl;
  std::unique_ptr<MapIterator> fIter;  // null until Reset
};

using QUAV_VLMapID = LocallyUniqueID;

struct QUAV_VLMapIDPair {
  QUAV_VLImplPointer map;
  QUAV_VLMapID id;

  friend bool operator==(const QUAV_VLMapIDPair& a, const QUAV_VLMapIDPair& b) {
    return a.map == b.map && a.id == b.id;
  }
};

class DATASRC_API QUAV_VLMapRegistry {
 public:
  // The low 4 bits of the identities issued from now on.
  static void SetOriginator(unsigned int originator);
  // Registers the map, also a second time, under the identity; the invalid one asks for a new one. Answers the
  // identity.
  static QUAV_VLMapID Add(const QUAV_VLImplPointer& map, QUAV_VLMapID id);
  // The identity of this very body, or the invalid one.
  static QUAV_VLMapID GetID(const QUAV_VLImplPointer& map);
  // Asserts that the body is registered.
  static void SetID(const QUAV_VLImplPointer& map, QUAV_VLMapID id);
  // The first body of the identity, or null.
  static QUAV_VLImplPointer GetMap(const QUAV_VLMapID& id);
  // Forgets the maps that only the registry holds.
  static void CollectGarbage();

 private:
  struct IDGenerator {
    unsigned int originator = 0;
    unsigned int nextNumber = 0;
  };

  static std::vector<QUAV_VLMapIDPair> _Pairs;
  static IDGenerator _IDGenerator;
};

#endif
