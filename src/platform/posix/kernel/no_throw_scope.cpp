#include "platform/posix/kernel/no_throw_scope.h"

namespace platform {

constinit thread_local ScopeDepth t_noThrowDepth;

bool IsInNoThrowScope() { return t_noThrowDepth.Get() != 0; }

}  // namespace platform
