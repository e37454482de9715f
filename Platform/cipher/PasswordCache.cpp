#include "Platform/cipher/PasswordCache.h"

#include <algorithm>
#include <mutex>
#include <ranges>
#include <vector>

namespace {

struct Entry {
  std::string name;
  std::weak_ptr<const FileKey> announced;
  std::shared_ptr<const FileKey> kept;  // null: the entry lives as long as some other owner has the key
};

class Cache {
 public:
  static Cache& Instance() {
    static Cache cache;
    return cache;
  }

  void Announce(const std::string& name, const std::shared_ptr<const FileKey>& key) {
    const std::scoped_lock lock(m_mutex);
    std::erase_if(m_entries, [](const Entry& entry) { return entry.announced.expired(); });
    m_entries.push_back({name, key, nullptr});
  }

  std::shared_ptr<const FileKey> Find(std::string_view password, const CipherHeader& header) {
    const std::scoped_lock lock(m_mutex);
    for (const Entry& entry : m_entries)
      if (std::shared_ptr<const FileKey> key = entry.announced.lock(); key && key->IsFor(password, header)) return key;
    return nullptr;
  }

  void Keep(std::string_view name) {
    const std::scoped_lock lock(m_mutex);
    const auto isLast = [name](const Entry& entry) { return entry.name == name && !entry.announced.expired(); };
    const auto last = std::ranges::find_if(m_entries | std::views::reverse, isLast);
    if (last == m_entries.rend()) return;
    for (Entry& entry : m_entries)
      if (entry.name == name) entry.kept = nullptr;
    last->kept = last->announced.lock();
  }

  // Needs no memory: destructors call it.
  void Remove(std::string_view name) {
    const std::scoped_lock lock(m_mutex);
    for (Entry& entry : m_entries)
      if (entry.name == name) entry.kept = nullptr;
    std::erase_if(m_entries, [](const Entry& entry) { return entry.announced.expired(); });
  }

 private:
  std::mutex m_mutex;
  std::vector<Entry> m_entries;  // guarded by the mutex; in the order of announcement
};

}  // namespace

void TestAndStoreToPes(const char* name, int /*kind*/, int /*flags*/) { Cache::Instance().Keep(name); }

void RemoveFromPesCache(const char* name) { Cache::Instance().Remove(name); }

std::shared_ptr<const FileKey> FindFileKey(std::string_view password, const CipherHeader& header) {
  return Cache::Instance().Find(password, header);
}

void AnnounceFileKey(const std::string& name, const std::shared_ptr<const FileKey>& key) {
  Cache::Instance().Announce(name, key);
}
