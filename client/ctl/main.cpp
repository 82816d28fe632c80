/// tagwrightctl: the command-line tool for tagwright's pipes, log and jobs, and for simulated tags.
#include <algorithm>
#include <exception>

#include "client/check/nearest_word.h"
#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/text.h"

namespace {

constexpr const char* kFooter =
    "Examples:\n"
    "  tagwrightctl check card.xml                    what the job will do, what looks wrong\n"
    "  tagwrightctl run card.xml                      encode it with a tagwright of its own\n"
    "  tagwrightctl log --failures --since 10m        what went wrong lately\n"
    "  tagwrightctl send --pipe card encode card.xml shutdown\n"
    "  tagwrightctl lock-action epc=lock,access=permalock\n"
    "\n"
    "Exit codes: 0 success; 1 a reply had another status than 0; 2 the command line is not\n"
    "understood; 3 a file or the system refused; 4 no such pipe; 5 the pipe is busy; 6 the server\n"
    "went away; 7 time-out; 8 no valid reply; 9 a job or a component looks wrong.\n"
    "\n"
    "Environment: TAGWRIGHT_ROOT is the folder of everything that is kept (on Linux; else\n"
    "$XDG_STATE_HOME/tagwright or ~/.local/state/tagwright), and of the simulated printer's state\n"
    "on Windows.";

/// Last argument first, as the parser takes them; the program's path is left out.
std::vector<std::string> ArgumentsFromLast(int argc, WCHAR** argv) {
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) arguments.push_back(Tagwright::ToUtf8(argv[i]));
  return arguments;
}

void AddCommands(CLI::App& app, Ctl::ExitCode& result) {
  Ctl::AddCheckCommand(app, result);
  Ctl::AddRunCommand(app, result);
  Ctl::AddEncodeCommand(app, result);
  Ctl::AddSendCommand(app, result);
  Ctl::AddLogCommand(app, result);
  Ctl::AddLogMaskCommand(app, result);
  Ctl::AddDebugOutputCommand(app, result);
  Ctl::AddStatusCommand(app, result);
  Ctl::AddPathsCommand(app, result);
  Ctl::AddLockActionCommand(app, result);
  Ctl::AddTagCommand(app, result);
  Ctl::AddCardsCommand(app, result);
  Ctl::AddFaultCommand(app, result);
  Ctl::AddComponentCommand(app, result);
}

std::vector<std::string> CommandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands(nullptr)) names.push_back(command->get_name());
  return names;
}

std::vector<std::string> OptionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

std::string DidYouMean(const std::string& word, const std::vector<std::string>& names) {
  return Tagwright::DidYouMean(word, std::vector<std::string_view>(names.begin(), names.end()));
}

std::string NoOption(const std::string& name, const std::string& command) {
  return "\"" + name + "\" is no option of " + command;
}

/// What the parser cannot say: which word it does not know, and which one was probably meant.
std::string Explain(CLI::App& app, const std::vector<std::string>& fromLast) {
  if (fromLast.empty()) return "a command is missing; --help lists them";
  const std::string& word = fromLast.back();
  const std::vector<CLI::App*> commands =
      app.get_subcommands([&word](CLI::App* command) { return command->get_name() == word; });
  if (commands.empty()) {
    const bool isOption = word.starts_with('-');
    return "\"" + word + "\" is no " + (isOption ? "option" : "command") +
           DidYouMean(word, isOption ? OptionNames(app) : CommandNames(app));
  }
  const std::vector<std::string> known = OptionNames(*commands.front());
  for (auto argument = fromLast.rbegin() + 1; argument != fromLast.rend(); ++argument) {
    const std::string name = argument->substr(0, argument->find('='));
    if (name.starts_with("--") && name.size() > 2 &&
        std::ranges::find(known, name) == known.end()) {
      return NoOption(name, word) + DidYouMean(name, known);
    }
  }
  return {};
}

Ctl::ExitCode ReportUsage(CLI::App& app, const CLI::ParseError& error,
                          const std::vector<std::string>& fromLast) {
  if (error.get_exit_code() == 0) {
    app.exit(error);
    return Ctl::ExitCode::kSuccess;
  }
  const std::string explanation = Explain(app, fromLast);
  Ctl::PrintError(explanation.empty() ? error.what() : explanation);
  return Ctl::ExitCode::kUsage;
}

Ctl::ExitCode RunCommand(int argc, WCHAR** argv) {
  CLI::App app("Talks to tagwright over its pipes, checks jobs and shows what was logged",
               "tagwrightctl");
  app.set_version_flag("--version", "tagwrightctl " TAGWRIGHT_VERSION);
  app.require_subcommand(1);
  // On Windows a path that begins with a slash would be taken for an option.
  app.allow_windows_style_options(false);
  Ctl::ExitCode result = Ctl::ExitCode::kSuccess;
  AddCommands(app, result);
  // Behind the commands, which would take it over.
  app.footer(kFooter);
  std::vector<std::string> arguments = ArgumentsFromLast(argc, argv);
  // "help run" is "run --help".
  if (!arguments.empty() && arguments.back() == "help") {
    arguments.pop_back();
    arguments.insert(arguments.begin(), "--help");
  }
  try {
    app.parse(std::vector<std::string>(arguments));
  } catch (const CLI::ParseError& error) {
    return ReportUsage(app, error, arguments);
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
