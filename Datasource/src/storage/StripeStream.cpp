#include "storage/StripeStream.h"

#include <string_view>

#include "datasrc/ZCompressed_FileStream.h"
#include "datasrc/zcmpsSort_FileStream.h"

namespace {

template <class Stream>
std::unique_ptr<QUAV_FileStream> Make(std::optional<bool> encrypt) {
  if (encrypt) return std::make_unique<Stream>(*encrypt);
  return std::make_unique<Stream>();
}

template <class Stream>
std::unique_ptr<QUAV_FileStream> Copy(const QUAV_FileStream& stream) {
  return std::make_unique<Stream>(static_cast<const Stream&>(stream));
}

}  // namespace

StripeKind StripeKindOf(const char* prefix, bool compressed) {
  const std::string_view text = prefix;
  if (!compressed || text == "xfrm") return kStripePlain;
  return text == "sort" || text == "merge" ? kStripeSort : kStripeZlib;
}

std::unique_ptr<QUAV_FileStream> MakeStripe(StripeKind kind, std::optional<bool> encrypt) {
  if (kind == kStripeZlib) return Make<ZCompressed_FileStream>(encrypt);
  if (kind == kStripeSort) return Make<zcmpsSort_FileStream>(encrypt);
  return Make<QUAV_FileStream>(encrypt);
}

std::unique_ptr<QUAV_FileStream> CopyStripe(StripeKind kind, const QUAV_FileStream& stream) {
  if (kind == kStripeZlib) return Copy<ZCompressed_FileStream>(stream);
  if (kind == kStripeSort) return Copy<zcmpsSort_FileStream>(stream);
  return Copy<QUAV_FileStream>(stream);
}

bool StripeHasWindow(StripeKind kind) { return kind == kStripePlain; }

unsigned long MostAtOnce(StripeKind kind) { return kind == kStripeZlib ? ZCompressed_FileStream::kBufferSize : ~0UL; }

bool StripeIsRewritable(StripeKind kind) { return kind == kStripePlain; }
