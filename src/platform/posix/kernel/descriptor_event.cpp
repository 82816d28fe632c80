#include "platform/posix/kernel/descriptor_event.h"

#include <poll.h>

namespace platform {

bool HasEvent(int fd, short event) {
  pollfd state{fd, event, 0};
  poll(&state, 1, 0);
  return (state.revents & event) != 0;
}

}  // namespace platform
