/// Whom the layer's files are for.
#pragma once

#include <sys/types.h>

namespace platform {

/// Default security: the owner alone.
constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateFolder = 0700;
/// What a security descriptor opens to everyone.
constexpr mode_t kFileForEveryone = 0666;

}  // namespace platform
