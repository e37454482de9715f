#include "datasrc/Settings.h"

#include <cstdlib>

namespace {

constexpr char kOverrideVariable[] = "CACHE_SYNTAX_OVERRIDE";
constexpr int kForbidden = 20;
constexpr long kKilobyte = 1024;

int theAsynchReading = 1;
bool theCompression = false;
long theCache = 0;
long theCacheBufferSize = 0x800000;
long theCacheCompressionMethod = 2;
long theCacheMultithread = 0;

// Returns the first character of the variable, 0 when it is empty; '1', which allows the setting, when it is not set.
char Override() {
  const char* value = std::getenv(kOverrideVariable);
  return value == nullptr ? '1' : *value;
}

}  // namespace

void setasynchreading_(int* value) { theAsynchReading = *value; }

int getasynchreading_() { return theAsynchReading; }

void setOption(int value) { theCompression = value == 1 || value == 3; }

bool getzcompression_() { return theCompression; }

void setzcompression_(int* value, int* status) {
  const char override = Override();
  if (override == '1') setOption(*value);
  *status = override == '0' ? kForbidden : 0;
}

bool getzcompressionoa_() { return Override() == '1'; }

void sethcache_(long* value) { theCache = *value; }

long gethcache_() { return theCache; }

void sethcachebuffersize_(long* value) {
  long bytes = 0;
  if (*value >= 1 && !__builtin_mul_overflow(*value, kKilobyte, &bytes)) theCacheBufferSize = bytes;
}

long gethcachebuffersize_() { return theCacheBufferSize; }

void sethcachecompressionmethod_(long* value) {
  if (0 <= *value && *value <= 2) theCacheCompressionMethod = *value;
}

long gethcachecompressionmethod_() { return theCacheCompressionMethod; }

void sethcachemultithread_(long* value) { theCacheMultithread = *value; }

long gethcachemultithread_() { return theCacheMultithread; }
