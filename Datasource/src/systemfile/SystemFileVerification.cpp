#include "datasrc/SystemFileVerification.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <utility>

#include "Platform/AssertionsThrow.h"
#include "Platform/stream/StreamBeneath.h"
#include "Platform/text/QUAVMB.h"
#include "core/systemfileformat.h"
#include "datasrc/DSDocument.h"
#include "datasrc/VariableSet.h"
#include "storage/CryptCheck.h"
#include "systemfile/CaseVerifier.h"
#include "systemfile/DictionaryFindings.h"
#include "systemfile/DictionaryReader.h"
#include "systemfile/SystemFileException.h"
#include "systemfile/ZlibVerifier.h"

namespace {

constexpr char kRestUnread[] = ": the rest of the file is not verified";

std::string CatalogText(int number) { return static_cast<const char*>(QuavServerErrorText(kDatasrcCatalog, number)); }

std::string TestText(const std::string& expression) { return " (\"" + expression + "\" does not hold)"; }

// A dictionary that is read from any stream, and has no file.
class VerifiedDictionary : public SystemFileDataSource {
 public:
  void NoteNCasesLoc() override {}
};

// The name of the encoding of the text, as SystemFileDataSource::CharacterEncoding gives it.
std::string EncodingOf(const SystemFileOptions& options) {
  std::array<char, kCodePageNameSize> name;
  if (QUAVMBCpNameFromNum_A(name.data(), options.characterCode)) return name.data();
  return QUAVMBDefaultCodePage();
}

void MakeNamesLowerCase(QUAV_DataSource& source) {
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
    QUAV_Variable& variable = source.GetVariable(column);
    std::array<char, kMaxVariableName> lower;
    const int length = QUAVMBMvLower_A(lower.data(), kMaxVariableName, variable.GetName(), -1, nullptr);
    variable.SetName(lower.data(), static_cast<unsigned int>(length));
  }
}

// ---- The dictionary ----

class DictionaryVerifier {
 public:
  DictionaryVerifier(QUAV_FileStream& file, const std::string& encoding) : m_file(file), m_encoding(encoding) {}

  // Returns whether all of it was read: the cases come next in the stream.
  bool Read(VerifiedFile& result) {
    m_options.findings = &m_findings;
    const bool isRead = ReadRecords();
    if (isRead) {
      NameVariables();
      AskForMetadata();
    }
    for (const DictionaryFindings::Finding& finding : m_findings.Kept())
      (finding.isFault ? result.faults : result.warnings)
          .push_back({finding.number, finding.text, finding.place, finding.place.offset >= kHeaderSize, -1});
    if (m_findings.Dropped() != 0)
      result.warnings.push_back(
          {kMalformed, "findings that are not listed: " + std::to_string(m_findings.Dropped()), {}});
    return isRead;
  }

  SystemFileOptions& Options() { return m_options; }
  VerifiedDictionary& Source() { return m_source; }
  const FilePlace& CaseCountPlace() const { return m_findings.CaseCountPlace(); }
  const std::string& Loss() const { return m_loss; }

 private:
  bool ReadRecords() {
    TestMagic(m_file);
    m_reader.emplace(m_source, m_options, m_file);
    try {
      const AssertionsThrow scope;
      m_reader->Read();
      return true;
    } catch (const SystemFileException& fault) {
      m_findings.SetPlace(fault.Place());
      const std::string reason = fault.System() ? SystemReason(fault.Errno()) : TestText(fault.Expression());
      m_findings.Fault(fault.Number(), CatalogText(fault.Number()) + reason + kRestUnread);
    } catch (const AssertionFailure& failure) {
      m_findings.SetPlace(m_reader->Place());
      m_findings.Fault(kMalformed, CatalogText(kMalformed) + TestText(failure.Text()) + kRestUnread);
    }
    return false;
  }

  void NameVariables() {
    std::vector<std::string> names;
    for (int column = 0; column < static_cast<int>(m_source.ColumnCount()); ++column)
      names.emplace_back(m_source.GetVariable(column).GetName());
    Ask([this] { SystemFileDataSource::FixVarNames(m_source); }, m_reader->NamesPlace(), "the names of the variables");
    m_findings.SetPlace(m_reader->NamesPlace());
    for (int column = 0; column < static_cast<int>(m_source.ColumnCount()); ++column) {
      const char* const name = m_source.GetVariable(column).GetName();
      if (names[static_cast<std::size_t>(column)] != name)
        m_findings.Note(kNamesRepaired, "the name of variable " + std::to_string(column + 1) +
                                            " is not allowed, or is that of another: it is read as " + name);
    }
    if (!m_options.hasLongNames) MakeNamesLowerCase(m_source);
  }

  // What callers ask for. A part that would end the process is left out of the dictionary.
  void AskForMetadata() {
    if (Ask([this] { GetDocuments(m_source); }, m_reader->DocumentsPlace(), "the documents"))
      m_source.SetExtension(kDocumentExtension, 1, 0, nullptr);
    const auto askForSets = [this](VarSetsType kind) {
      for (const VariableSet& set : VariableSets(m_source, kind)) {
        set.GetVariableNames(VariableSet::kLowerCase);
        set.GetVariableNames(VariableSet::kUpperCase);
      }
    };
    if (Ask([&] { askForSets(kPlainSets); }, m_reader->Place(), "the variable sets")) m_source.SetVariableSets({});
    if (Ask([&] { askForSets(kMRSets); }, m_reader->Place(), "the multiple response sets")) m_source.SetMRSets({});
    if (Ask([this] { m_source.GetTrendsInfo().Validate(); }, m_reader->Place(), "the trends"))
      m_source.GetTrendsInfo() = QUAV_TrendsInfo();
  }

  // Returns whether the work failed an assertion, which becomes a fault.
  template <class Work>
  bool Ask(const Work& work, const FilePlace& place, const char* part) {
    try {
      const AssertionsThrow scope;
      work();
      return false;
    } catch (const AssertionFailure& failure) {
      m_findings.SetPlace(place);
      m_findings.Fault(kMalformed, std::string(part) + " cannot be read" + TestText(failure.Text()));
      m_loss = m_loss.empty() ? part : m_loss + ", " + part;
      return true;
    }
  }

  QUAV_FileStream& m_file;
  std::string m_encoding;
  VerifiedDictionary m_source;
  SystemFileOptions m_options;
  DictionaryFindings m_findings;
  std::optional<DictionaryReader> m_reader;
  std::string m_loss;
};

// Returns the encoding that the dictionary gives; that of the process for one that cannot be read.
std::string FindEncoding(QUAV_FileStream& file) {
  VerifiedDictionary source;
  SystemFileOptions options;
  DictionaryFindings findings;
  options.findings = &findings;
  try {
    const AssertionsThrow scope;
    TestMagic(file);
    DictionaryReader(source, options, file).Read();
  } catch (const SystemFileException&) {
    // Deliberate: the second reading reports it.
  } catch (const AssertionFailure&) {
    // Deliberate: likewise.
  }
  return EncodingOf(options);
}

// ---- The whole file ----

class Verification {
 public:
  Verification(const ExtNameStr& file, const ExtNameStr& password, int threads, VerificationVisitor& visitor)
      : m_name(file), m_password(password), m_threads(threads), m_visitor(visitor) {}

  VerifiedFile Run() {
    QUAV_FileStream file;
    if (file.Open(m_name, "rb") == 0) ThrowError::StringSys(kDatasrcCatalog, 1201, m_name.GetGeneric().c_str());
    try {
      m_result.kind = TestMagic(file) == FileKind::encrypted ? VerifiedFile::encrypted : VerifiedFile::systemFile;
    } catch (const SystemFileException& fault) {
      AddFault(fault.Number(), CatalogText(fault.Number()) + (fault.System() ? SystemReason(fault.Errno()) : ""), 0);
      return m_result;
    }
    if (m_result.kind == VerifiedFile::encrypted)
      VerifyEncrypted();
    else
      VerifyContents(file);
    Sort(m_result.faults);
    Sort(m_result.warnings);
    return std::move(m_result);
  }

 private:
  void AddFault(int number, const std::string& text, long long byte, long long row = -1) {
    m_result.faults.push_back({number, text, {.offset = byte}, false, row});
  }

  // Sorts by the place. An unknown one, -1, comes last; findings of one place keep their order.
  static void Sort(std::vector<FileFinding>& findings) {
    std::vector<std::pair<unsigned long long, std::size_t>> order;
    for (const FileFinding& finding : findings)
      order.emplace_back(static_cast<unsigned long long>(finding.place.offset), order.size());
    std::ranges::sort(order);
    std::vector<FileFinding> sorted;
    for (const auto& [place, index] : order) sorted.push_back(std::move(findings[index]));
    findings = std::move(sorted);
  }

  void VerifyEncrypted() {
    if (m_password.Empty()) return AddFault(kEncrypted, CatalogText(kEncrypted), 0);
    std::vector<ChunkFault> chunks;
    const std::unique_ptr<QUAV_FileStream> plain = DecipherGenuine(m_name, m_password, chunks);
    if (!plain) {
      if (errno == EBADMSG) return AddFault(kWrongPassword, CatalogText(kWrongPassword), 0);
      if (errno == ENOLCK) return AddFault(kNoMemoryForKey, CatalogText(kNoMemoryForKey), 0);
      return AddFault(kUnexpectedEnd, "the file cannot be deciphered" + SystemReason(errno), 0);
    }
    m_isCut = !chunks.empty();
    VerifyContents(*plain);
    bool isFirst = true;
    for (const ChunkFault& chunk : chunks) {
      const std::string text = chunk.kind == ChunkFault::lastMissing
                                   ? "the file ends before its last enciphered chunk"
                                   : "the enciphered chunk is damaged: nothing from it on is read";
      AddFault(kUnexpectedEnd, text, chunk.place,
               std::exchange(isFirst, false) && m_hasCases ? m_result.readableCases : -1);
    }
  }

  void VerifyContents(QUAV_FileStream& file) {
    if (file.Seek(0, kSeekFromStart) != 0) return AddFault(kUnexpectedEnd, CatalogText(kUnexpectedEnd), 0);
    if (m_isCut && file.Length() < kHeaderSize) return;
    const std::string encoding = FindEncoding(file);
    file.Seek(0, kSeekFromStart);
    // Names are tested in their own encoding.
    const SystemFileDataSource::TemporaryCodePage codePage(encoding, QUAVMBqSameCodePage(encoding.c_str(), kUtf8Name));
    DictionaryVerifier dictionary(file, encoding);
    if (!dictionary.Read(m_result)) {
      // The end of a cut file is no fault of its own.
      if (m_isCut)
        std::erase_if(m_result.faults, [](const FileFinding& fault) { return fault.number == kUnexpectedEnd; });
      return;
    }
    VerifyCases(file, dictionary, encoding);
  }

  void VerifyCases(QUAV_FileStream& file, DictionaryVerifier& dictionary, const std::string& encoding) {
    SystemFileOptions& options = dictionary.Options();
    VerifiedDictionary& source = dictionary.Source();
    m_result.declaredCases = options.numberOfCases;
    source.CharacterEncoding(encoding);
    source.EyeCatcher(options.eyeCatcher);
    source.SetPassword(m_result.kind == VerifiedFile::encrypted ? m_password : ExtNameStr());
    source.SetCompressionLevel(options.compression);
    source.RowCount(options.numberOfCases);
    source.SetFileSpec(m_name);
    if (source.ColumnCount() == 0) return;
    if (options.layout.NominalCaseSize() <= 0)
      return AddFault(kMalformed, "the variables come after other records: the cases cannot be read", file.Tell());
    const bool isZlib = options.compression == kCompressionZlib;
    const bool isKnown = options.compression == kCompressionNone || options.compression == kCompressionByteCodes ||
                         (isZlib && m_result.kind == VerifiedFile::systemFile);
    if (!isKnown) return AddFault(kUnknownCompression, CatalogText(kUnknownCompression), kCompressionOffset);
    LongTextCheck check(source, encoding);
    CaseTaker cases(options.layout, check, m_visitor, m_visitor.Dictionary(source, dictionary.Loss()));
    m_hasCases = true;
    if (isZlib)
      ZlibVerifier(StreamBeneath(file).GetFile(), file.Tell(), options.Order(), m_threads, m_result).Verify(cases);
    else
      VerifyStream(file, options, cases);
    Conclude(dictionary);
    AddTextWarning(check, encoding);
  }

  void AddTextWarning(const LongTextCheck& check, const std::string& encoding) {
    if (check.Count() == 0) return;
    // After missing cases, a row is not known by counting.
    const bool isRow = m_result.missing.empty() || check.FirstRow() < m_result.missing.front().from;
    m_result.warnings.push_back({kLostToUtf8,
                                 "values of strings wider than 255 bytes with bytes that are no text in " + encoding +
                                     ": " + std::to_string(check.Count()),
                                 {},
                                 false,
                                 isRow ? check.FirstRow() : -1});
  }

  void VerifyStream(QUAV_FileStream& file, const SystemFileOptions& options, CaseTaker& cases) {
    std::optional<CaseFault> fault;
    if (options.compression == kCompressionNone) {
      fault = VerifyPlainCases(file, cases);
    } else {
      GroupReader reader(file, options.layout.NominalCaseSize());
      fault = VerifyCodedCases(file, reader, cases);
    }
    m_result.readableCases = cases.Cases();
    // A chunk is the reason, and has a fault.
    if (fault && !m_isCut) AddFault(kUnexpectedEnd, fault->text, fault->byte, m_result.readableCases);
    if (fault || m_isCut) m_result.missing.push_back({m_result.readableCases, -1});
  }

  // Sets the number of cases, and compares it with the declared one.
  void Conclude(const DictionaryVerifier& dictionary) {
    const bool hasTail = !m_result.missing.empty() && m_result.missing.back().to >= 0;
    m_result.cases = hasTail ? m_result.declaredCases : m_result.readableCases;
    if (m_result.declaredCases < 0) return;
    // What comes after the last case that the file counts is none.
    if (m_result.declaredCases == m_result.readableCases) m_result.missing.clear();
    if (m_result.declaredCases == m_result.cases) return;
    // What is missing at the end is what the file counts. One that was cut between two cases has no other fault.
    if (m_result.missing.empty() && m_result.declaredCases > m_result.readableCases)
      m_result.missing.push_back({m_result.readableCases, -1});
    if (!m_result.missing.empty() && !m_result.missing.back().isWithin &&
        m_result.declaredCases > m_result.missing.back().from)
      m_result.missing.back().to = m_result.declaredCases;
    const std::string text = "the file counts " + std::to_string(m_result.declaredCases) + " cases, but " +
                             std::to_string(m_result.readableCases) + " were found";
    FileFinding fault{kMalformed, text, dictionary.CaseCountPlace(), true, -1};
    if (!fault.place.IsKnown()) fault = {kMalformed, text, {.offset = kHeaderCaseCountOffset}, false, -1};
    m_result.faults.push_back(std::move(fault));
  }

  ExtNameStr m_name;
  ExtNameStr m_password;
  int m_threads;
  VerificationVisitor& m_visitor;
  VerifiedFile m_result;
  bool m_isCut = false;     // the plain contents end at a damaged chunk
  bool m_hasCases = false;  // the cases were reached
};

}  // namespace

VerifiedFile VerifySystemFile(const ExtNameStr& file, const ExtNameStr& password, int threads,
                              VerificationVisitor& visitor) {
  return Verification(file, password, threads, visitor).Run();
}
