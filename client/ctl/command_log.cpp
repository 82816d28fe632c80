#include <algorithm>
#include <chrono>
#include <deque>
#include <iterator>
#include <memory>
#include <thread>

#include "client/check/nearest_word.h"
#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/log_mask.h"
#include "client/ctl/log_source_option.h"
#include "client/ctl/since.h"
#include "client/log/event_log_reader.h"
#include "client/log/log_file_reader.h"
#include "platform/kept_event_log.h"
#include "platform/terminal.h"
#include "support/log_levels.h"

namespace Ctl {
namespace {

using Tagwright::LogEvent;

/// The system announces new entries no sooner than this, if at all, so --follow looks for itself.
constexpr std::chrono::milliseconds kLookAgainAfter{250};

struct LogOptions {
  bool follow = false;
  bool failures = false;
  bool file = false;
  std::string since;
  std::string level;
  std::string source;
};

/// Which entries are wanted.
struct Filter {
  std::int64_t sinceMs = 0;
  DWORD levels = ~DWORD{0};
  std::string source;  ///< Empty for any.

  bool Takes(const LogEvent& event) const {
    return event.timeMs >= sinceMs && (levels == ~DWORD{0} || (event.level & levels) != 0) &&
           (source.empty() || event.source == source);
  }
};

Filter FilterOf(const LogOptions& options) {
  Filter filter;
  if (!options.since.empty()) {
    filter.sinceMs = ParseSince(options.since, Tagwright::LogTimeNow());
  }
  if (!options.level.empty()) filter.levels = ParseLogMask(options.level);
  if (options.failures) filter.levels = LogLevel::kErrors | LogLevel::kWarnings;
  if (!options.source.empty()) filter.source = LogSourceNamed(options.source);
  return filter;
}

/// The event log, or the files of all sources.
class LogReader {
 public:
  explicit LogReader(bool files) {
    if (!files) return;
    for (const Tagwright::LogSource& source : Tagwright::LogSources()) {
      _files.emplace_back(std::string(source.name));
    }
  }

  std::vector<LogEvent> ReadNew() {
    if (_files.empty()) return _eventLog.ReadNew();
    std::vector<LogEvent> events;
    for (Tagwright::LogFileReader& file : _files) {
      std::ranges::move(file.ReadNew(), std::back_inserter(events));
    }
    std::ranges::stable_sort(events, {}, &LogEvent::timeMs);
    return events;
  }

 private:
  Tagwright::EventLogReader _eventLog;
  std::deque<Tagwright::LogFileReader> _files;
};

const char* ColourOf(const LogEvent& event) {
  if ((event.level & LogLevel::kErrors) != 0) return "\033[31m";
  if ((event.level & LogLevel::kWarnings) != 0) return "\033[33m";
  return Tagwright::IsNoTrace(event) ? "" : "\033[2m";
}

void Print(const LogEvent& event, bool coloured) {
  const std::string line = Tagwright::FormatLogEvent(event);
  PrintLine(coloured ? ColourOf(event) + line + "\033[0m" : line);
}

void SayWhenNothingIsKept() {
  if (platform::KeepsEventLog()) return;
  PrintNote(
      "Wine keeps no event log: nothing that was logged can be read from it. \"log-mask "
      "default,file\" copies what is logged from then on to files, and \"log --file\" shows them.");
}

void ShowLog(const LogOptions& options) {
  const Filter filter = FilterOf(options);
  const bool coloured = platform::PrepareTerminal();
  if (!options.file) SayWhenNothingIsKept();
  LogReader log(options.file);
  do {
    for (const LogEvent& event : log.ReadNew()) {
      if (filter.Takes(event)) Print(event, coloured);
    }
    if (options.follow) std::this_thread::sleep_for(kLookAgainAfter);
  } while (options.follow);
}

}  // namespace

std::string LogSourceNamed(const std::string& word) {
  if (const Tagwright::LogSource* const source = Tagwright::FindLogSource(word)) {
    return std::string(source->name);
  }
  std::vector<std::string_view> words;
  for (const Tagwright::LogSource& source : Tagwright::LogSources()) words.push_back(source.word);
  throw Failure(ExitCode::kUsage,
                "\"" + word + "\" is no log source" + Tagwright::DidYouMean(word, words));
}

void AddLogCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command =
      app.add_subcommand("log", "Show what tagwright and its component logged");
  const auto options = std::make_shared<LogOptions>();
  command->add_flag("--follow", options->follow, "Go on showing what comes, until interrupted");
  command->add_option("--since", options->since,
                      "Only from then on: 90s, 10m, 2h, 3d ago, 06:30, 2026-11-23, or both");
  CLI::Option* const level =
      command->add_option("--level", options->level, "Only these levels, named as for log-mask");
  command->add_option("--source", options->source, "Only this source: native, managed, simulator");
  command->add_flag("--failures", options->failures, "Only errors and warnings")->excludes(level);
  command->add_flag("--file", options->file,
                    "Show the log files, which are written while the mask says so");
  command->callback([options, &result] {
    ShowLog(*options);
    result = ExitCode::kSuccess;
  });
}

}  // namespace Ctl
