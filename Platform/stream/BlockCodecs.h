// The functions that each library of BlockCodec.h offers. Only those of libraries that the build found are defined.

#ifndef PLATFORM_STREAM_BLOCKCODECS_H
#define PLATFORM_STREAM_BLOCKCODECS_H

#include <cstdint>
#include <memory>
#include <span>

#include "Platform/stream/BlockCodec.h"

std::unique_ptr<BlockDeflater> MakeZlibDeflater();
std::unique_ptr<BlockInflater> MakeZlibInflater();
std::uint32_t ZlibChecksum(std::span<const std::byte> bytes, std::uint32_t before);

std::unique_ptr<BlockDeflater> MakeLibdeflateDeflater();
std::unique_ptr<BlockInflater> MakeLibdeflateInflater();
std::uint32_t LibdeflateChecksum(std::span<const std::byte> bytes, std::uint32_t before);

std::unique_ptr<BlockDeflater> MakeIsalDeflater();

#endif
