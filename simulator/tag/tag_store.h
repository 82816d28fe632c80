/// Where tags are kept: one readable JSON file for each port address.
///
///   {
///     "port_address": "USB001", "killed": false,
///     "crc": "3CF7", "pc": "3000", "epc": "0000 0000 0000 0000 0000 0000",
///     "banks": {"reserved": "0000 0000 0000 0000", "epc": ..., "tid": ..., "user": ...},
///     "locks": {"kill_password": "unlocked", ..., "user": "locked-forever"},
///     "permalocked_user_blocks": [0, 1]
///   }
///
/// The banks are what counts when a file is read; port_address, crc, pc and epc are there for
/// people.
#pragma once

#include <string>

#include "simulator/tag/tag.h"
#include "simulator/tag/text.h"

namespace Simulator {

/// The name of the state: "unlocked", "unlocked-forever", "locked" or "locked-forever".
const char* LockStateName(LockState state);
/// "kill_password", "access_password", "epc", "tid" or "user".
const char* LockFieldName(LockField field);

/// The file's path. Characters other than letters, digits, '-', '_' and '.' are written as '%' and
/// two digits for each byte of their UTF-8 form, and so is the first character of an address that
/// would meet a file of another meaning.
WideText TagFilePath(WideView portAddress);

/// The tag at `portAddress`; a blank one while nothing has been stored. Throws std::runtime_error
/// when the file cannot be read or is damaged.
Tag LoadTag(WideView portAddress);
/// Throws std::runtime_error.
void SaveTag(WideView portAddress, const Tag& tag);

}  // namespace Simulator
