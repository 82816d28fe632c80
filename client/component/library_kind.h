/// What a file is to the loaders of the systems that there are.
#pragma once

#include <string>

namespace Tagwright {

/// A file that no system loads.
inline constexpr const char* kNoLibrary = "no library";

/// "Linux, x86-64", "Windows, 32 bits" and so on, of a library or a program; kNoLibrary for
/// anything else. `path` as people write it. Throws std::runtime_error when it cannot be read.
std::string LibraryKind(const std::string& path);

/// The kind of this program, and of the libraries that it can load.
std::string OwnLibraryKind();

}  // namespace Tagwright
