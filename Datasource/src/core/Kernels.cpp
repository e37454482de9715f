#include "core/Kernels.h"

#include <cstdlib>
#include <string_view>

#include "core/Avx2.h"
#include "core/Avx512.h"

namespace {

constexpr std::array<std::string_view, kKernelVersions> kNames = {"plain", "portable", "avx2", "avx512"};

}  // namespace

KernelVersion BestKernels() {
  if (!HasAvx2()) return KernelVersion::portable;
  return HasAvx512() ? KernelVersion::avx512 : KernelVersion::avx2;
}

KernelVersion KernelsByName(const char* name, KernelVersion best) {
  if (name == nullptr) return best;
  const auto found = std::ranges::find(kNames, std::string_view(name));
  if (found == kNames.end()) return best;
  return std::min(static_cast<KernelVersion>(found - kNames.begin()), best);
}

KernelVersion ChosenKernels() {
  static const KernelVersion chosen = KernelsByName(std::getenv(kKernelsVariable), BestKernels());
  return chosen;
}
