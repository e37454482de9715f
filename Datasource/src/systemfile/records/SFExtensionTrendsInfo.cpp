// Record 6: where a series starts, its period, and its date variables. Format: docs/system-file.md, "Record 6".

#include "core/systemfileformat.h"
#include "datasrc/QUAV_TrendsInfo.h"
#include "systemfile/ByteBuilder.h"
#include "systemfile/ByteCursor.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

namespace {

constexpr std::int64_t kLeadingUnits = 6;
constexpr std::int64_t kUnitsOfVariable = 3;

// Returns the first column that begins at the cell or after it.
int ColumnAt(const QUAV_DataSource& source, int cell) {
  const auto nVars = static_cast<int>(source.ColumnCount());
  int iVar = 0;
  while (iVar < nVars && source.ObsIndex(iVar) < cell) ++iVar;
  Require(iVar < nVars, kMalformed, "iVar < nVars");
  return iVar;
}

class SFExtensionTrendsInfo final : public SystemFileExtensionHandler {
 public:
  SFExtensionTrendsInfo() { Register(kTrendsSubtype, this); }

  void Write(SystemFileDataSource::SaveDS& source, SystemFileExtensionRecord& record) override {
    QUAV_TrendsInfo& trends = source.GetTrendsInfo();
    trends.Validate();  // finds the columns again after very long strings were split
    const int nDateVars = trends.GetNDateVars();
    bool periodSet = false;
    int period = 0;
    int first = 0;
    int second = 0;
    trends.GetPeriod(periodSet, period);
    trends.GetStart(first, second);
    if (!periodSet && nDateVars < 1) return;
    ByteBuilder out;
    out.I32(periodSet ? 1 : 0);
    out.I32(period);
    out.I32(nDateVars);
    out.I32(second);
    out.I32(first);
    out.I32(nDateVars > 0 ? 1 : 0);
    if (nDateVars > 0) AppendDateVars(out, source, trends);
    record.Fill(sizeof(std::int32_t), out.Bytes());
  }

  void Read(SystemFileDataSource& source, SystemFileOptions& options,
            const SystemFileExtensionRecord& record) override {
    const std::int64_t nElements = record.NUnits();
    ByteCursor in(record.Bytes(), options.Order());
    const auto periodSet = in.I32() != 0;
    const std::int32_t period = in.I32();
    const std::int64_t nDateVars = in.I32();
    Require(nElements >= kUnitsOfVariable * nDateVars + kLeadingUnits, kMalformed, "nElements >= 3*nDateVars+6");
    const std::int32_t second = in.I32();
    const std::int32_t first = in.I32();
    in.I32();  // whether there are date variables
    QUAV_TrendsInfo& trends = source.GetTrendsInfo();
    // Deliberate: too many date variables, and too many triples, end the process.
    trends.SetNDateVars(static_cast<int>(nDateVars));
    const std::int64_t nTriples = (nElements - kLeadingUnits) / kUnitsOfVariable;
    for (std::int64_t k = 0; k < nTriples; ++k) {
      const std::int32_t slot = in.I32();
      const std::int32_t type = in.I32();
      const std::int32_t third = in.I32();
      if (slot < 1) continue;
      trends.SetDateVar(static_cast<int>(k), ColumnAt(source, slot - 1), type, third);
    }
    trends.SetPeriod(periodSet, period);
    trends.SetStart(first, second);
  }

 private:
  // Appends each variable by the slot at which it begins. The date key is always written.
  static void AppendDateVars(ByteBuilder& out, const QUAV_DataSource& source, const QUAV_TrendsInfo& trends) {
    int var = 0;
    int type = 0;
    int third = 0;
    for (int i = 0; i <= trends.GetNDateVars(); ++i) {
      trends.GetDateVar(i, var, type, third);
      const bool isKey = i == trends.GetNDateVars();
      if (type == QUAV_TrendsInfo::e_NONE && !isKey) continue;
      const bool isThere = type != QUAV_TrendsInfo::e_NONE;
      out.I32(isThere ? source.ObsIndex(var) + 1 : 0);
      out.I32(isThere ? type : 0);
      out.I32(isThere ? third : 0);
    }
  }
};

SFExtensionTrendsInfo theTrendsInfoHandler;

}  // namespace
