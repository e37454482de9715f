#include "datasrc/SystemFileCheck.h"

#include "Platform/AssertionsThrow.h"
#include "datasrc/DSDocument.h"
#include "datasrc/SystemFileDataSource.h"
#include "datasrc/VariableSet.h"
#include "systemfile/DictionaryReader.h"
#include "systemfile/SystemFileException.h"

namespace {

// Takes in a dictionary, and has no file of its own.
class DictionaryOnly : public SystemFileDataSource {
 public:
  void NoteNCasesLoc() override {}
};

// Does the work. Returns the assertion that fails in it, if one does, with the place as it then is.
template <class Work>
std::optional<FatalRecord> AssertionOf(const Work& work, const FilePlace& place) {
  try {
    const AssertionsThrow scope;
    work();
  } catch (const AssertionFailure& failure) {
    return FatalRecord{failure.Text(), place};
  }
  return std::nullopt;
}

void AskForNames(const std::vector<VariableSet>& sets) {
  for (const VariableSet& set : sets) {
    set.GetVariableNames(VariableSet::kLowerCase);
    set.GetVariableNames(VariableSet::kUpperCase);
  }
}

// What callers ask for and the reading has not looked at: all but the documents.
void AskForMetadata(QUAV_DataSource& source) {
  AskForNames(VariableSets(source, kPlainSets));
  AskForNames(VariableSets(source, kMRSets));
  source.GetTrendsInfo().Validate();
}

std::optional<FatalRecord> ReadAndAsk(QUAV_FileStream& file) {
  DictionaryOnly source;
  SystemFileOptions options;
  TestMagic(file);
  DictionaryReader reader(source, options, file);
  auto fatal = AssertionOf([&] { reader.Read(); }, reader.Place());
  if (!fatal) fatal = AssertionOf([&] { SystemFileDataSource::FixVarNames(source); }, reader.Place());
  if (!fatal) fatal = AssertionOf([&] { GetDocuments(source); }, reader.DocumentsPlace());
  if (!fatal) fatal = AssertionOf([&] { AskForMetadata(source); }, reader.Place());
  return fatal;
}

}  // namespace

std::optional<FatalRecord> FindFatalRecord(QUAV_FileStream& file) {
  try {
    return ReadAndAsk(file);
  } catch (const SystemFileException&) {
    return std::nullopt;  // The opening reports it.
  }
}
