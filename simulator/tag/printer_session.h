/// What the simulated printer does for one component object: a connection to its encoder, and the
/// operations on the tag that lies in it.
#pragma once

#include <string>

#include "simulator/tag/tag.h"
#include "simulator/tag/text.h"

namespace Simulator {

/// Outcome of an operation: empty text for success, else the reason for the log. The reasons hold
/// no data of the job.
struct Outcome {
  std::string refusal;
  bool Succeeded() const { return refusal.empty(); }
};

/// Data and passwords are hexadecimal text, four digits a word; passwords have 8 digits, and the
/// empty password is the zero one. The access password that LockTag, UnlockTag and
/// PermalockUserBlock bring must be the tag's; it gives the secured state until the connection ends
/// or a wrong one comes. A tag whose access password is zero is secured at once, and stays so while
/// a new password is set.
///
/// Every operation reads the tag from its file and stores it when it changed; what the files raise
/// (std::runtime_error) passes to the caller. One thread at a time.
class PrinterSession {
 public:
  /// Any port type and any address but the empty one name a printer.
  Outcome Connect(WideView portAddress);
  Outcome Disconnect();

  Outcome WriteEpc(WideView data);
  /// `offset` counts words.
  Outcome WriteMemory(int bank, int offset, WideView data);
  Outcome SetAccessPassword(WideView password);
  Outcome SetKillPassword(WideView password);
  /// `action` is the 20-bit payload of the Gen2 Lock command as a number: mask above action.
  Outcome LockTag(WideView accessPassword, int action);
  /// Clears the lock bits that the mask of the same payload names; its action half does not count.
  Outcome UnlockTag(WideView accessPassword, int action);
  Outcome PermalockUserBlock(WideView accessPassword, std::uint32_t startBlock, int blockCount);
  Outcome KillTag(WideView killPassword);

 private:
  /// Runs `operation` (Tag& to TagAnswer) on the connected tag and stores the tag when it is done.
  template <class Operation>
  Outcome Change(Operation operation);
  /// The same in the state that `accessPassword` gives.
  template <class Operation>
  Outcome ChangeWithAccess(WideView accessPassword, Operation operation);

  bool _connected = false;
  WideText _portAddress;
  /// The tag's secured state, which lasts until the connection ends or a wrong password comes.
  bool _secured = false;
};

}  // namespace Simulator
