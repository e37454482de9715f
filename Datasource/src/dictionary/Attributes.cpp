#include "datasrc/DatasourceAttributes.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"

namespace {

using Entry = DatasourceAttributes::Entry;

// Tests whether an entry has the name, ignoring case.
class NameMatch {
 public:
  explicit NameMatch(const std::string& name) : m_name(name.c_str()) {}

  bool operator()(const Entry& entry) const { return QUAVMBqstricmp_A(m_name, -1, entry.first.c_str(), -1, 0) != 0; }

 private:
  const char* m_name;  // the caller's
};

// The places of many entries by name, ignoring case. Finds what NameMatch finds.
class Places {
 public:
  explicit Places(const std::vector<Entry>& entries) {
    for (std::size_t k = 0; k < entries.size(); ++k) Take(entries[k].first, k);
  }

  // Returns the place of the first entry of the name; if there is none, it is `next` from now on.
  std::size_t Take(const std::string& name, std::size_t next) {
    return m_places.emplace(QUAVMBstrupr_A(name.c_str()), next).first->second;
  }

 private:
  std::unordered_map<std::string, std::size_t> m_places;
};

// Puts each entry at its place in the list, at most one after the last one. All that needs memory comes before the first
// entry moves. There is an entry.
void PutEntries(std::unique_ptr<std::vector<Entry>>& present, std::vector<Entry> entries,
                const std::vector<std::size_t>& places) {
  auto made = present ? nullptr : std::make_unique<std::vector<Entry>>();
  std::vector<Entry>& list = made ? *made : *present;
  const std::size_t size = std::max(list.size(), *std::ranges::max_element(places) + 1);
  if (size > list.capacity()) list.reserve(std::max(size, 2 * list.size()));
  list.resize(size);
  static_assert(std::is_nothrow_move_assignable_v<Entry>);
  for (std::size_t k = 0; k < entries.size(); ++k) list[places[k]] = std::move(entries[k]);
  if (made) present = std::move(made);
}

}  // namespace

DatasourceAttributes::DatasourceAttributes(const DatasourceAttributes& other)
    : m_entries(other.m_entries ? std::make_unique<std::vector<Entry>>(*other.m_entries) : nullptr),
      m_changes(other.m_changes) {}

DatasourceAttributes::DatasourceAttributes(DatasourceAttributes&& other) noexcept
    : m_entries(std::move(other.m_entries)), m_changes(other.m_changes) {}

DatasourceAttributes& DatasourceAttributes::operator=(const DatasourceAttributes& other) {
  return this == &other ? *this : *this = DatasourceAttributes(other);
}

// Counts as one more change of this object. The other's counter is not taken.
DatasourceAttributes& DatasourceAttributes::operator=(DatasourceAttributes&& other) noexcept {
  if (this == &other) return *this;
  m_entries = std::move(other.m_entries);
  ++m_changes;
  return *this;
}

void DatasourceAttributes::Change() {
  if (!m_entries) m_entries = std::make_unique<std::vector<Entry>>();
  ++m_changes;
}

unsigned long DatasourceAttributes::Size() const { return m_entries ? m_entries->size() : 0; }

std::string DatasourceAttributes::Name(unsigned long k) const {
  QUAV_ASSERT(k < Size(), "k < Size()");
  return (*m_entries)[k].first;
}

std::vector<std::string> DatasourceAttributes::Values(unsigned long k) const {
  QUAV_ASSERT(k < Size(), "k < Size()");
  return (*m_entries)[k].second;
}

std::vector<std::string> DatasourceAttributes::Values(const std::string& name) const {
  const int k = Index(name);
  return k < 0 ? std::vector<std::string>() : Values(static_cast<unsigned long>(k));
}

int DatasourceAttributes::Index(const std::string& name) const {
  if (!m_entries) return -1;
  const auto entry = std::ranges::find_if(*m_entries, NameMatch(name));
  return entry == m_entries->end() ? -1 : static_cast<int>(entry - m_entries->begin());
}

void DatasourceAttributes::Define(const std::string& name, const std::vector<std::string>& values) {
  const int k = Index(name);
  const std::size_t place = k < 0 ? Size() : static_cast<std::size_t>(k);
  std::vector<Entry> entries;
  entries.emplace_back(name, values);
  PutEntries(m_entries, std::move(entries), {place});
  ++m_changes;
}

void DatasourceAttributes::DefineAll(std::vector<Entry> entries) {
  if (entries.empty()) return;
  static const std::vector<Entry> kNone;
  Places known(m_entries ? *m_entries : kNone);
  std::vector<std::size_t> places;
  std::size_t end = Size();
  for (const Entry& entry : entries) {
    places.push_back(known.Take(entry.first, end));
    if (places.back() == end) ++end;
  }
  const std::size_t count = entries.size();
  PutEntries(m_entries, std::move(entries), places);
  m_changes += count;
}

void DatasourceAttributes::Delete(unsigned long k) {
  QUAV_ASSERT(k < Size(), "k < Size()");
  ++m_changes;
  m_entries->erase(m_entries->begin() + static_cast<std::ptrdiff_t>(k));
  if (m_entries->empty()) m_entries.reset();
}

bool DatasourceAttributes::Delete(const std::string& name) {
  const int k = Index(name);
  if (k < 0) return false;
  Delete(static_cast<unsigned long>(k));
  return true;
}

bool DatasourceAttributes::Merge(const DatasourceAttributes& other, bool replace) {
  if (this == &other || other.Size() == 0) return false;
  static const std::vector<Entry> kNone;
  const std::vector<Entry>& present = m_entries ? *m_entries : kNone;
  Places places(present);
  std::vector<Entry> changes;
  for (const Entry& entry : *other.m_entries) {
    const std::size_t place = places.Take(entry.first, present.size());
    if (place == present.size() || (replace && present[place].second != entry.second)) changes.push_back(entry);
  }
  const bool changed = !changes.empty();
  DefineAll(std::move(changes));
  return changed;
}

bool DatasourceAttributes::operator==(const DatasourceAttributes& other) const {
  if (this == &other) return true;
  if (!m_entries || !other.m_entries) return m_entries == other.m_entries;
  return *m_entries == *other.m_entries;
}
