#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/system_error.h"
#include "client/log/log_event.h"
#include "client/text.h"
#include "platform/debug_listener.h"

namespace Ctl {
namespace {

void Print(std::string text) {
  Tagwright::TrimLineEnds(text);
  PrintLine(Tagwright::FormatLogTime(Tagwright::LogTimeNow()) + "  " + text);
}

/// Until the program is interrupted.
void Listen() {
  const auto listener = platform::DebugListener::Open();
  if (listener == nullptr) {
    throw Failure(ExitCode::kLocal,
                  "cannot listen to the debugger output; there is one listener at a time (" +
                      SystemErrorText(GetLastError()) + ")");
  }
  PrintNote("listening to the debugger output until interrupted");
  for (;;) {
    if (const auto text = listener->Next(INFINITE)) Print(*text);
  }
}

}  // namespace

void AddDebugOutputCommand(CLI::App& app, ExitCode&) {
  CLI::App* const command = app.add_subcommand(
      "debug-output",
      "Show the debugger output until interrupted; log-mask's \"debugger\" copies the log there");
  command->callback(Listen);
}

}  // namespace Ctl
