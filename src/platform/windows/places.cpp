#include "platform/places.h"

namespace platform {

std::vector<Place> SystemPlaces() {
  return {{"pipes", "\\\\.\\pipe\\"},
          {"event log", "Application, in the Event Viewer"},
          {"registry", "HKEY_LOCAL_MACHINE\\Software\\Brennick\\Drivers"}};
}

}  // namespace platform
