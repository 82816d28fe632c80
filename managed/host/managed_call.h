/// One call of a member as the managed side gets it.
#pragma once

#include <cstdint>

#include "sdk/component_api.h"

namespace Managed {

/// The members in the order of the managed side's enum.
enum class Member : std::int32_t {
  kCreate,
  kDispose,
  kTestManagedCodeAccessible,
  kInitLogging,
  kLogErrorEvent,
  kConnect,
  kDisconnect,
  kWriteEPC,
  kWriteMemory,
  kWriteUserMemory,
  kSetAccessPassword,
  kLockTag,
  kPermalockUserBlock,
  kUnlockTag,
  kSetKillPassword,
  kKillTag,
  kAttach,  ///< Nothing: the first call of a thread makes it one of the runtime's.
};

/// As the managed side declares it. Which numbers there are depends on the member: bank, offset,
/// action, port type, flag or block, in the order of its arguments.
struct ManagedCall {
  Member member = Member::kAttach;
  std::int32_t first = 0;
  std::int32_t second = 0;
  std::int32_t textLength = 0;
  const TagwrightChar* text = nullptr;  ///< The caller's; valid while the caller waits.
  void* object = nullptr;               ///< The runtime's handle; kCreate sets it.
  TagwrightCallResult result{};
};
static_assert(offsetof(ManagedCall, text) == 16 && offsetof(ManagedCall, result) == 32);

/// Runs a call on the calling thread, which the runtime takes in with its first one. It raises no
/// exception of a language.
using RunManaged = void (*)(ManagedCall* call);

}  // namespace Managed
