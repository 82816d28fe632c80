/// tagwrightctl: the command-line tool for tagwright's pipes, log mask and simulated tags.
#include <algorithm>
#include <exception>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/text.h"

namespace {

/// Last argument first, as the parser takes them; the program's path is left out.
std::vector<std::string> ArgumentsFromLast(int argc, WCHAR** argv) {
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) arguments.push_back(Tagwright::ToUtf8(argv[i]));
  return arguments;
}

Ctl::ExitCode RunCommand(int argc, WCHAR** argv) {
  CLI::App app("Talks to tagwright over its pipes", "tagwrightctl");
  app.require_subcommand(1);
  // On Windows a path that begins with a slash would be taken for an option.
  app.allow_windows_style_options(false);
  Ctl::ExitCode result = Ctl::ExitCode::kSuccess;
  Ctl::AddSendCommand(app, result);
  Ctl::AddEncodeCommand(app, result);
  Ctl::AddRunCommand(app, result);
  Ctl::AddLogMaskCommand(app, result);
  Ctl::AddTagCommand(app, result);
  Ctl::AddCardsCommand(app, result);
  Ctl::AddFaultCommand(app, result);
  try {
    app.parse(ArgumentsFromLast(argc, argv));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? Ctl::ExitCode::kSuccess : Ctl::ExitCode::kUsage;
  }
  return result;
}

}  // namespace

extern "C" int wmain(int argc, WCHAR** argv) {
  Ctl::PrepareConsole();
  try {
    return static_cast<int>(RunCommand(argc, argv));
  } catch (const Ctl::Failure& failure) {
    Ctl::PrintError(failure.what());
    return static_cast<int>(failure.Code());
  } catch (const std::exception& error) {
    Ctl::PrintError(error.what());
    return static_cast<int>(Ctl::ExitCode::kLocal);
  }
}
