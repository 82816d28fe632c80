#include "client/ctl/job_output.h"

#include <nlohmann/json.hpp>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/log/log_sources.h"
#include "pipe/message_names.h"
#include "support/oevent_log.h"

namespace Ctl {
namespace {

/// A summary names this many failures, and counts the others.
constexpr std::size_t kMostNames = 20;

double Milliseconds(const Exchange& exchange) {
  return std::chrono::duration<double, std::milli>(exchange.duration).count();
}

nlohmann::ordered_json Json(const Tagwright::LogEvent& event) {
  return {{"time", Tagwright::FormatLogTime(event.timeMs)},
          {"source", event.source},
          {"level", OEventLog::GetLevelName(event.level)},
          {"text", event.text}};
}

std::string Names(const std::vector<std::string>& failed) {
  std::string names;
  for (std::size_t i = 0; i < failed.size() && i < kMostNames; ++i) {
    names += (i == 0 ? "" : ", ") + failed[i];
  }
  if (failed.size() > kMostNames) {
    names += " and " + std::to_string(failed.size() - kMostNames) + " more";
  }
  return names;
}

/// Nothing invalid in a name keeps a line from being written.
std::string Dump(const nlohmann::ordered_json& object) {
  return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

void OutputOptions::AddTo(CLI::App& command) {
  CLI::Option* const quietly = command.add_flag("--quiet", quiet, "Print failures only");
  command.add_flag("--json", json, "Print one JSON object a line")->excludes(quietly);
  command.add_flag("--fail-fast", failFast, "Send nothing after the first failure");
}

void JobOutput::Finish(const std::string& place, const Request& request, const Exchange& exchange) {
  const std::lock_guard lock(_mutex);
  Note(_result, ExitCodeOf(exchange));
  if (exchange.Succeeded()) {
    ++_succeeded;
    _reasons.Pass();
  } else {
    _failed.push_back(request.label);
  }
  if (_options.json) {
    PrintJson(request, exchange);
  } else if (!_options.quiet || !exchange.Succeeded()) {
    PrintText(place, request, exchange);
  }
}

bool JobOutput::ShallStop() {
  const std::lock_guard lock(_mutex);
  return _options.failFast && !_failed.empty();
}

ExitCode JobOutput::Summarize() {
  const std::lock_guard lock(_mutex);
  if (_total > 1) _options.json ? PrintJsonSummary() : PrintTextSummary();
  return _result;
}

void JobOutput::PrintText(const std::string& place, const Request& request,
                          const Exchange& exchange) {
  std::string text = Tagwright::FormatLogTime(exchange.endMs) + " " + place + request.label + ": " +
                     Describe(exchange);
  if (!exchange.Succeeded()) {
    for (const Tagwright::LogEvent& event : _reasons.Of(exchange)) {
      text += "\n    " + Tagwright::FormatLogEvent(event);
    }
  }
  PrintLine(text);
}

void JobOutput::PrintJson(const Request& request, const Exchange& exchange) {
  nlohmann::ordered_json object = {{"time", Tagwright::FormatLogTime(exchange.endMs)},
                                   {"job", request.label},
                                   {"succeeded", exchange.Succeeded()},
                                   {"milliseconds", Milliseconds(exchange)}};
  if (exchange.result.error) {
    object["error"] = Describe(*exchange.result.error);
  } else {
    object["status"] = exchange.result.reply.status;
    object["status_name"] = Tagwright::ReplyStatusName(exchange.result.reply.status);
  }
  if (!exchange.Succeeded()) {
    object["reasons"] = nlohmann::ordered_json::array();
    for (const Tagwright::LogEvent& event : _reasons.Of(exchange)) {
      object["reasons"].push_back(Json(event));
    }
  }
  PrintLine(Dump(object));
}

void JobOutput::PrintTextSummary() const {
  const std::size_t unsent = _total - _succeeded - _failed.size();
  if (_options.quiet && _failed.empty() && unsent == 0) return;
  PrintLine(std::to_string(_succeeded) + " of " + std::to_string(_total) + " succeeded" +
            (_failed.empty()
                 ? ""
                 : ", " + std::to_string(_failed.size()) + " failed: " + Names(_failed)) +
            (unsent == 0 ? "" : ", " + std::to_string(unsent) + " not sent"));
}

void JobOutput::PrintJsonSummary() const {
  PrintLine(Dump({{"total", _total}, {"succeeded", _succeeded}, {"failed", _failed}}));
}

}  // namespace Ctl
