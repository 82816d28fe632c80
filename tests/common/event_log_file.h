/// The entries of the layer's event log, as JSON.
#pragma once

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"

/// Every entry of `source` in the log "Application" or "System". A broken line throws.
inline std::vector<nlohmann::json> EventsOf(const std::string& log, const std::u16string& source) {
  std::ifstream file(platform::StateFolder("eventlog") + "/" + log + ".jsonl");
  std::vector<nlohmann::json> events;
  for (std::string line; std::getline(file, line);) {
    auto event = nlohmann::json::parse(line);
    if (event["source"] == platform::ToUtf8(source)) events.push_back(std::move(event));
  }
  return events;
}
