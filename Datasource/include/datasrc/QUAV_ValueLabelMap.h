// Value label maps: a text for each of a set of values.
//
//   QUAV_ValueLabelMap   the handle that callers use, with its own iterator over the pairs
//   QUAV_VLImplPointer   the shared body, as a variable holds it; null means that the variable has no map
//   QUAV_VLMapRegistry   maps and their identities, for callers that keep maps apart from variables
//
// Many variables may share one body. A handle that adds a pair to a shared body first copies it.
//
// Threads: bodies may be shared across threads by separate handles, each for one thread at a time. The registry has a
// lock.

#ifndef DATASRC_QUAV_VALUELABELMAP_H
#define DATASRC_QUAV_VALUELABELMAP_H

#include <deque>
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

// Contract: compares cell by cell as doubles, for strings too. Pairs are delivered in this order; it is not alphabetic,
// and not meant to be shown.
DATASRC_API bool operator<(const ValueLabel& a, const ValueLabel& b);

class DATASRC_API QUAV_VLMapImpl : public ThreadSafeRefCntObject {
 public:
  explicit QUAV_VLMapImpl(int type) : m_type(type) {}
  QUAV_VLMapImpl(const QUAV_VLMapImpl&) = default;
  ~QUAV_VLMapImpl() override;

  int Type() const { return m_type; }
  void SetType(int type) { m_type = type; }
  // Sorted by operator<. The pairs live until the map changes.
  const std::deque<ValueLabel>& Pairs() const { return m_pairs; }

  // Replaces the pair whose value has the same bits, else inserts the new pair at its place. The cost is that of
  // AddPair below.
  void Add(ValueLabel pair);
  // Has the result of Add for each pair in turn. The cost is that of AddPairs below.
  void AddAll(std::vector<ValueLabel> pairs);
  // Returns the pair whose value has these bits, or null. It lives until the map changes. `value` leaves out blank cells
  // as the values of the map do.
  const ValueLabel* Find(const ValueLabel& value) const;

 private:
  int m_type;
  std::deque<ValueLabel> m_pairs;  // grows at both ends, so neither order of adding moves pairs
};

class DATASRC_API QUAV_VLImplPointer : public RefCountPtr<QUAV_VLMapImpl> {
 public:
  QUAV_VLImplPointer() = default;
  QUAV_VLImplPointer(QUAV_VLMapImpl* body) : RefCountPtr(body) {}
};

class DATASRC_API QUAV_ValueLabelMap {
 public:
  // Makes an empty map for values of the type: 0 numeric, else the string's width in bytes. Asserts, as Type does, that
  // a variable can have the type.
  explicit QUAV_ValueLabelMap(int type);
  // Shares the body, which may be null.
  explicit QUAV_ValueLabelMap(const QUAV_VLImplPointer& body);
  // Share the body, and copy the iterator with its position.
  QUAV_ValueLabelMap(const QUAV_ValueLabelMap& other);
  QUAV_ValueLabelMap& operator=(const QUAV_ValueLabelMap& other);
  ~QUAV_ValueLabelMap();

  operator const QUAV_VLImplPointer&() const { return fpImpl; }
  operator QUAV_VLImplPointer&() { return fpImpl; }

  // Asserts that the map has a body.
  int Type() const;
  // An empty map gets a new body of the type. In a map with pairs only the type changes; the values stay as they are.
  void Type(int type);
  // Returns the number of pairs; 0 without a body.
  int Size() const;

  // Goes back to the first pair. Call it before the first GetNextPair.
  void Reset();
  // Store the next pair and return 1, or return 0 after the last one and without a body. Pointers live until the map
  // changes; the cells of a string wider than 255 bytes also die with this handle. A string has all its blanks and is
  // Type() bytes long. Assert that Reset was called.
  int GetNextPair(const OBS*& value, const char*& label) const;
  int GetNextPair(double& value, const char*& label) const;
  int GetNextPair(std::string& value, const char*& label) const;

  // Return the label of the value, or null; it lives until the map changes. Values are compared by bits. `value` points
  // to CellCount(Type()) cells. A text is first truncated to the field, or filled with blanks.
  const char* GetLabel(const OBS* value) const;
  const char* GetLabel(const double& value) const;
  const char* GetLabel(const std::string& value) const;

  // Add a pair; a second label for a value replaces the first. The arguments are as for GetLabel. Assert that the map
  // has a body.
  //
  // Cost: each call keeps the pairs sorted, so it moves the pairs before or after the new one, whichever are fewer. In
  // ascending and in descending order of operator< that is none. Use AddPairs for many pairs in another order.
  void AddPair(const OBS* value, const std::string& label);
  void AddPair(const double& value, const std::string& label);
  void AddPair(const std::string& value, const std::string& label);
  // Have the result of AddPair for each pair in turn, in about the time of sorting them and walking once through the
  // pairs that the map has already. The cells of `pairs` are stored as they are; their number is not checked.
  void AddPairs(std::vector<ValueLabel> pairs);
  void AddTextPairs(const std::vector<std::pair<std::string, std::string>>& pairs);

  // Returns whether the maps have the same pairs in the same order, values by bits and labels by bytes. The types are
  // not compared.
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
  // Sets the originator of the identities that Add makes from now on; its low 4 bits count.
  static void SetOriginator(unsigned int originator);
  // Registers the map under the identity, or under a new one when `id` is invalid. A map may be registered several
  // times. Returns the identity.
  static QUAV_VLMapID Add(const QUAV_VLImplPointer& map, QUAV_VLMapID id);
  // Returns the first identity of this body (not of an equal one), or the invalid one.
  static QUAV_VLMapID GetID(const QUAV_VLImplPointer& map);
  // Changes the first identity of the body. Asserts that the body is registered.
  static void SetID(const QUAV_VLImplPointer& map, QUAV_VLMapID id);
  // Returns the first body of the identity, or null.
  static QUAV_VLImplPointer GetMap(const QUAV_VLMapID& id);
  // Removes the maps that only the registry holds.
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
