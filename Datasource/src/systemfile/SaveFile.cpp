#include "datasrc/SaveFile.h"

#include <memory>

#include "Platform/Assert.h"
#include "datasrc/QUAV_InputCaseIterator.h"

namespace {

void CopyCases(const QUAV_DataSource& source, SystemFileDataSource& file) {
  const std::unique_ptr<QUAV_InputCaseIterator> pIter(source.MakeIterator(nullptr));
  QUAV_ASSERT(pIter.get(), "pIter.get()");
  const OBS* const cells = pIter->GetObsPointer(0);
  while (pIter->Next() != 0) file.AddRow(cells);
}

}  // namespace

SaveFile::~SaveFile() = default;

QUAV_InputCaseIterator* SaveFile::MakeIterator(OBS*) const {
  QUAV_ASSERT(false, "0 && \"SaveFile::MakeIterator called\"");
  return nullptr;
}

void SaveSystemFile(const char* fileName, const QUAV_DataSource& source, int compress) {
  SystemFileDataSource file;
  file.CopyDictionary(source);
  file.SetCompression(compress != 0);
  file.SetFileSpec(fileName);
  file.CommitDictionary();
  CopyCases(source, file);
  file.Close();
}
