// Which version of a kernel runs. Each kernel has a plain version, which defines the result, and faster ones, some of
// which need a processor that can run them.
//
//   plain      the truth
//   portable   fast on any processor
//   avx2       core/Avx2.h
//   avx512     core/Avx512.h
//
// The environment variable DATASRC_KERNELS names the version to use, so that a test can run each of them on one
// machine. Without it, and with a name that is none of these, the fastest is used. A version that the processor cannot
// run, or that a kernel does not have, is replaced by the next slower one.
//
// Threads: functions without state, but the environment is read once, by the first call of ChosenKernels.

#ifndef DATASRC_SRC_CORE_KERNELS_H
#define DATASRC_SRC_CORE_KERNELS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

enum class KernelVersion { plain, portable, avx2, avx512 };

inline constexpr std::size_t kKernelVersions = 4;
inline constexpr char kKernelsVariable[] = "DATASRC_KERNELS";

// Returns the fastest version that this processor can run.
KernelVersion BestKernels();
// Returns the version that `name` asks for, but none faster than `best`; `best` when the name is null or unknown.
KernelVersion KernelsByName(const char* name, KernelVersion best);
// Returns the version that this process uses. The first call decides.
KernelVersion ChosenKernels();

// The versions of a kernel in the order of KernelVersion; null where there is none. The plain one always exists.
template <class Kernel>
using KernelTable = std::array<Kernel*, kKernelVersions>;

// Returns all versions that this processor can run, the fastest last.
template <class Kernel>
std::vector<Kernel*> Runnable(const KernelTable<Kernel>& versions) {
  std::vector<Kernel*> result(versions.begin(), versions.begin() + static_cast<int>(BestKernels()) + 1);
  std::erase(result, nullptr);
  return result;
}

// Returns the version to use.
template <class Kernel>
Kernel* Chosen(const KernelTable<Kernel>& versions) {
  auto version = static_cast<std::size_t>(ChosenKernels());
  while (versions[version] == nullptr) --version;
  return versions[version];
}

#endif
