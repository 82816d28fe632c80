/// The exported entry of the component and the functions behind its table.
#include <algorithm>
#include <exception>
#include <memory>

#include "sdk/component_api.h"
#include "simulator/component/member_exception.h"
#include "simulator/component/zebra_sdk.h"

struct TagwrightComponentObject {
  Simulator::ZebraSdk sdk;
};

namespace {

using Simulator::CallDetails;
using Simulator::MemberException;
using Simulator::WideText;
using Simulator::WideView;
using Object = TagwrightComponentObject;
using Result = TagwrightCallResult;

WideView View(TagwrightText text) { return WideView(text.characters, text.length); }

template <std::size_t size>
void CopyCut(const WideText& text, WCHAR (&target)[size]) {
  const std::size_t count = std::min(text.size(), size - 1);
  std::copy_n(text.data(), count, target);
  target[count] = 0;
}

void Describe(TagwrightCallOutcome kind, const WideText& message, const WideText& fullText,
              Result& result) {
  result.outcome = kind;
  result.returned = 0;
  CopyCut(message, result.message);
  CopyCut(fullText, result.fullText);
}

/// Runs `call` (to a bool) and describes its exceptions. Nothing else is caught: what a crash turns
/// into belongs to the caller's thread.
template <class Call>
void Guard(Result* result, Call call) {
  try {
    result->returned = call() ? 1 : 0;
    result->outcome = kTagwrightReturned;
  } catch (const MemberException& exception) {
    Describe(exception.Kind(), exception.Message(), exception.FullText(), *result);
  } catch (const std::exception& exception) {
    Describe(kTagwrightStandardException, Simulator::FromUtf8(exception.what()), WideText(),
             *result);
  }
}

/// Runs `work` (Simulator::PrinterSession& to Outcome) as `member` of the object. `details` (to
/// CallDetails) describes its arguments for the log.
template <class Details, class Work>
void Member(Object* object, Result* result, const char* member, Details details, Work work) {
  Guard(result, [&] {
    return object->sdk.Run(member, details(), [&] { return work(object->sdk.Session()); });
  });
}

CallDetails NoDetails() { return {}; }

/// `text` and the length of `data`.
CallDetails WithData(const OString& text, TagwrightText data) {
  constexpr std::size_t kDigitsPerWord = 4;
  return {text + (OString("characters = ") << static_cast<int>(data.length)),
          data.length / kDigitsPerWord};
}

Object* CreateObject(Result* result) {
  Object* object = nullptr;
  Guard(result, [&] {
    object = new Object();
    return true;
  });
  return object;
}

void DisposeObject(Object* object, Result* result) {
  const std::unique_ptr<Object> owned(object);
  Member(object, result, "Dispose", NoDetails, [](auto&) { return Simulator::Outcome{}; });
}

void TestManagedCodeAccessible(Result* result) {
  Guard(result, [] {
    Simulator::ZebraSdk::TestManagedCodeAccessible();
    return true;
  });
}

void InitLogging(Object* object, Result* result) {
  Guard(result, [&] {
    object->sdk.InitLogging();
    return true;
  });
}

void LogErrorEvent(Object* object, TagwrightText text, Result* result) {
  Guard(result, [&] {
    object->sdk.LogErrorEvent(WideText(View(text)).c_str());
    return true;
  });
}

void Connect(Object* object, std::int32_t portType, TagwrightText printerAddress,
             std::uint32_t connectPerCard, Result* result) {
  const OString details = OString("port type = ")
                          << portType
                          << ", connect per card = " << static_cast<int>(connectPerCard);
  Guard(result,
        [&] { return object->sdk.Connect(View(printerAddress), connectPerCard != 0, {details}); });
}

void Disconnect(Object* object, Result* result) {
  Member(object, result, "Disconnect", NoDetails,
         [](auto& session) { return session.Disconnect(); });
}

void WriteEPC(Object* object, TagwrightText data, Result* result) {
  Member(
      object, result, "WriteEPC", [&] { return WithData("", data); },
      [&](auto& session) { return session.WriteEpc(View(data)); });
}

void WriteMemory(Object* object, std::int32_t bank, std::int32_t offset, TagwrightText data,
                 Result* result) {
  const auto details = [&] {
    return WithData(OString("bank = ") << bank << ", offset = " << offset << ", ", data);
  };
  Member(object, result, "WriteMemory", details,
         [&](auto& session) { return session.WriteMemory(bank, offset, View(data)); });
}

void WriteUserMemory(Object* object, std::int32_t offset, TagwrightText data, Result* result) {
  constexpr int kUserBank = static_cast<int>(Simulator::Bank::kUser);
  const auto details = [&] { return WithData(OString("offset = ") << offset << ", ", data); };
  Member(object, result, "WriteUserMemory", details,
         [&](auto& session) { return session.WriteMemory(kUserBank, offset, View(data)); });
}

void SetAccessPassword(Object* object, TagwrightText password, Result* result) {
  Member(object, result, "SetAccessPassword", NoDetails,
         [&](auto& session) { return session.SetAccessPassword(View(password)); });
}

void LockTag(Object* object, TagwrightText accessPassword, std::int32_t lockAction,
             Result* result) {
  Member(
      object, result, "LockTag", [&] { return CallDetails{OString("action = ") << lockAction}; },
      [&](auto& session) { return session.LockTag(View(accessPassword), lockAction); });
}

void PermalockUserBlock(Object* object, TagwrightText accessPassword, std::uint32_t startAddress,
                        std::int32_t blockCount, Result* result) {
  const auto details = [&] {
    return CallDetails{OString("start = ")
                       << OString(DWORD{startAddress}) << ", count = " << blockCount};
  };
  Member(object, result, "PermalockUserBlock", details, [&](auto& session) {
    return session.PermalockUserBlock(View(accessPassword), startAddress, blockCount);
  });
}

void UnlockTag(Object* object, TagwrightText accessPassword, std::int32_t unlockAction,
               Result* result) {
  Member(
      object, result, "UnlockTag",
      [&] { return CallDetails{OString("action = ") << unlockAction}; },
      [&](auto& session) { return session.UnlockTag(View(accessPassword), unlockAction); });
}

void SetKillPassword(Object* object, TagwrightText password, Result* result) {
  Member(object, result, "SetKillPassword", NoDetails,
         [&](auto& session) { return session.SetKillPassword(View(password)); });
}

void KillTag(Object* object, TagwrightText killPassword, Result* result) {
  Member(object, result, "KillTag", NoDetails,
         [&](auto& session) { return session.KillTag(View(killPassword)); });
}

constexpr TagwrightComponentInterface kInterface = {
    sizeof(TagwrightComponentInterface),
    kTagwrightComponentVersion,
    CreateObject,
    DisposeObject,
    TestManagedCodeAccessible,
    InitLogging,
    LogErrorEvent,
    Connect,
    Disconnect,
    WriteEPC,
    WriteMemory,
    WriteUserMemory,
    SetAccessPassword,
    LockTag,
    PermalockUserBlock,
    UnlockTag,
    SetKillPassword,
    KillTag,
};

}  // namespace

const TagwrightComponentInterface* TagwrightManagedGetInterface(std::uint32_t version) {
  return version == kTagwrightComponentVersion ? &kInterface : nullptr;
}
