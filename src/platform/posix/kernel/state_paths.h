/// Where the layer keeps its state, and how Windows paths lie over the file system.
#pragma once

#include <string>
#include <string_view>

#include "platform/posix/api/base.h"

namespace platform {

/// $TAGWRIGHT_ROOT, else $XDG_STATE_HOME/tagwright, else ~/.local/state/tagwright; created on first
/// use, without a trailing slash. Read once per process.
const std::string& StateRootPath();

/// `name` as a folder under the state root, created when missing (mode 0777 less the umask).
std::string StateFolder(const std::string& name);

/// C:\x is drive_c/x under the state root, Z:\x is /x, other drives fail; a path that starts with a
/// separator is on Z:, a relative one stays relative. False with the last error set when the path
/// cannot be expressed.
bool ToNativePath(LPCWSTR windowsPath, std::string& nativePath);

/// The Windows form of an absolute native path: under drive_c as C:\..., else Z:\...
std::u16string ToWindowsPath(std::string_view nativePath);

}  // namespace platform
