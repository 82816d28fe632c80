/// What can be told of a descriptor without waiting.
#pragma once

namespace platform {

/// Whether the descriptor has the event, of those of poll(2), at this moment.
bool HasEvent(int fd, short event);

}  // namespace platform
