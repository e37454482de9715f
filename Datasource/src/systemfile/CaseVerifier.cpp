#include "systemfile/CaseVerifier.h"

#include <algorithm>
#include <system_error>

#include "core/ByteOrder.h"

namespace {

constexpr long long kCasesAtOnce = 1LL << 16;  // between two signs of progress

std::size_t Size(std::int32_t cells) { return static_cast<std::size_t>(std::max(cells, 0)); }

}  // namespace

std::string SystemReason(int error) {
  return error == 0 ? std::string() : " (" + std::generic_category().message(error) + ")";
}

// ---- CaseTaker ----

CaseTaker::CaseTaker(const SystemFileLayout& layout, LongTextCheck& check, VerificationVisitor& visitor,
                     bool wantsCases)
    : m_layout(layout),
      m_check(check),
      m_visitor(visitor),
      m_wantsCases(wantsCases),
      m_raw(Size(layout.NominalCaseSize())),
      m_logical(Size(layout.LogicalCaseSize())) {}

void CaseTaker::Take() {
  const bool joins = m_layout.Dechunker().Active();
  if (joins) m_layout.Dechunker().Dechunk(m_raw.data(), m_logical.data());
  const OBS* const cells = joins ? m_logical.data() : m_raw.data();
  m_check.Look(cells, m_cases);
  if (m_wantsCases) m_visitor.Case(cells);
  ++m_cases;
  if (m_cases % kCasesAtOnce == 0) m_visitor.Progress(m_cases);
}

void CaseTaker::Count(long long cases) {
  m_cases += cases;
  m_visitor.Progress(m_cases);
}

// ---- Cases that are not compressed ----

namespace {

class PlainCases {
 public:
  PlainCases(QUAV_FileStream& stream, CaseTaker& cases)
      : m_stream(stream), m_cases(cases), m_caseSize(Size(cases.Layout().NominalCaseSize()) * sizeof(OBS)) {}

  std::optional<CaseFault> Verify() {
    const std::size_t rest = m_cases.WantsCases() ? TakeAll() : CountAll();
    if (!m_stream.Good())
      return CaseFault{Byte(rest), "the file cannot be read" + SystemReason(m_stream.Error()), true};
    if (rest != 0) return CaseFault{Byte(rest), "the file ends inside a case", false};
    return std::nullopt;
  }

 private:
  long Byte(std::size_t rest) const { return m_stream.Tell() - static_cast<long>(rest); }

  // Both return how many bytes they have read of a case that is not whole.
  std::size_t TakeAll() {
    while (true) {
      const std::size_t read = m_stream.Read(m_cases.Raw(), m_caseSize);
      if (read != m_caseSize) return read;
      if (const bool* const isNumber = m_cases.Layout().NumericCellMap())
        for (std::size_t cell = 0; cell < m_caseSize / sizeof(OBS); ++cell)
          if (isNumber[cell]) m_cases.Raw()[cell] = Turned(m_cases.Raw()[cell]);
      m_cases.Take();
    }
  }

  std::size_t CountAll() {
    std::size_t begun = 0;
    while (true) {
      const QUAV_FileStream::Window window = m_stream.Peek(1);
      if (window.Size() == 0) return begun;
      m_stream.Skip(window.Size());
      begun += window.Size();
      m_cases.Count(static_cast<long long>(begun / m_caseSize));
      begun %= m_caseSize;
    }
  }

  QUAV_FileStream& m_stream;
  CaseTaker& m_cases;
  std::size_t m_caseSize;
};

}  // namespace

std::optional<CaseFault> VerifyPlainCases(QUAV_FileStream& stream, CaseTaker& cases) {
  return PlainCases(stream, cases).Verify();
}

// ---- Case codes ----

std::optional<CaseFault> VerifyCodedCases(QUAV_FileStream& stream, GroupReader& reader, CaseTaker& cases) {
  try {
    if (cases.WantsCases()) {
      while (reader.Read(cases.Raw(), cases.Layout().NumericCellMap()) != 0) cases.Take();
      return std::nullopt;
    }
    long long skipped = kCasesAtOnce;
    while (skipped == kCasesAtOnce) {
      skipped = 0;
      try {
        reader.SkipCases(kCasesAtOnce, skipped);
      } catch (const SystemFileException&) {
        cases.Count(skipped);
        throw;
      }
      cases.Count(skipped);
    }
    return std::nullopt;
  } catch (const SystemFileException& fault) {
    const std::string text = fault.System() ? "the cases cannot be read" + SystemReason(fault.Errno())
                             : reader.AtEnd() && fault.Expression() == "iCell == 0"
                                 ? std::string("the cases end inside a case")
                                 : std::string("the cases end inside a group of case codes");
    return CaseFault{reader.GroupStart(), text, !stream.Good()};
  }
}
