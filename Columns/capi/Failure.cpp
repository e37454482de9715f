#include "Columns/capi/Failure.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include "Columns/files/FileFailure.h"
#include "Platform/text/Encoding.h"
#include "datasrc/ArrowImport.h"
#include "datasrc/Splits.h"
#include "datasrc/c_api.h"

namespace capi {

namespace {

struct Failure {
  int number = 0;
  // The other texts are empty when there was no memory for them.
  bool isOutOfMemory = false;
  std::string text = {};
  std::string file = {};
  std::string place = {};
};

Failure& OfThisThread() {
  thread_local Failure failure;
  return failure;
}

// Names of files, and of columns that the caller gives, may have any bytes.
int Keep(int result, Failure failure) {
  for (std::string* const text : {&failure.text, &failure.file, &failure.place}) *text = ValidUtf8(*text);
  OfThisThread() = std::move(failure);
  return result;
}

int KeepOutOfMemory() noexcept {
  Failure& failure = OfThisThread();
  failure.number = 0;
  failure.isOutOfMemory = true;
  failure.text.clear();
  failure.file.clear();
  failure.place.clear();
  return DATASRC_ERROR_MEMORY;
}

int KeepPresent() {
  try {
    throw;
  } catch (const QuavServerError& error) {
    return Keep(DATASRC_ERROR_CATALOG, {.number = error.Number(),
                                        .text = error.Text(),
                                        .file = error.File(),
                                        .place = error.Place().IsKnown() ? error.Place().Text() : ""});
  } catch (const ArrowImportError& error) {
    return Keep(DATASRC_ERROR_DATA, {.text = error.what()});
  } catch (const dstext::FileFailure& error) {
    return Keep(DATASRC_ERROR_OTHER, {.text = error.what(), .file = error.File()});
  } catch (const std::invalid_argument& error) {
    return Keep(DATASRC_ERROR_ARGUMENT, {.text = error.what()});
  } catch (const SplitError& error) {
    return Keep(DATASRC_ERROR_SPLIT, {.text = error.what()});
  } catch (const std::bad_alloc&) {
    return KeepOutOfMemory();
  } catch (const std::exception& error) {
    return Keep(DATASRC_ERROR_OTHER, {.text = error.what()});
  } catch (...) {
    return Keep(DATASRC_ERROR_OTHER, {.text = "unknown failure"});
  }
}

}  // namespace

std::string ValidUtf8(std::string_view text) {
  std::string valid;
  quavmb::Encoding::Utf8().ToUtf8(valid, text);
  return valid;
}

int KeepFailure() noexcept {
  try {
    return KeepPresent();
  } catch (...) {
    return KeepOutOfMemory();
  }
}

}  // namespace capi

int datasrc_error_number() { return capi::OfThisThread().number; }

const char* datasrc_error_text() {
  const capi::Failure& failure = capi::OfThisThread();
  return failure.isOutOfMemory ? "out of memory" : failure.text.c_str();
}

const char* datasrc_error_file() { return capi::OfThisThread().file.c_str(); }

const char* datasrc_error_place() { return capi::OfThisThread().place.c_str(); }
