#include "client/ctl/request.h"

#include <algorithm>
#include <cstdio>

#include "client/ctl/input_file.h"
#include "client/ctl/system_error.h"
#include "client/log/log_event.h"
#include "client/text.h"
#include "pipe/message_names.h"

namespace Ctl {
namespace {

using Tagwright::ClientError;
using Tagwright::ClientErrorKind;

WipedBuffer NamePayload(const std::string& name) {
  const std::optional<std::string> ansi = Tagwright::ToAnsi(Tagwright::ToWide(name));
  if (!ansi) {
    throw Failure(ExitCode::kUsage,
                  "the ANSI code page, in which names are sent, cannot express \"" + name + "\"");
  }
  WipedBuffer payload(ansi->size() + 1);
  *std::ranges::copy(*ansi, payload.Data()).out = 0;
  return payload;
}

/// What to tell about each kind of error, and how the program ends for it.
struct ErrorForm {
  ClientErrorKind kind;
  ExitCode exitCode;
  const char* text;
};

constexpr ErrorForm kErrorForms[] = {
    {ClientErrorKind::kPipeMissing, ExitCode::kNoPipe,
     "there is no such pipe; no tagwright serves that name, or it waited its 5000 ms for a client "
     "in vain"},
    {ClientErrorKind::kPipeBusy, ExitCode::kPipeBusy,
     "the pipe is busy: it accepts one connection in its life and has had it"},
    {ClientErrorKind::kServerGone, ExitCode::kServerGone,
     "the server went away before its reply was complete"},
    {ClientErrorKind::kTimeout, ExitCode::kTimeout, "no reply within the time limit (--timeout)"},
    {ClientErrorKind::kBadReply, ExitCode::kBadReply, "what came back is no reply to this request"},
    {ClientErrorKind::kPayloadTooLong, ExitCode::kLocal,
     "the payload is too long; nothing was sent"},
    {ClientErrorKind::kNotConnected, ExitCode::kServerGone,
     "not sent: an earlier request lost the connection"},
    {ClientErrorKind::kSystem, ExitCode::kLocal, "the system refused"},
};

const ErrorForm& FormOf(const ClientError& error) {
  return *std::ranges::find(kErrorForms, error.kind, &ErrorForm::kind);
}

std::string DescribeStatus(std::uint32_t status) {
  const std::string_view name = Tagwright::ReplyStatusName(status);
  const std::string number = std::to_string(status);
  return name.empty() ? "status " + number : std::string(name) + " (" + number + ")";
}

std::string DescribeDuration(std::chrono::steady_clock::duration duration) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.1f ms",
                std::chrono::duration<double, std::milli>(duration).count());
  return text;
}

}  // namespace

Request LoadRequest(const Verb& verb) {
  Request request{verb.label, verb.messageType, {}, {}};
  if (verb.kind == Operand::kJobFile) request.jobPath = verb.operand;
  if (verb.kind == Operand::kJobFile || verb.kind == Operand::kFile) {
    request.payload = LoadFile(verb.operand);
  }
  if (verb.kind == Operand::kPipeName) request.payload = NamePayload(verb.operand);
  return request;
}

Exchange Perform(Tagwright::Client& client, const Request& request) {
  const auto start = std::chrono::steady_clock::now();
  Exchange exchange;
  exchange.startMs = Tagwright::LogTimeNow();
  exchange.result = client.Send(request.messageType, request.payload.Bytes());
  exchange.endMs = Tagwright::LogTimeNow();
  exchange.duration = std::chrono::steady_clock::now() - start;
  return exchange;
}

void ConnectOrFail(Tagwright::Client& client, const std::string& pipeName) {
  if (const auto error = client.Connect(Tagwright::ToWide(pipeName))) {
    throw Failure(ExitCodeOf(*error), "pipe \"" + pipeName + "\": " + Describe(*error));
  }
}

std::string Describe(const Exchange& exchange) {
  if (exchange.result.error) return Describe(*exchange.result.error);
  return DescribeStatus(exchange.result.reply.status) + ", " + DescribeDuration(exchange.duration);
}

std::string Describe(const ClientError& error) {
  std::string text = FormOf(error).text;
  // What the system says of a time-out is that this program gave up waiting.
  const bool isKnown = error.kind == ClientErrorKind::kTimeout;
  if (error.systemError != ERROR_SUCCESS && !isKnown)
    text += " (" + SystemErrorText(error.systemError) + ")";
  return text;
}

ExitCode ExitCodeOf(const Exchange& exchange) {
  if (exchange.result.error) return ExitCodeOf(*exchange.result.error);
  return exchange.result.reply.status == 0 ? ExitCode::kSuccess : ExitCode::kRefused;
}

ExitCode ExitCodeOf(const ClientError& error) { return FormOf(error).exitCode; }

}  // namespace Ctl
