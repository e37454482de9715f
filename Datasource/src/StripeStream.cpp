#include "StripeStream.h"

#include <string_view>

StripeKind StripeKindOf(const char* prefix, bool compressed) {
  const std::string_view text = prefix;
  if (!compressed || text == "xfrm") return kStripePlain;
  return text == "sort" || text == "merge" ? kStripeSort : kStripeZlib;
}

std::unique_ptr<QUAV_FileStream> MakeStripe(StripeKind /*kind*/, std::optional<bool> encrypt) {
  return encrypt ? std::make_unique<QUAV_FileStream>(*encrypt) : std::make_unique<QUAV_FileStream>();
}

std::unique_ptr<QUAV_FileStream> CopyStripe(StripeKind /*kind*/, const QUAV_FileStream& stream) {
  return std::make_unique<QUAV_FileStream>(stream);
}

bool StripeHasWindow(StripeKind /*kind*/) { return true; }
