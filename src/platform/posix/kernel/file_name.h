/// Object names as file names.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// A file name for `name` (UTF-8): '%', '/' and a leading '.' become % and two hexadecimal digits.
/// A name that would be longer than 200 bytes is cut and gets '~' and a hash of the whole, so it
/// ends up longer than any that is not cut. Different names have different file names.
std::string FileNameFor(const std::string& name);

/// 64-bit FNV-1a.
std::uint64_t HashName(const std::string& name);

/// HashName as 16 lower-case hexadecimal digits.
std::string HashText(const std::string& name);

}  // namespace platform
