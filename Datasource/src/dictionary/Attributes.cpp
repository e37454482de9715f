#include "datasrc/DatasourceAttributes.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"

namespace {

// Tests whether an entry has the name, ignoring case.
class NameMatch {
 public:
  explicit NameMatch(const std::string& name) : m_name(name.c_str()) {}

  template <class Entry>
  bool operator()(const Entry& entry) const {
    return QUAVMBqstricmp_A(m_name, -1, entry.first.c_str(), -1, 0) != 0;
  }

 private:
  const char* m_name;  // the caller's
};

}  // namespace

DatasourceAttributes::DatasourceAttributes(const DatasourceAttributes& other)
    : m_entries(other.m_entries ? std::make_unique<std::vector<Entry>>(*other.m_entries) : nullptr),
      m_changes(other.m_changes) {}

DatasourceAttributes::DatasourceAttributes(DatasourceAttributes&& other) noexcept
    : m_entries(std::move(other.m_entries)), m_changes(other.m_changes) {}

DatasourceAttributes& DatasourceAttributes::operator=(const DatasourceAttributes& other) {
  return this == &other ? *this : *this = DatasourceAttributes(other);
}

// As by a copy, the counter goes on from here.
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
  Change();
  const int k = Index(name);
  if (k < 0) {
    m_entries->emplace_back(name, values);
  } else {
    (*m_entries)[static_cast<std::size_t>(k)] = {name, values};
  }
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
  bool changed = false;
  for (unsigned long i = 0; i < other.Size(); ++i) {
    const auto& [name, values] = (*other.m_entries)[i];
    const int k = Index(name);
    if (k >= 0 && (!replace || (*m_entries)[static_cast<std::size_t>(k)].second == values)) continue;
    Define(name, values);
    changed = true;
  }
  return changed;
}

bool DatasourceAttributes::operator==(const DatasourceAttributes& other) const {
  if (this == &other) return true;
  if (!m_entries || !other.m_entries) return m_entries == other.m_entries;
  return *m_entries == *other.m_entries;
}
