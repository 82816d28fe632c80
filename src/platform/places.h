/// Where a system keeps what the program leaves behind.
#pragma once

#include <string>
#include <vector>

namespace platform {

struct Place {
  std::string name;
  std::string where;  ///< UTF-8, as the people of the system write it.
};

/// The pipes, the event log, the registry and whatever else only this system has.
std::vector<Place> SystemPlaces();

}  // namespace platform
