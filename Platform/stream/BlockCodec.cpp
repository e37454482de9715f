#include "Platform/stream/BlockCodec.h"

#include "Platform/stream/BlockCodecs.h"

const std::vector<BlockLibrary>& DeflatingLibraries() {
  static const std::vector<BlockLibrary> libraries{
#ifdef DATASRC_HAS_ISAL
      BlockLibrary::isal,
#endif
#ifdef DATASRC_HAS_LIBDEFLATE
      BlockLibrary::libdeflate,
#endif
      BlockLibrary::zlib};
  return libraries;
}

const std::vector<BlockLibrary>& InflatingLibraries() {
  static const std::vector<BlockLibrary> libraries{
#ifdef DATASRC_HAS_LIBDEFLATE
      BlockLibrary::libdeflate,
#endif
      BlockLibrary::zlib};
  return libraries;
}

std::unique_ptr<BlockDeflater> MakeBlockDeflater([[maybe_unused]] BlockLibrary library) {
#ifdef DATASRC_HAS_ISAL
  if (library == BlockLibrary::isal) return MakeIsalDeflater();
#endif
#ifdef DATASRC_HAS_LIBDEFLATE
  if (library == BlockLibrary::libdeflate) return MakeLibdeflateDeflater();
#endif
  return MakeZlibDeflater();
}

std::unique_ptr<BlockInflater> MakeBlockInflater([[maybe_unused]] BlockLibrary library) {
#ifdef DATASRC_HAS_LIBDEFLATE
  if (library == BlockLibrary::libdeflate) return MakeLibdeflateInflater();
#endif
  return MakeZlibInflater();
}

std::uint32_t BlockChecksum(std::span<const std::byte> bytes, std::uint32_t before) {
#ifdef DATASRC_HAS_LIBDEFLATE
  return LibdeflateChecksum(bytes, before);
#else
  return ZlibChecksum(bytes, before);
#endif
}
