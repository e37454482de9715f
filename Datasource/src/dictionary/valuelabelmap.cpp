#include "datasrc/QUAV_ValueLabelMap.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <ranges>

#include "Platform/Assert.h"
#include "Platform/text/QUAVMB.h"

namespace {

using PairList = std::vector<ValueLabel>;
using SortedPairs = std::deque<ValueLabel>;

// The types are those of a variable.
int TypeOfValues(int type) {
  QUAV_ASSERT(-1 <= type && type <= MAX_STRING_TYPE, "-1 <= type && type <= MAX_STRING_TYPE");
  return type;
}

// Fewer blank cells stay in a value. No string of a variable record has so many.
constexpr std::size_t kLeastBlankCells = 32;

// Leaves the blank cells at the end out, if they are many: then equal values have equal parts.
void LeaveOutBlanks(ValueLabel& pair) {
  const std::size_t count = pair.CellCount();
  if (count <= kLeastBlankCells) return;
  const auto last =
      std::find_if_not(pair.value.rbegin(), pair.value.rend() - 1, [](const OBS& cell) { return cell == kBlankCell; });
  const auto kept = static_cast<std::size_t>(pair.value.rend() - last);
  pair.blankCells = count - kept >= kLeastBlankCells ? count - kept : 0;
  if (count - pair.blankCells == pair.value.size()) return;
  // Not resized: that would keep the memory.
  std::vector<OBS> value(count - pair.blankCells, kBlankCell);
  std::copy_n(pair.value.begin(), std::min(value.size(), pair.value.size()), value.begin());
  pair.value = std::move(value);
}

OBS CellAt(const ValueLabel& pair, std::size_t i) { return i < pair.value.size() ? pair.value[i] : kBlankCell; }

bool SameValue(const ValueLabel& a, const ValueLabel& b) { return a.value == b.value && a.blankCells == b.blankCells; }

bool SamePair(const ValueLabel& a, const ValueLabel& b) { return SameValue(a, b) && a.label == b.label; }

// Returns whether all values have `nCells` cells and no NaN among them: only then operator< truly orders them.
bool HasTrueOrder(const auto& pairs, std::size_t nCells) {
  const auto isNaN = [](const OBS& cell) { return std::isnan(CellNumber(cell)); };
  return std::ranges::all_of(pairs, [&](const ValueLabel& pair) {
    return pair.CellCount() == nCells && std::ranges::none_of(pair.value, isNaN);
  });
}

// The pairs of a map under construction, in order. The pairs themselves do not move until the order is complete.
using Order = std::vector<ValueLabel*>;

bool IsLess(const ValueLabel* a, const ValueLabel* b) { return *a < *b; }

bool IsSame(const ValueLabel* a, const ValueLabel* b) { return SameValue(*a, *b); }

Order InPresentOrder(auto& pairs) {
  Order order(pairs.size());
  std::ranges::transform(pairs, order.begin(), [](ValueLabel& pair) { return &pair; });
  return order;
}

// An order into which a pair can be inserted anywhere at little cost: blocks, of which an insertion moves only one.
class BlockedOrder {
 public:
  explicit BlockedOrder(const Order& order) {
    for (std::size_t place = 0; place < order.size(); place += kMostInBlock / 2) {
      const std::size_t count = std::min(kMostInBlock / 2, order.size() - place);
      m_blocks.emplace_back(order.begin() + static_cast<std::ptrdiff_t>(place),
                            order.begin() + static_cast<std::ptrdiff_t>(place + count));
    }
    if (m_blocks.empty()) m_blocks.emplace_back();
    Count(0);
  }

  std::size_t Size() const { return m_firstPlaces.back() + m_blocks.back().size(); }
  ValueLabel*& At(std::size_t place) {
    const std::size_t block = BlockOf(place);
    return m_blocks[block][place - m_firstPlaces[block]];
  }
  void Insert(std::size_t place, ValueLabel* pair) {
    const std::size_t block = BlockOf(place);
    Order& pairs = m_blocks[block];
    pairs.insert(pairs.begin() + static_cast<std::ptrdiff_t>(place - m_firstPlaces[block]), pair);
    if (pairs.size() > kMostInBlock) {
      const auto half = pairs.begin() + static_cast<std::ptrdiff_t>(pairs.size() / 2);
      Order rest(half, pairs.end());
      pairs.erase(half, pairs.end());
      m_blocks.insert(m_blocks.begin() + static_cast<std::ptrdiff_t>(block) + 1, std::move(rest));
    }
    Count(block);
  }
  Order All() const {
    Order all;
    all.reserve(Size());
    for (const Order& block : m_blocks) all.insert(all.end(), block.begin(), block.end());
    return all;
  }

 private:
  static constexpr std::size_t kMostInBlock = 1024;

  std::size_t BlockOf(std::size_t place) const {
    return static_cast<std::size_t>(std::ranges::upper_bound(m_firstPlaces, place) - m_firstPlaces.begin()) - 1;
  }
  // Counts the places again from the block on.
  void Count(std::size_t block) {
    m_firstPlaces.resize(m_blocks.size());
    for (std::size_t i = block; i < m_blocks.size(); ++i)
      m_firstPlaces[i] = i == 0 ? 0 : m_firstPlaces[i - 1] + m_blocks[i - 1].size();
  }

  std::vector<Order> m_blocks;             // only the first may be empty
  std::vector<std::size_t> m_firstPlaces;  // of each block
};

// Adds the pairs one by one. The place of a pair may depend on all pairs before it, and on the steps of the search.
Order Added(const Order& old, PairList& pairs) {
  BlockedOrder order(old);
  for (ValueLabel& pair : pairs) {
    const auto places = std::views::iota(std::size_t{0}, order.Size());
    const auto at = [&order](std::size_t place) { return order.At(place); };
    const std::size_t place = *std::ranges::lower_bound(places, &pair, IsLess, at);
    if (place != order.Size() && IsSame(order.At(place), &pair)) {
      order.At(place) = &pair;
    } else {
      order.Insert(place, &pair);
    }
  }
  return order.All();
}

// Gives the same result as Added where operator< truly orders the values. Some values may be equal as doubles and
// differ in bits, as 0.0 and -0.0 do. Added inserts each new pair before such a group, or replaces the first pair of
// the group when that has the same bits. So here a group holds the latest pair first and the old ones last, and of
// each run of the same bits the first pair stays.
Order Merged(const Order& old, PairList& pairs) {
  Order added = InPresentOrder(pairs);
  std::ranges::sort(added, [](const ValueLabel* a, const ValueLabel* b) {
    return IsLess(a, b) || (!IsLess(b, a) && a > b);  // later ones have the higher address
  });
  Order all;
  all.reserve(added.size() + old.size());
  std::ranges::merge(added, old, std::back_inserter(all), IsLess);
  all.erase(std::unique(all.begin(), all.end(), IsSame), all.end());
  return all;
}

}  // namespace

bool operator<(const ValueLabel& a, const ValueLabel& b) {
  // A map that changed its type may hold values of different lengths.
  const std::size_t nCells = std::min(a.CellCount(), b.CellCount());
  // Further cells are blank in both.
  const std::size_t nStored = std::min(std::max(a.value.size(), b.value.size()), nCells);
  for (std::size_t i = 0; i < nStored; ++i) {
    const double left = CellNumber(CellAt(a, i));
    const double right = CellNumber(CellAt(b, i));
    if (left < right) return true;
    if (left > right) return false;
  }
  return false;
}

QUAV_VLMapImpl::~QUAV_VLMapImpl() = default;

void QUAV_VLMapImpl::Add(ValueLabel pair) {
  LeaveOutBlanks(pair);
  const auto place = std::lower_bound(m_pairs.begin(), m_pairs.end(), pair);
  if (place != m_pairs.end() && SameValue(*place, pair)) {
    *place = std::move(pair);
  } else {
    m_pairs.insert(place, std::move(pair));
  }
}

void QUAV_VLMapImpl::AddAll(std::vector<ValueLabel> pairs) {
  if (pairs.empty()) return;
  std::ranges::for_each(pairs, LeaveOutBlanks);
  const std::size_t nCells = pairs.front().CellCount();
  const bool hasTrueOrder = HasTrueOrder(pairs, nCells) && HasTrueOrder(m_pairs, nCells);
  const Order old = InPresentOrder(m_pairs);
  const Order order = hasTrueOrder ? Merged(old, pairs) : Added(old, pairs);
  SortedPairs all(order.size());  // from here on nothing fails
  std::ranges::transform(order, all.begin(), [](ValueLabel* pair) { return std::move(*pair); });
  m_pairs = std::move(all);
}

const ValueLabel* QUAV_VLMapImpl::Find(const ValueLabel& value) const {
  const auto place = std::lower_bound(m_pairs.begin(), m_pairs.end(), value);
  return place != m_pairs.end() && SameValue(*place, value) ? &*place : nullptr;
}

// Holds only a position: the body that the handle holds may change between two steps.
class QUAV_ValueLabelMap::MapIterator {
 public:
  // Advances the iterator of the map. Returns null after the last pair, and for a map without a body.
  static const ValueLabel* Next(const QUAV_ValueLabelMap& map) {
    if (!map.fpImpl.IsValid()) return nullptr;
    QUAV_ASSERT(map.fIter, "fIter && \"Reset() missing\"");
    const SortedPairs& pairs = map.fpImpl->Pairs();
    std::size_t& position = map.fIter->m_position;
    return position < pairs.size() ? &pairs[position++] : nullptr;
  }

  // Returns all cells of the pair that Next returned last.
  const OBS* Cells(const ValueLabel& pair) {
    if (pair.blankCells == 0) return pair.value.data();
    std::vector<OBS> cells(pair.value);
    cells.resize(pair.CellCount(), kBlankCell);
    std::vector<OBS>& whole = m_wholeValues[m_position];
    if (whole != cells) whole = std::move(cells);
    return whole.data();
  }

  void Reset() { m_position = 0; }

 private:
  std::size_t m_position = 0;
  std::map<std::size_t, std::vector<OBS>> m_wholeValues;  // that were asked for, by the position after them
};

QUAV_ValueLabelMap::QUAV_ValueLabelMap(int type) : fpImpl(new QUAV_VLMapImpl(TypeOfValues(type))) {}
QUAV_ValueLabelMap::QUAV_ValueLabelMap(const QUAV_VLImplPointer& body) : fpImpl(body) {}
QUAV_ValueLabelMap::QUAV_ValueLabelMap(const QUAV_ValueLabelMap& other)
    : fpImpl(other.fpImpl), fIter(other.fIter ? std::make_unique<MapIterator>(*other.fIter) : nullptr) {}

QUAV_ValueLabelMap& QUAV_ValueLabelMap::operator=(const QUAV_ValueLabelMap& other) {
  if (this != &other) {
    std::unique_ptr<MapIterator> iterator = other.fIter ? std::make_unique<MapIterator>(*other.fIter) : nullptr;
    fpImpl = other.fpImpl;
    fIter = std::move(iterator);
  }
  return *this;
}

QUAV_ValueLabelMap::~QUAV_ValueLabelMap() = default;

int QUAV_ValueLabelMap::Type() const {
  QUAV_ASSERT(fpImpl.IsValid(), "fpImpl.IsValid()");
  return fpImpl->Type();
}

void QUAV_ValueLabelMap::Type(int type) {
  if (Size() == 0) {
    fpImpl = new QUAV_VLMapImpl(TypeOfValues(type));
  } else {
    fpImpl.Unshared()->SetType(TypeOfValues(type));
  }
}

int QUAV_ValueLabelMap::Size() const { return fpImpl.IsValid() ? static_cast<int>(fpImpl->Pairs().size()) : 0; }

void QUAV_ValueLabelMap::Reset() {
  if (!fpImpl.IsValid()) return;
  if (!fIter) fIter = std::make_unique<MapIterator>();
  fIter->Reset();
}

int QUAV_ValueLabelMap::GetNextPair(const OBS*& value, const char*& label) const {
  const ValueLabel* pair = MapIterator::Next(*this);
  if (!pair) return 0;
  value = fIter->Cells(*pair);
  label = pair->label.c_str();
  return 1;
}

int QUAV_ValueLabelMap::GetNextPair(double& value, const char*& label) const {
  const ValueLabel* pair = MapIterator::Next(*this);
  if (!pair) return 0;
  value = CellNumber(pair->value.front());
  label = pair->label.c_str();
  return 1;
}

int QUAV_ValueLabelMap::GetNextPair(std::string& value, const char*& label) const {
  const ValueLabel* pair = MapIterator::Next(*this);
  if (!pair) return 0;
  // A value that was added under another type of the map may be shorter than the present type.
  value.assign(CellText(pair->value.data()), pair->value.size() * sizeof(OBS));
  value.resize(static_cast<std::size_t>(std::max(fpImpl->Type(), 0)), ' ');
  label = pair->label.c_str();
  return 1;
}

const char* QUAV_ValueLabelMap::GetLabel(const OBS* value) const {
  if (!fpImpl.IsValid()) return nullptr;
  const ValueLabel* pair = fpImpl->Find(MakePair(value, {}));
  return pair ? pair->label.c_str() : nullptr;
}

const char* QUAV_ValueLabelMap::GetLabel(const double& value) const {
  if (!fpImpl.IsValid()) return nullptr;
  const ValueLabel* pair = fpImpl->Find({{NumberCell(value)}, {}});
  return pair ? pair->label.c_str() : nullptr;
}

const char* QUAV_ValueLabelMap::GetLabel(const std::string& value) const {
  if (!fpImpl.IsValid()) return nullptr;
  const ValueLabel* pair = fpImpl->Find(MakePair(value, {}));
  return pair ? pair->label.c_str() : nullptr;
}

void QUAV_ValueLabelMap::AddPair(const OBS* value, const std::string& label) {
  QUAV_ASSERT(fpImpl.IsValid(), "fpImpl.IsValid()");
  ValueLabel pair = MakePair(value, label);
  fpImpl.Unshared()->Add(std::move(pair));
}

void QUAV_ValueLabelMap::AddPair(const double& value, const std::string& label) {
  QUAV_ASSERT(fpImpl.IsValid(), "fpImpl.IsValid()");
  fpImpl.Unshared()->Add({{NumberCell(value)}, label});
}

void QUAV_ValueLabelMap::AddPair(const std::string& value, const std::string& label) {
  QUAV_ASSERT(fpImpl.IsValid(), "fpImpl.IsValid()");
  ValueLabel pair = MakePair(value, label);
  fpImpl.Unshared()->Add(std::move(pair));
}

void QUAV_ValueLabelMap::AddPairs(PairList pairs) {
  QUAV_ASSERT(fpImpl.IsValid(), "fpImpl.IsValid()");
  fpImpl.Unshared()->AddAll(std::move(pairs));
}

void QUAV_ValueLabelMap::AddTextPairs(const std::vector<std::pair<std::string, std::string>>& texts) {
  QUAV_ASSERT(fpImpl.IsValid(), "fpImpl.IsValid()");
  PairList pairs;
  pairs.reserve(texts.size());
  for (const auto& [value, label] : texts) pairs.push_back(MakePair(value, label));
  AddPairs(std::move(pairs));
}

bool QUAV_ValueLabelMap::operator==(const QUAV_ValueLabelMap& other) const {
  if (fpImpl == other.fpImpl) return true;
  if (!fpImpl.IsValid() || !other.fpImpl.IsValid()) return false;
  return std::ranges::equal(fpImpl->Pairs(), other.fpImpl->Pairs(), SamePair);
}

ValueLabel QUAV_ValueLabelMap::MakePair(const OBS* value, const std::string& label) const {
  ValueLabel pair{std::vector<OBS>(value, value + CellCount(fpImpl->Type())), label};
  LeaveOutBlanks(pair);
  return pair;
}

// Makes the cells that the text needs only: there may be many short texts for a very long string.
ValueLabel QUAV_ValueLabelMap::MakePair(const std::string& value, const std::string& label) const {
  const std::size_t count = CellCount(fpImpl->Type());
  const std::size_t needed = std::clamp<std::size_t>((value.size() + sizeof(OBS) - 1) / sizeof(OBS), 1, count);
  ValueLabel pair{std::vector<OBS>(needed), label, count - needed};
  QUAVMBCopyToFixed_A(pair.value.data(), static_cast<int>(needed * sizeof(OBS)), value.data(),
                      static_cast<int>(value.size()));
  if (pair.blankCells < kLeastBlankCells) {
    pair.value.resize(count, kBlankCell);
    pair.blankCells = 0;
  }
  LeaveOutBlanks(pair);
  return pair;
}
