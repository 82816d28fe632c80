#include "simulator/tag/printer_session.h"

#include <optional>

#include "simulator/tag/tag_store.h"

namespace Simulator {
namespace {

const Outcome kDone{};
const Outcome kNotConnected{"not connected"};
const Outcome kBadData{"the data is not whole words of hexadecimal digits"};
const Outcome kBadPassword{"a password has 8 hexadecimal digits"};
const Outcome kBadLockAction{"a lock action is a payload of 20 bits"};

Outcome FromAnswer(TagAnswer answer) {
  return answer == TagAnswer::kDone ? kDone : Outcome{AnswerText(answer)};
}

}  // namespace

Outcome PrinterSession::Connect(WideView portAddress) {
  if (portAddress.empty()) return {"no printer at an empty address"};
  _portAddress = portAddress;
  _connected = true;
  _secured = false;
  return kDone;
}

Outcome PrinterSession::Disconnect() {
  if (!_connected) return kNotConnected;
  _connected = false;
  _secured = false;
  return kDone;
}

template <class Operation>
Outcome PrinterSession::Change(Operation operation) {
  if (!_connected) return kNotConnected;
  Tag tag = LoadTag(_portAddress);
  _secured = _secured || tag.AccessPassword() == 0;
  const TagAnswer answer = tag.IsKilled() ? TagAnswer::kSilent : operation(tag);
  if (answer == TagAnswer::kDone) SaveTag(_portAddress, tag);
  return FromAnswer(answer);
}

template <class Operation>
Outcome PrinterSession::ChangeWithAccess(WideView accessPassword, Operation operation) {
  const std::optional<std::uint32_t> password = ParsePassword(accessPassword);
  if (!password) return kBadPassword;
  return Change([&](Tag& tag) {
    _secured = *password == tag.AccessPassword();
    return _secured ? operation(tag) : TagAnswer::kWrongPassword;
  });
}

Outcome PrinterSession::WriteEpc(WideView data) {
  const std::optional<Words> epc = ParseWords(data);
  if (!epc) return kBadData;
  return Change([&](Tag& tag) { return tag.WriteEpc(*epc, _secured); });
}

Outcome PrinterSession::WriteMemory(int bank, int offset, WideView data) {
  const std::optional<Words> words = ParseWords(data);
  if (!words) return kBadData;
  return Change([&](Tag& tag) {
    if (bank < 0 || bank >= static_cast<int>(kBankCount) || offset < 0) {
      return TagAnswer::kNoSuchLocation;
    }
    return tag.Write(static_cast<Bank>(bank), static_cast<std::size_t>(offset), *words, _secured);
  });
}

Outcome PrinterSession::SetAccessPassword(WideView password) {
  const std::optional<std::uint32_t> value = ParsePassword(password);
  if (!value) return kBadPassword;
  return Change([&](Tag& tag) { return tag.SetAccessPassword(*value, _secured); });
}

Outcome PrinterSession::SetKillPassword(WideView password) {
  const std::optional<std::uint32_t> value = ParsePassword(password);
  if (!value) return kBadPassword;
  return Change([&](Tag& tag) { return tag.SetKillPassword(*value, _secured); });
}

Outcome PrinterSession::LockTag(WideView accessPassword, int action) {
  const std::optional<LockPayload> payload = LockPayload::FromNumber(action);
  if (!payload) return kBadLockAction;
  return ChangeWithAccess(accessPassword, [&](Tag& tag) { return tag.Lock(*payload); });
}

Outcome PrinterSession::UnlockTag(WideView accessPassword, int action) {
  const std::optional<LockPayload> payload = LockPayload::FromNumber(action);
  if (!payload) return kBadLockAction;
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
  const std::optional<std::uint32_t> password = ParsePassword(killPassword);
  if (!password) return kBadPassword;
  return Change([&](Tag& tag) { return tag.Kill(*password); });
}

}  // namespace Simulator
