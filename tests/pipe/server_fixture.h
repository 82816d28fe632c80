/// A pipe server in this process with a log of its own.
#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "common/pipe_client.h"
#include "common/product_log.h"
#include "pipe/pipe_server.h"
#include "support/oevent_log.h"

/// A server whose request handler is the test's.
class ScriptedServer : public PipeServer {
 public:
  using Handler =
      std::function<bool(const Tagwright::MessageHeader&, const BYTE*, Tagwright::MessageHeader&)>;
  ScriptedServer(const std::string& pipeName, Handler handler)
      : PipeServer(OString(pipeName.c_str())), _handler(std::move(handler)) {}

 protected:
  bool ParseIncomingMessage(const Tagwright::MessageHeader& request, const BYTE* payload,
                            Tagwright::MessageHeader& reply) override {
    return _handler(request, payload, reply);
  }

 private:
  Handler _handler;
};

/// Calls `hook` on the thread that is about to write a line that ends with `text`.
class HookedLog : public OEventLog {
 public:
  HookedLog(const std::string& source, std::string text, std::function<void()> hook)
      : OEventLog(OString(source.c_str()), kApplicationLog),
        _text(std::move(text)),
        _hook(std::move(hook)) {}

  bool WriteEvent(DWORD type, const OString& text, DWORD category, DWORD level) override {
    if (std::string(text.nstring()).ends_with(_text)) _hook();
    return OEventLog::WriteEvent(type, text, category, level);
  }

 private:
  const std::string _text;
  const std::function<void()> _hook;
};

class ServerTest : public testing::Test {
 protected:
  /// Far longer than anything here takes; only a fault reaches it.
  static constexpr DWORD kLongMs = 60000;

  ServerTest() : _pipeName(UniquePipeName()), _source("Tagwright " + _pipeName), _log(_source) {
    Z7SvEventLog.reset(new OEventLog(OString(_source.c_str()), OEventLog::kApplicationLog));
  }
  ~ServerTest() override {
    StopServer();
    Z7SvEventLog.reset();
  }

  /// From now on `hook` runs before each line that ends with `text`.
  void LogHooked(std::string text, std::function<void()> hook) const {
    Z7SvEventLog.reset(new HookedLog(_source, std::move(text), std::move(hook)));
  }

  /// Creates the pipe; the server is not started yet.
  template <class Server, class... Arguments>
  Server& Create(Arguments&&... arguments) {
    auto server = std::make_unique<Server>(std::forward<Arguments>(arguments)...);
    Server& created = *server;
    EXPECT_TRUE(server->CreateServerPipe());
    _server = std::move(server);
    return created;
  }

  /// A server that handles every request with `handler`, its client connected.
  ScriptedServer& Serve(ScriptedServer::Handler handler) {
    auto& server = Create<ScriptedServer>(_pipeName, std::move(handler));
    StartAndConnect();
    return server;
  }

  /// As a server does whose requests always succeed: the reply echoes the request.
  static bool Acknowledge(const Tagwright::MessageHeader& request, const BYTE*,
                          Tagwright::MessageHeader& reply) {
    reply.messageType = request.messageType;
    return true;
  }

  void StartAndConnect() {
    ASSERT_TRUE(_server->StartProcessMessageThread(kLongMs));
    _client.Connect(_pipeName);
  }

  std::int32_t WaitForEnd(DWORD maxShutdownTime = kLongMs) {
    return _server->WaitForMultipeObjectsOrPipeTermination(0, nullptr, kLongMs, maxShutdownTime);
  }

  /// Of the message thread.
  static DWORD ExitCode(const PipeServer& server) {
    DWORD exitCode = 1;
    EXPECT_TRUE(GetExitCodeThread(server.GetThreadHandle(), &exitCode));
    return exitCode;
  }

  /// Stops and destroys the server; everything it logs is in the log then.
  void StopServer() {
    if (!_server) return;
    _server->Shutdown();
    WaitForEnd();
    _server.reset();
  }

  std::string _pipeName;
  const std::string _source;
  ProductLog _log;
  std::unique_ptr<PipeServer> _server;
  PipeClient _client;
};
