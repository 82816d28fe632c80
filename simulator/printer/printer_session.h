/// What the simulated printer does for one component object: a connection to its encoder, and the
/// operations on the tag that lies in it.
#pragma once

#include <optional>
#include <string>

#include "simulator/tag/tag.h"
#include "simulator/tag/text.h"

namespace Simulator {

/// Outcome of an operation: empty text for success, else the reason for the log. The reasons hold
/// no data of the job.
struct Outcome {
  std::string refusal;
  /// What is worth a line in the log although the operation succeeded; mostly empty.
  std::string remark = {};
  bool Succeeded() const { return refusal.empty(); }
};

/// Data and passwords are hexadecimal text, four digits a word without blanks; passwords have 8
/// digits, and the empty password is the zero one. The access password that LockTag, UnlockTag and
/// PermalockUserBlock bring must be the tag's; it gives the secured state until the connection ends
/// or a wrong one is given. A tag whose access password is zero is secured at once, and stays so
/// while a new password is set.
///
/// Every operation needs a connection, reads the tag from its file and stores it when it changed;
/// what the files raise (std::runtime_error) passes to the caller. One thread at a time.
class PrinterSession {
 public:
  PrinterSession() = default;
  /// Records a card that is still in work.
  ~PrinterSession();
  PrinterSession(const PrinterSession&) = delete;
  PrinterSession& operator=(const PrinterSession&) = delete;

  /// Call it before Connect, with the same address. With `connectPerCard` the card feeder, when it
  /// is on, puts a fresh card in, so that a Connect that fails has a card that failed.
  void Approach(WideView portAddress, bool connectPerCard);
  /// The address of the last Approach.
  const WideText& PortAddress() const { return _portAddress; }
  /// The number of the feeder's card, 0 without one.
  unsigned Card() const { return _card; }

  /// Enclose each member of the component. A member that begins and does not end has raised an
  /// exception. The first member that failed becomes the failure in the card's record. `member` is
  /// a literal.
  void BeginMember(const char* member);
  void EndMember(const Outcome& outcome);

  /// Tag::InterruptNextWrite for the next operation.
  void InterruptNextWrite(std::optional<std::size_t> words, bool erases);
  /// No tag answers from now on, until the next Approach.
  void TakeTagAway() { _tagHasLeft = true; }

  /// Connects to the printer of the last Approach, with any port type. A printer without a tag gets
  /// a blank one. A tag that does not answer does not hinder it.
  Outcome Connect();
  /// Ends the connection and records the card.
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
  /// Runs `operation` (Tag& to TagAnswer) on the connected tag and stores the tag when it changed.
  template <class Operation>
  Outcome Change(Operation operation);
  /// The same in the state that `accessPassword` gives.
  template <class Operation>
  Outcome ChangeWithAccess(WideView accessPassword, Operation operation);
  /// The same with the words of `data`.
  template <class Operation>
  Outcome ChangeWithData(WideView data, Operation operation);
  /// The same with the value of `password`.
  template <class Operation>
  Outcome ChangeWithPassword(WideView password, Operation operation);
  void NoteFailure(const std::string& reason);
  void EndCard();

  WideText _portAddress;
  bool _isConnected = false;
  bool _tagHasLeft = false;
  /// The tag's secured state, which lasts until the connection ends or a wrong password is given.
  bool _isSecured = false;

  struct Interruption {
    std::optional<std::size_t> words;
    bool erases;
  };
  std::optional<Interruption> _interruption;

  unsigned _card = 0;
  /// The member that has begun and not ended; null between two.
  const char* _member = nullptr;
  /// The first failure of the card in work.
  std::string _failure;
};

}  // namespace Simulator
