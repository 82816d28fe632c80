/// Files to which several processes append, a line or a few at a time.
#pragma once

#include <string>
#include <string_view>

#include "platform/posix/kernel/unique_fd.h"

namespace platform {

/// Opens the file to append to it, and creates it for its owner alone (0600). Empty with errno set
/// on failure. What has no position is ENOTSUP: a write to a FIFO that its reader has just left
/// would end the process. It does not wait for a FIFO's reader either.
UniqueFd OpenToAppend(const std::string& path);

/// Appends everything, in one write, or nothing: 0 or an errno value. What a full disk took of it
/// is taken back, so that the next line does not continue half of this one.
int AppendWhole(int file, std::string_view bytes);

}  // namespace platform
