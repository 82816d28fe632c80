/// The registry, kept in registry.db (SQLite) under the state root and shared by every process that
/// uses the root. Key and value names ignore letter case and keep the case they were created with.
///
/// Every call returns its error. Besides those named below: ERROR_INVALID_HANDLE for a handle that
/// is no open key, ERROR_KEY_DELETED for a key that was deleted while it was open, ERROR_BADDB for
/// a damaged or foreign registry.db, ERROR_REGISTRY_IO_FAILED when the file cannot be used
/// otherwise (another process keeps it locked, for instance; waiting for it costs three seconds in
/// all, until it is free again). The first such failure is told on standard error.
///
/// A `subKey` is a path below the key, components separated by backslashes: one that starts with a
/// backslash is ERROR_BAD_PATHNAME, a component of more than 255 characters
/// ERROR_INVALID_PARAMETER, an empty path the key itself. A null or empty value name is the key's
/// default value.
#pragma once

#include "platform/posix/api/base.h"

inline const HKEY HKEY_CLASSES_ROOT = reinterpret_cast<HKEY>(std::uintptr_t{0x80000000U});
inline const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(std::uintptr_t{0x80000001U});
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::uintptr_t{0x80000002U});
inline const HKEY HKEY_USERS = reinterpret_cast<HKEY>(std::uintptr_t{0x80000003U});

constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_SET_VALUE = 0x0002;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;
constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
constexpr DWORD REG_CREATED_NEW_KEY = 1;
constexpr DWORD REG_OPENED_EXISTING_KEY = 2;
constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;

using PHKEY = HKEY*;

/// Opens a key for the rights of `access`; `options` 0 only. ERROR_FILE_NOT_FOUND without such a
/// key, ERROR_ACCESS_DENIED for the right to change a registry that this user may only read.
LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);

/// Opens a key, making what is missing of its path. `reserved` 0, `className` null and `options`
/// REG_OPTION_NON_VOLATILE only, else ERROR_INVALID_PARAMETER; `attributes` are not looked at.
/// `disposition` may be null.
LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR className, DWORD options,
                        REGSAM access, const SECURITY_ATTRIBUTES* attributes, PHKEY result,
                        LPDWORD disposition);

/// Reads a value; `dataSize` is the room at `data` in bytes and becomes the size of the value. With
/// `data` null the call tells type and size alone. ERROR_MORE_DATA when the room is too small:
/// `data` is untouched then. ERROR_ACCESS_DENIED for a handle without KEY_QUERY_VALUE.
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD dataSize);

/// Stores `dataSize` bytes as they are. ERROR_ACCESS_DENIED for a handle without KEY_SET_VALUE.
LSTATUS RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD dataSize);
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR valueName);

/// Deletes a key without subkeys, whatever the rights of `key`; ERROR_ACCESS_DENIED while it has
/// some.
LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey);

/// The roots need no closing; closing one succeeds.
LSTATUS RegCloseKey(HKEY key);
