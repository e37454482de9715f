// The password cache: the keys of files, so that reopening a file does not make its key again.
//
// Making a key takes some tenths of a second, on purpose. StatCrypt announces the key of each file that it deciphers,
// tries to decipher or enciphers, under the file's name. The cache finds an announced key as long as the key has an
// owner; it finds a stored one until it is removed. It finds only the key of exactly that password and that header,
// whatever the name: a copy of a file has the file's header, and so its key.
//
// Threads: any.

#ifndef PLATFORM_CIPHER_PASSWORDCACHE_H
#define PLATFORM_CIPHER_PASSWORDCACHE_H

#include <memory>
#include <string>
#include <string_view>

#include "Platform/cipher/FileKey.h"

// Stores the key that was announced last for the file with this name. Does nothing when that key has no owner any
// more. Call it when a written file is closed. The function ignores both numbers.
void TestAndStoreToPes(const char* name, int kind, int flags);
// Removes the stored key of this name. Call it when a data source on the file is destroyed.
void RemoveFromPesCache(const char* name);

// Returns null when the cache has no such key.
std::shared_ptr<const FileKey> FindFileKey(std::string_view password, const CipherHeader& header);
void AnnounceFileKey(const std::string& name, const std::shared_ptr<const FileKey>& key);

#endif
