/// The parent, as the processes family sees it; see platform/parent_process.h.
///
/// Linux gives a process whose parent has ended a new parent, so whoever asks later cannot learn
/// that the first one has gone. The layer asks when it is loaded, before any code of the program
/// runs, and holds the parent from then on.
#pragma once

#include <sys/types.h>

#include "platform/posix/kernel/unique_fd.h"

namespace platform {

/// The parent's id, also after its end; 0 when it is in another process namespace.
pid_t ParentId();

/// A pidfd of the parent, which may have ended since the layer was loaded; none, with errno ESRCH,
/// when it had ended before that.
UniqueFd OpenParent();

}  // namespace platform
