#include "datasrc/IndependentDataStore.h"

IndependentDataStore::~IndependentDataStore() = default;

void IndependentDataStore::SetCompression(bool) {}

void IndependentDataStore::SetCompressionLevel(int) {}

void IndependentDataStore::CommitDictionary() {}
