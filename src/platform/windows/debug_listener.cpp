#include "platform/debug_listener.h"

#include <vector>

namespace platform {
namespace {

// The agreement between OutputDebugString and whoever listens: 4096 bytes of shared memory, the
// sender's process in front of its text in the ANSI code page, and two events that take turns.
constexpr DWORD kBufferBytes = 4096;
constexpr DWORD kTextOffset = sizeof(DWORD);

class SharedMemoryListener : public DebugListener {
 public:
  ~SharedMemoryListener() override {
    if (_view != nullptr) UnmapViewOfFile(_view);
    for (const HANDLE handle : {_memory, _ready, _data}) {
      if (handle != nullptr) CloseHandle(handle);
    }
  }

  bool Create() {
    _memory = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kBufferBytes,
                                 L"DBWIN_BUFFER");
    if (_memory == nullptr || GetLastError() == ERROR_ALREADY_EXISTS) return false;
    _view = static_cast<const char*>(MapViewOfFile(_memory, FILE_MAP_READ, 0, 0, kBufferBytes));
    _ready = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY");
    _data = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY");
    return _view != nullptr && _ready != nullptr && _data != nullptr && SetEvent(_ready);
  }

  std::optional<std::string> Next(DWORD timeoutMs) override {
    if (WaitForSingleObject(_data, timeoutMs) != WAIT_OBJECT_0) return std::nullopt;
    const char* const begin = _view + kTextOffset;
    const std::string text(begin, strnlen(begin, kBufferBytes - kTextOffset));
    SetEvent(_ready);
    return ToUtf8(text);
  }

 private:
  static std::string ToUtf8(const std::string& ansi) {
    const int size = static_cast<int>(ansi.size());
    std::vector<WCHAR> wide(ansi.size() + 1);
    const int length = MultiByteToWideChar(CP_ACP, 0, ansi.data(), size, wide.data(),
                                           static_cast<int>(wide.size()));
    std::string utf8(3 * wide.size(), '\0');
    utf8.resize(static_cast<std::size_t>(
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, utf8.data(),
                            static_cast<int>(utf8.size()), nullptr, nullptr)));
    return utf8;
  }

  HANDLE _memory = nullptr;
  HANDLE _ready = nullptr;
  HANDLE _data = nullptr;
  const char* _view = nullptr;
};

}  // namespace

std::unique_ptr<DebugListener> DebugListener::Open() {
  auto listener = std::make_unique<SharedMemoryListener>();
  if (!listener->Create()) return nullptr;
  return listener;
}

}  // namespace platform
