#include "client/ctl/input_file.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

#include "client/ctl/failure.h"
#include "client/text.h"
#include "pipe/message_header.h"

namespace Ctl {
namespace {

/// Room for the jobs there are; a longer file doubles it.
constexpr std::size_t kFirstBufferBytes = std::size_t{64} * 1024;

Failure CannotRead(const std::string& path, const std::error_code& error) {
  return Failure(ExitCode::kLocal, "cannot read " + path + ": " + error.message());
}

Failure TooLong(const std::string& path) {
  return Failure(ExitCode::kLocal, path + " is longer than a request may be (" +
                                       std::to_string(Tagwright::kMaxPayloadBytes) + " bytes)");
}

WipedBuffer Resized(const WipedBuffer& buffer, std::size_t size) {
  WipedBuffer resized(size);
  std::copy_n(buffer.Bytes().begin(), std::min(size, buffer.Bytes().size()), resized.Data());
  return resized;
}

WipedBuffer ReadToEnd(std::streambuf& source, const std::string& path) {
  WipedBuffer content(kFirstBufferBytes);
  std::size_t total = 0;
  for (;;) {
    const std::size_t room = content.Bytes().size() - total;
    total += static_cast<std::size_t>(source.sgetn(reinterpret_cast<char*>(content.Data() + total),
                                                   static_cast<std::streamsize>(room)));
    if (total > Tagwright::kMaxPayloadBytes) throw TooLong(path);
    if (total < content.Bytes().size()) return Resized(content, total);
    content = Resized(content, 2 * total);
  }
}

}  // namespace

WipedBuffer LoadFile(const std::string& path) {
  if (path == "-") return ReadToEnd(*std::cin.rdbuf(), "standard input");
  std::filebuf file;
  // The buffer of a stream is not wiped, so the file is read without one.
  file.pubsetbuf(nullptr, 0);
  errno = 0;
  if (!file.open(std::filesystem::path(Tagwright::ToWide(path)), std::ios::in | std::ios::binary)) {
    throw CannotRead(path, {errno, std::generic_category()});
  }
  try {
    return ReadToEnd(file, path);
  } catch (const std::ios_base::failure& failure) {
    throw CannotRead(path, failure.code());
  }
}

}  // namespace Ctl
