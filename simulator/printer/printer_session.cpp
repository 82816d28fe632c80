#include "simulator/printer/printer_session.h"

#include <algorithm>
#include <utility>

#include "simulator/printer/cards.h"
#include "simulator/printer/printers.h"
#include "simulator/tag/tag_store.h"

namespace Simulator {
namespace {

const Outcome kDone{};
const Outcome kNotConnected{"not connected"};
const Outcome kBadPassword{"a password has 8 hexadecimal digits"};
const Outcome kBadLockAction{"a lock action is a payload of 20 bits"};

Outcome FromAnswer(TagAnswer answer) {
  return answer == TagAnswer::kDone ? kDone : Outcome{AnswerText(answer)};
}

Outcome BadData(WideView data) {
  return {std::ranges::count(data, TEXT(' ')) != 0
              ? "the data has blanks; it is made of hexadecimal digits alone"
              : "the data is not whole words of hexadecimal digits"};
}

}  // namespace

PrinterSession::~PrinterSession() {
  try {
    NoteFailure("an exception");
    EndCard();
  } catch (const std::exception&) {
    OutputDebugStringW(TEXT("The simulated printer cannot record a card"));
  }
}

void PrinterSession::Approach(WideView portAddress, bool connectPerCard) {
  NoteFailure("an exception");
  EndCard();
  _portAddress = portAddress;
  _tagHasLeft = false;
  _member = nullptr;
  _failure.clear();
  if (!connectPerCard || !IsFeeding()) return;
  const Printers printers = Printers::Load();
  if (const TagKind* kind = printers.KindAt(_portAddress)) _card = FeedCard(_portAddress, *kind);
}

void PrinterSession::BeginMember(const char* member) {
  NoteFailure("an exception");
  _member = member;
}

void PrinterSession::EndMember(const Outcome& outcome) {
  if (!outcome.Succeeded()) NoteFailure(outcome.refusal);
  _member = nullptr;
}

void PrinterSession::NoteFailure(const std::string& reason) {
  if (_member != nullptr && _failure.empty()) _failure = std::string(_member) + ": " + reason;
}

void PrinterSession::EndCard() {
  if (const unsigned card = std::exchange(_card, 0U)) FinishCard(card, _failure);
}

void PrinterSession::InterruptNextWrite(std::optional<std::size_t> words, bool erases) {
  _interruption = Interruption{words, erases};
}

Outcome PrinterSession::Connect() {
  _isConnected = false;
  if (_portAddress.empty()) return {"no printer at an empty address"};
  const Printers printers = Printers::Load();
  const TagKind* const kind = printers.KindAt(_portAddress);
  if (kind == nullptr) return {"no such printer; printers.json names those that there are"};
  const bool isNew = !FindTag(_portAddress);
  if (isNew) SaveTag(_portAddress, Tag(*kind));
  _isConnected = true;
  _isSecured = false;
  return {"", isNew ? "the port address is new; a blank tag lies in its printer" : ""};
}

Outcome PrinterSession::Disconnect() {
  if (!std::exchange(_isConnected, false)) return kNotConnected;
  EndCard();
  return kDone;
}

template <class Operation>
Outcome PrinterSession::Change(Operation operation) {
  const auto interruption = std::exchange(_interruption, std::nullopt);
  if (!_isConnected) return kNotConnected;
  Tag tag = LoadTag(_portAddress);
  if (tag.IsKilled() || _tagHasLeft) return FromAnswer(TagAnswer::kSilent);
  _isSecured = _isSecured || tag.AccessPassword() == 0;
  if (interruption) tag.InterruptNextWrite(interruption->words, interruption->erases);
  const TagAnswer answer = operation(tag);
  const bool isChanged = answer == TagAnswer::kDone || answer == TagAnswer::kInterrupted;
  if (isChanged) SaveTag(_portAddress, tag);
  return FromAnswer(answer);
}

template <class Operation>
Outcome PrinterSession::ChangeWithData(WideView data, Operation operation) {
  const std::optional<Words> words = ParseWords(data);
  if (_isConnected && !words) return BadData(data);
  return Change([&](Tag& tag) { return operation(tag, *words); });
}

template <class Operation>
Outcome PrinterSession::ChangeWithPassword(WideView password, Operation operation) {
  const std::optional<std::uint32_t> value = ParsePassword(password);
  if (_isConnected && !value) return kBadPassword;
  return Change([&](Tag& tag) { return operation(tag, *value); });
}

template <class Operation>
Outcome PrinterSession::ChangeWithAccess(WideView accessPassword, Operation operation) {
  return ChangeWithPassword(accessPassword, [&](Tag& tag, std::uint32_t password) {
    _isSecured = password == tag.AccessPassword();
    return _isSecured ? operation(tag) : TagAnswer::kWrongPassword;
  });
}

Outcome PrinterSession::WriteEpc(WideView data) {
  return ChangeWithData(data,
                        [&](Tag& tag, const Words& epc) { return tag.WriteEpc(epc, _isSecured); });
}

Outcome PrinterSession::WriteMemory(int bank, int offset, WideView data) {
  return ChangeWithData(data, [&](Tag& tag, const Words& words) {
    if (bank < 0 || bank >= static_cast<int>(kBankCount) || offset < 0) {
      return TagAnswer::kNoSuchLocation;
    }
    return tag.Write(static_cast<Bank>(bank), static_cast<std::size_t>(offset), words, _isSecured);
  });
}

Outcome PrinterSession::SetAccessPassword(WideView password) {
  return ChangeWithPassword(password, [&](Tag& tag, std::uint32_t value) {
    return tag.SetAccessPassword(value, _isSecured);
  });
}

Outcome PrinterSession::SetKillPassword(WideView password) {
  return ChangeWithPassword(password, [&](Tag& tag, std::uint32_t value) {
    return tag.SetKillPassword(value, _isSecured);
  });
}

Outcome PrinterSession::LockTag(WideView accessPassword, int action) {
  const std::optional<LockPayload> payload = LockPayload::FromNumber(action);
  if (_isConnected && !payload) return kBadLockAction;
  return ChangeWithAccess(accessPassword, [&](Tag& tag) { return tag.Lock(*payload); });
}

Outcome PrinterSession::UnlockTag(WideView accessPassword, int action) {
  const std::optional<LockPayload> payload = LockPayload::FromNumber(action);
  if (_isConnected && !payload) return kBadLockAction;
  return ChangeWithAccess(accessPassword, [&](Tag& tag) { return tag.Lock(payload->Unlocking()); });
}

Outcome PrinterSession::PermalockUserBlock(WideView accessPassword, std::uint32_t startBlock,
                                           int blockCount) {
  return ChangeWithAccess(accessPassword, [&](Tag& tag) {
    if (blockCount < 0) return TagAnswer::kNoSuchLocation;
    return tag.PermalockUserBlocks(startBlock, static_cast<std::size_t>(blockCount));
  });
}

Outcome PrinterSession::KillTag(WideView killPassword) {
  return ChangeWithPassword(killPassword,
                            [](Tag& tag, std::uint32_t password) { return tag.Kill(password); });
}

}  // namespace Simulator
