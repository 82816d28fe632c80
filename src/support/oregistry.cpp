#include "support/oregistry.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/scoped_handle.h"

namespace {

struct Prefix {
  const char* text;
  const char* replacement;
};

/// In the order in which they are tried. After one has matched, the path starts with a digit and
/// none matches any more.
constexpr Prefix kPrefixes[] = {
    {"CLASSES_ROOT:", "0:"},
    {"CURRENT_USER:", "1:"},
    {"LOCAL_MACHINE:", "2:"},
    {"USERS:", "3:"},
    {"USER:", "1:SOFTWARE/Brennick/Drivers"},
    {"LOCAL:", "2:SOFTWARE/Brennick/Drivers"},
    {"GLOBAL:", "2:SOFTWARE/Brennick/Drivers/Global Settings"},
    {"CONTROL:", "2:SYSTEM/CurrentControlSet/Control"},
    {"PRINT:", "2:SYSTEM/CurrentControlSet/Control/Print"},
    {"ENUM:", "2:SYSTEM/CurrentControlSet/Enum"},
};

/// A text that fits goes through the stack.
constexpr int kShortTextBytes = 8192;
constexpr int kLongTextBytes = 131072;

void EncodeEscapes(OString& path) {
  path.Replace("%%", "%25");
  path.Replace("//", "%2F");
  path.Replace("::", "%3A");
  path.Replace("\\", "/");
}

template <class Char>
unsigned DigitValue(Char digit) {
  return digit >= '0' && digit <= '9' ? digit - '0' : (digit & 15) + 9;
}

/// One pass, so that what comes out of an escape is not decoded again.
template <class Char>
OString DecodeCharacters(const Char* text, int length) {
  std::basic_string<Char> decoded;
  for (int i = 0; i < length; ++i) {
    if (text[i] == '%' && i < length - 2) {
      const unsigned code = DigitValue(text[i + 1]) * 16 + DigitValue(text[i + 2]);
      decoded += static_cast<Char>(static_cast<BYTE>(code));
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return OString(decoded.c_str());
}

HKEY RootFromNumber(long number) {
  switch (number) {
    case 0:
      return HKEY_CLASSES_ROOT;
    case 1:
      return HKEY_CURRENT_USER;
    case 2:
      return HKEY_LOCAL_MACHINE;
    case 3:
      return HKEY_USERS;
    default:
      return nullptr;
  }
}

}  // namespace

int ORegistry::GetValue(const OString& valuePath, void* buffer, int bufferSize) {
  OString keyPath = _basePath;
  OString valueName = valuePath;
  if (!SplitPath(keyPath, valueName)) return -1;
  const ScopedKey key(OpenKey(keyPath, false));
  if (!key.IsValid()) return -1;

  std::vector<BYTE> bytes(bufferSize);
  DWORD size = bufferSize;
  if (RegQueryValueExW(key.Get(), valueName.wstring(), nullptr, nullptr,
                       bytes.empty() ? nullptr : bytes.data(), &size) != ERROR_SUCCESS) {
    return -1;
  }
  if (!bytes.empty()) std::memcpy(buffer, bytes.data(), std::min<std::size_t>(size, bytes.size()));
  return static_cast<int>(size);
}

int ORegistry::SetValue(const OString& valuePath, const void* data) {
  OString keyPath = _basePath;
  OString valueName = valuePath;
  if (!SplitPath(keyPath, valueName)) return -1;
  const ScopedKey key(OpenKey(keyPath, true));
  if (!key.IsValid()) return -1;

  const LSTATUS result = RegSetValueExW(key.Get(), valueName.wstring(), 0, REG_DWORD,
                                        static_cast<const BYTE*>(data), sizeof(DWORD));
  return result == ERROR_SUCCESS ? static_cast<int>(sizeof(DWORD)) : -1;
}

OString ORegistry::GetString(const OString& valuePath, const OString& defaultValue) {
  // One character more than is asked for stays zero and ends the text.
  WCHAR text[kShortTextBytes / sizeof(WCHAR)] = {};
  if (GetValue(valuePath, text, kShortTextBytes - sizeof(WCHAR)) > 0) return OString(text);

  std::vector<WCHAR> longText(kLongTextBytes / sizeof(WCHAR));
  if (GetValue(valuePath, longText.data(), kLongTextBytes - sizeof(WCHAR)) > 0) {
    return OString(longText.data());
  }
  return defaultValue;
}

void ORegistry::ExpandPath(OString& keyPath) {
  if (keyPath.Find(':') < 0) return;
  for (const Prefix& prefix : kPrefixes)
    ReplaceRootPrefix(keyPath, prefix.text, prefix.replacement);
}

HKEY ORegistry::OpenKey(const OString& keyPath, bool create) {
  constexpr REGSAM kReadWrite = KEY_READ | KEY_WRITE;
  HKEY root = nullptr;
  OString subKey;
  if (!ParseKeyPath(keyPath, root, subKey)) return nullptr;

  HKEY key = nullptr;
  LSTATUS result = RegOpenKeyExW(root, subKey.wstring(), 0, kReadWrite | _extraAccess, &key);
  if (result != ERROR_SUCCESS) {
    // A key that this user may only read can still be read.
    result = RegOpenKeyExW(root, subKey.wstring(), 0, KEY_READ | _extraAccess, &key);
  }
  if (result != ERROR_SUCCESS && create) {
    result = RegCreateKeyExW(root, subKey.wstring(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                             kReadWrite | _extraAccess, nullptr, &key, nullptr);
  }
  return result == ERROR_SUCCESS ? key : nullptr;
}

bool ORegistry::SplitPath(OString& keyPath, OString& valueName) {
  const bool valueGiven = !valueName.IsEmpty();
  EncodeEscapes(keyPath);
  if (valueGiven) EncodeEscapes(valueName);

  OString full = valueName;
  if (valueName.Find(':') <= 0) {
    full = keyPath.TrimRight("/");
    if (valueGiven) {
      if (!full.IsEmpty() && full.Right(1) != ":") full << "/";
      full << valueName;
    }
  }

  const int split = full.ReverseFindOneOf(":/");
  if (split < 0) return false;
  if (valueGiven) {
    const bool atColon = full.Mid(split, 1) == ":";
    keyPath = full.Left(atColon ? split + 1 : split);
    valueName = DecodeEscapes(full.Mid(split + 1));
  } else {
    keyPath = full;
  }
  ExpandPath(keyPath);
  return true;
}

void ORegistry::ReplaceRootPrefix(OString& path, const OString& prefix,
                                  const OString& replacement) {
  if (path.CompareNoCase(prefix) == 0) {
    path = replacement;
    return;
  }
  const int prefixLength = prefix.GetLength();
  if (path.Left(prefixLength).CompareNoCase(prefix) != 0) return;
  const OString remainder = path.Mid(prefixLength);
  const OString last = replacement.Right(1);
  path = replacement;
  if (last != "/" && last != ":") path << "/";
  path << remainder;
}

bool ORegistry::ParseKeyPath(const OString& keyPath, HKEY& root, OString& subKey) {
  root = nullptr;
  const int colon = keyPath.Find(':');
  if (colon <= 0) return false;
  OString path = keyPath.Mid(colon + 1);
  path.Replace("/", "\\");
  subKey = DecodeEscapes(path);
  subKey.TrimRight("\\");
  root = RootFromNumber(std::atol(keyPath.Left(colon).nstring()));
  return root != nullptr && !subKey.IsEmpty();
}

OString ORegistry::DecodeEscapes(const OString& text) {
  const int length = text.GetLength();
  if (length < 3) return text;
  return text.is_valid_w() ? DecodeCharacters(text.wstring(), length)
                           : DecodeCharacters(text.nstring(), length);
}
