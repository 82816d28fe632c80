/// What the layer reads from security descriptors.
#pragma once

#include "platform/posix/api/base.h"

namespace platform {

/// Whether the descriptor grants Everyone (WD) reading and writing. False for null attributes, a
/// null descriptor and one that is not of this layer.
bool GrantsEveryone(const SECURITY_ATTRIBUTES* attributes);

}  // namespace platform
