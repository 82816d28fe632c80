/// Programs that the bench starts, and connections to their sockets, past the product's own client:
/// both sides of a comparison are driven in the same way.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Bench {

/// The folder of the bench's own program, without a slash at its end.
std::string ProgramFolder();

/// A program that is killed at the end.
class Child {
 public:
  /// Throws std::runtime_error.
  explicit Child(std::vector<std::string> command);
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t Id() const { return _id; }

 private:
  pid_t _id = 0;
};

/// A client of a Unix socket that speaks tagwright's headers. Everything throws std::runtime_error.
class Connection {
 public:
  /// Waits until the socket is there.
  explicit Connection(const std::string& path);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Header and payload in one piece.
  void Send(std::uint32_t type, std::string_view payload);
  /// The status of the next reply.
  std::uint32_t Receive();
  void RoundTrip(std::uint32_t type, std::string_view payload, std::uint32_t expectedStatus);

 private:
  const int _socket;
};

}  // namespace Bench
