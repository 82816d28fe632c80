/// client.h for C++17: the same calls with owners, and an exception for what is not done.
#ifndef TAGWRIGHT_CLIENT_HPP
#define TAGWRIGHT_CLIENT_HPP

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "client.h"

namespace tagwright {

/// A call that did not do what it was asked to.
class Error : public std::runtime_error {
 public:
  Error(tagwright_result result, const char *what)
      : std::runtime_error(std::string(what) + ": " + tagwright_result_text(result)),
        result_(result),
        system_error_(tagwright_system_error()) {}

  tagwright_result Result() const { return result_; }
  long SystemError() const { return system_error_; }

 private:
  tagwright_result result_;
  long system_error_;
};

inline void Check(tagwright_result result, const char *what) {
  if (result != TAGWRIGHT_OK) throw Error(result, what);
}

/// What a server answered: a tagwright_reply_status.
class Status {
 public:
  explicit Status(std::uint32_t code) : code_(code) {}
  std::uint32_t Code() const { return code_; }
  const char *Name() const { return tagwright_status_name(code_); }
  bool Succeeded() const { return code_ == TAGWRIGHT_SUCCESS; }

 private:
  std::uint32_t code_;
};

/// One connection. Each call throws Error when there is no reply.
class Client {
 public:
  /// The time limit of each request.
  static constexpr std::uint32_t kDefaultTimeoutMs = 60000;

  explicit Client(const std::string &pipe_name, std::uint32_t timeout_ms = 0) {
    tagwright_client *client = nullptr;
    Check(tagwright_connect(pipe_name.c_str(), timeout_ms, &client), "connecting");
    client_.reset(client);
  }
  /// Takes over a connection.
  explicit Client(tagwright_client *client) : client_(client) {}

  Status Send(std::uint32_t message_type, std::string_view payload = {},
              std::uint32_t timeout_ms = kDefaultTimeoutMs) {
    std::uint32_t status = 0;
    Check(tagwright_send(client_.get(), message_type, payload.data(), payload.size(), timeout_ms,
                         &status),
          "sending");
    return Status(status);
  }
  Status Encode(std::string_view job, std::uint32_t timeout_ms = kDefaultTimeoutMs) {
    return Send(TAGWRIGHT_ENCODE, job, timeout_ms);
  }
  Status AddEncoder(const std::string &pipe_name, std::uint32_t timeout_ms = kDefaultTimeoutMs) {
    std::uint32_t status = 0;
    Check(tagwright_add_encoder(client_.get(), pipe_name.c_str(), timeout_ms, &status),
          "asking for an encoder");
    return Status(status);
  }
  Status KeepAlive() { return Send(TAGWRIGHT_KEEP_ALIVE); }
  Status Shutdown() { return Send(TAGWRIGHT_SHUTDOWN); }

 private:
  struct Closer {
    void operator()(tagwright_client *client) const { tagwright_close(client); }
  };
  std::unique_ptr<tagwright_client, Closer> client_;
};

/// A started process, ended by force with this object if it still runs.
class Process {
 public:
  /// Starts the program on a name of its own; an empty path means the one that is found.
  explicit Process(tagwright_mode mode = TAGWRIGHT_SINGLE, const std::string &program = {}) {
    char name[TAGWRIGHT_NAME_SIZE];
    tagwright_process *process = nullptr;
    Check(tagwright_fresh_name(name), "choosing a name");
    Check(tagwright_start(program.empty() ? nullptr : program.c_str(), name, mode, &process),
          "starting the program");
    process_.reset(process);
    name_ = name;
  }

  /// The name of its first pipe.
  const std::string &PipeName() const { return name_; }

  Client Connect(std::uint32_t timeout_ms = 5000) {
    tagwright_client *client = nullptr;
    Check(tagwright_connect_to(process_.get(), timeout_ms, &client), "connecting");
    return Client(client);
  }

  /// Nothing while the process still runs after that time.
  std::optional<int> Wait(std::uint32_t timeout_ms) {
    int exit_code = 0;
    const tagwright_result result = tagwright_wait(process_.get(), timeout_ms, &exit_code);
    if (result == TAGWRIGHT_TIMED_OUT) return std::nullopt;
    Check(result, "waiting for the program's end");
    return exit_code;
  }

 private:
  struct Releaser {
    void operator()(tagwright_process *process) const { tagwright_release(process); }
  };
  std::unique_ptr<tagwright_process, Releaser> process_;
  std::string name_;
};

}  // namespace tagwright

#endif
