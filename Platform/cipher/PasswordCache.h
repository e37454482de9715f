// The password cache: the keys of files, so that a file that is opened again need not make its key again.
//
// To make a key takes some tenths of a second, by intent. Whoever deciphers or enciphers a file announces its key under
// the file's name. An announced key is found as long as somebody has it; one that is stored is found until it is
// removed. What is found is only ever the key of exactly that password and that header.
//
// Threads: any.

#ifndef PLATFORM_CIPHER_PASSWORDCACHE_H
#define PLATFORM_CIPHER_PASSWORDCACHE_H

#include <memory>
#include <string>
#include <string_view>

#include "Platform/cipher/FileKey.h"

// Keeps the key that was announced last for the file of that name, if anybody still has it; else there is nothing to
// keep. Called when a written file is closed. The two numbers are the caller's and are not looked at.
void TestAndStoreToPes(const char* name, int kind, int flags);
// Forgets what is kept for the name. Called when a data source on the file goes.
void RemoveFromPesCache(const char* name);

// Null when there is none.
std::shared_ptr<const FileKey> FindFileKey(const std::string& name, std::string_view password,
                                           const CipherHeader& header);
void AnnounceFileKey(const std::string& name, const std::shared_ptr<const FileKey>& key);

#endif
