// The rows of an ArrowArrayStream as cases, one by one, for programs that do more with them than to store them all.
//
//   ArrowCases cases(&stream);
//   const std::unique_ptr<SystemFileDataSource> dictionary = cases.TakeDictionary();
//   while (const OBS* cells = cases.Next()) use(cells);
//
// ArrowImport.h says what becomes of types, values and metadata, and what is refused.
//
// Threads: one thread at a time for each object.

#ifndef DATASRC_ARROWCASES_H
#define DATASRC_ARROWCASES_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "datasrc/ArrowAbi.h"
#include "datasrc/ArrowImport.h"
#include "datasrc/Obs.h"
#include "datasrc/SystemFileDataSource.h"

struct ArrowCasesOptions {
  std::string dictionary = {};  // as in ArrowWriteOptions; only for cases with a dictionary of their own
  bool roundTimes = false;      // as in ArrowWriteOptions
  bool isSecret = true;         // enciphers the temp file in which rows wait until the widths of texts are known
  // Returns the names of the variables for those of the columns. A name that becomes another is the label of its variable.
  // Without it, a name that no variable can have is refused.
  std::function<std::vector<std::string>(const std::vector<std::string>&)> rename = {};
};

class DATASRC_API ArrowCases {
 public:
  // Cases with a dictionary of their own. Takes the stream, and reads it to its end when the width of a text is not known
  // before. Throws as WriteArrowStream does.
  explicit ArrowCases(ArrowArrayStream* stream, const ArrowCasesOptions& options = {});
  // Cases in the layout of `stored`, a dictionary that outlives this object. The stream has a column for each of its
  // variables, in any order. `shown` is the same dictionary with its text in UTF-8, for names and labels, and `encoding`
  // that of the text in the cases.
  ArrowCases(ArrowArrayStream* stream, const QUAV_DataSource& shown, const QUAV_DataSource& stored,
             const std::string& encoding, const ArrowCasesOptions& options = {});
  ~ArrowCases();
  ArrowCases(const ArrowCases&) = delete;
  ArrowCases& operator=(const ArrowCases&) = delete;

  // Returns the dictionary, without a file and in UTF-8, of cases that have one of their own; null after the first time.
  std::unique_ptr<SystemFileDataSource> TakeDictionary();
  // Returns the next case, which is valid until the next call; null at the end. Throws ArrowImportError, and
  // QuavServerError for faults of the temp file.
  const OBS* Next();
  // Returns how many rows were read from the stream.
  long long RowsRead() const;
  // Returns what the caller should know, for example of time zones, in plain English.
  const std::vector<std::string>& Notes() const;

 private:
  struct DATASRC_LOCAL Data;

  std::unique_ptr<Data> m_;
};

#endif
