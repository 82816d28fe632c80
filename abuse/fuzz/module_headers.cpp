/// The dump writer's reader of the modules' headers, on an input that lies in memory as a module
/// would.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "fuzz/fuzz_target.h"
#include "platform/posix/crashes/dump_modules.h"
#include "platform/posix/kernel/unique_fd.h"

namespace {

/// Memory that begins with the input, between pages that cannot be read.
class Image {
 public:
  explicit Image(Fuzz::Bytes input)
      : _sizeBytes((input.size() / kPageBytes + 1) * kPageBytes),
        _reserved(mmap(nullptr, _sizeBytes + 2 * kPageBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS,
                       -1, 0)) {
    mprotect(Start(), _sizeBytes, PROT_READ | PROT_WRITE);
    std::ranges::copy(input, Start());
  }
  ~Image() { munmap(_reserved, _sizeBytes + 2 * kPageBytes); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  std::uint8_t* Start() const { return static_cast<std::uint8_t*>(_reserved) + kPageBytes; }
  platform::Mapping Mapping() const {
    const auto start = reinterpret_cast<ULONG_PTR>(Start());
    return {start, start + _sizeBytes, true, false, true, "/module.so"};
  }

 private:
  static constexpr std::size_t kPageBytes = 4096;
  std::size_t _sizeBytes;
  void* _reserved;
};

}  // namespace

void Fuzz::ModuleHeaders(Bytes bytes) {
  const Image image(bytes);
  const platform::UniqueFd memory(memfd_create("dump", MFD_CLOEXEC));
  platform::DumpFile file(memory.Get());
  const std::array mappings{image.Mapping()};
  const auto list = platform::AppendModules(file, mappings);
  Require(list.sizeBytes > sizeof(DWORD), "the module is in the list, whatever its headers say");
  Require(!file.HasFailed(), "the dump is written");
}
