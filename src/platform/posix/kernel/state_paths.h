/// Where the layer keeps its state, and how Windows paths lie over the file system.
///
/// What lies under the state root is its owner's alone (0700, 0600), whatever the umask is: a
/// registry that others could write would name the libraries that this process loads. Shared
/// folders are the exception. Others may pass through them (0711) to the pipes and mutexes whose
/// descriptors admit them, and nothing that a process finds there is trusted.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/api/base.h"

namespace platform {

/// The state root without a trailing slash, created on first use: $TAGWRIGHT_ROOT, else
/// $XDG_STATE_HOME/tagwright, else ~/.local/state/tagwright. Read once per process.
///
/// A root that another user owns, that its group or others may write, or that is no folder and can
/// be made none ends the process with exit code 78 (EX_CONFIG) and a line on standard error.
const std::string& StateRootPath();

/// A folder behind all folders that lead to it, from the outermost one on.
std::vector<std::string> FoldersTo(const std::string& path);

/// `name` as a private folder under the state root, created when missing.
std::string StateFolder(const std::string& name);

/// The path of a shared folder or of something in it. The root may be another user's here.
std::string SharedStatePath(const std::string& name);
/// Creates a shared folder, or gives the mode of one to it. Whoever uses the folder reports that it
/// is missing.
void MakeSharedStateFolder(const std::string& name);

/// C:\x is drive_c/x under the state root, Z:\x is /x, other drives fail; a path that starts with a
/// separator is on Z:, a relative one stays relative. A system error code for a path that cannot be
/// expressed.
DWORD NativePathOf(LPCWSTR windowsPath, std::string& nativePath);

/// The Windows form of an absolute native path: under drive_c as C:\..., else Z:\... Names may hold
/// what Windows' cannot: a backslash, and bytes that are not UTF-8, become characters of the
/// private use area (U+F000 and the byte), and NativePathOf makes them what they were.
std::u16string ToWindowsPath(std::string_view nativePath);

}  // namespace platform
