#include "client/component/examination.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>

#include "client/component/library_kind.h"
#include "support/crash_guard.h"
#include "support/oexception.h"

namespace Tagwright {
namespace {

constexpr const char* kMembers[] = {"CreateObject",
                                    "DisposeObject",
                                    "TestManagedCodeAccessible",
                                    "InitLogging",
                                    "LogErrorEvent",
                                    "Connect",
                                    "Disconnect",
                                    "WriteEPC",
                                    "WriteMemory",
                                    "WriteUserMemory",
                                    "SetAccessPassword",
                                    "LockTag",
                                    "PermalockUserBlock",
                                    "UnlockTag",
                                    "SetKillPassword",
                                    "KillTag"};
constexpr std::size_t kFirstMemberAt = offsetof(TagwrightComponentInterface, CreateObject);
static_assert(kFirstMemberAt + std::size(kMembers) * sizeof(void*) ==
              sizeof(TagwrightComponentInterface));

std::string Milliseconds(std::chrono::steady_clock::duration duration) {
  char text[32];
  const std::chrono::duration<double, std::milli> milliseconds = duration;
  std::snprintf(text, sizeof text, "%.1f ms", milliseconds.count());
  return text;
}

std::string DescribeCrash(const OException& crash) {
  char code[16] = "";
  if (crash.Pointers() != nullptr) {
    std::snprintf(code, sizeof code, "%08lX",
                  static_cast<unsigned long>(crash.Pointers()->ExceptionRecord->ExceptionCode));
  }
  std::string message = crash.Message() != nullptr ? crash.Message() : "";
  while (!message.empty() && message.back() <= ' ') message.pop_back();
  return "crashes, exception code " + std::string(code) + " (" + message + ")";
}

/// What became of the call, when it did not return.
std::optional<std::string> Failure(void (*work)(void*), void* argument) {
  try {
    GuardCrashes(work, argument);
    return std::nullopt;
  } catch (const OException& crash) {
    return DescribeCrash(crash);
  } catch (const std::exception& exception) {
    return std::string("lets an exception cross the boundary: ") + exception.what();
  } catch (...) {
    return "lets an exception of an unknown kind cross the boundary";
  }
}

bool IsNull(const TagwrightComponentInterface& component, std::size_t member) {
  const void* function = nullptr;
  std::memcpy(&function,
              reinterpret_cast<const char*>(&component) + kFirstMemberAt + member * sizeof function,
              sizeof function);
  return function == nullptr;
}

}  // namespace

void Examination::End(const std::string& fault) {
  Fault(fault);
  throw ExaminationEnded();
}

void Examination::Run(const std::string& label, void (*work)(void*), void* argument) {
  _report.Write(ReportKind::kBegin, label);
  const auto start = std::chrono::steady_clock::now();
  const std::optional<std::string> failure = Failure(work, argument);
  const auto duration = std::chrono::steady_clock::now() - start;
  if (failure) End(label + " " + *failure);
  _report.Write(ReportKind::kEnd, Milliseconds(duration));
}

void Examination::Load(const std::string& path) {
  const std::string kind = LibraryKind(path), own = OwnLibraryKind();
  if (kind == kNoLibrary) End("it is no library");
  if (kind != own) End("it is for another machine: " + kind + ", and this is " + own);
  Run("loading", [&] { _library.emplace(path); });
  if (!_library->IsLoaded()) End("it does not load: " + _library->Problem());
  const auto getInterface =
      reinterpret_cast<TagwrightGetInterface>(_library->Function(TAGWRIGHT_COMPONENT_ENTRY));
  if (getInterface == nullptr) End("it exports no " TAGWRIGHT_COMPONENT_ENTRY);
  const TagwrightComponentInterface* unknown = nullptr;
  constexpr std::uint32_t kUnknownVersion = kTagwrightComponentVersion + 1;
  Run(TAGWRIGHT_COMPONENT_ENTRY, [&] {
    unknown = getInterface(kUnknownVersion);
    if (unknown != nullptr && unknown->version == kUnknownVersion) unknown = nullptr;
    _component = getInterface(kTagwrightComponentVersion);
  });
  if (_component == nullptr) {
    End("it does not know version " + std::to_string(kTagwrightComponentVersion));
  }
  if (unknown != nullptr)
    Fault("it answers with a table of another version than the one asked for");
  CheckTable();
}

void Examination::CheckTable() {
  std::uint32_t version = 0, size = 0;
  bool isNull[std::size(kMembers)] = {};
  Run("its table", [&] {
    version = _component->version;
    size = _component->size;
    if (size < sizeof *_component) return;
    for (std::size_t i = 0; i < std::size(kMembers); ++i) isNull[i] = IsNull(*_component, i);
  });
  if (version != kTagwrightComponentVersion) {
    End("its table says version " + std::to_string(version) + " where " +
        std::to_string(kTagwrightComponentVersion) + " was asked for");
  }
  if (size < sizeof *_component) {
    End("its table has " + std::to_string(size) + " bytes where version " +
        std::to_string(version) + " has " + std::to_string(sizeof *_component));
  }
  std::string missing;
  for (std::size_t i = 0; i < std::size(kMembers); ++i) {
    if (isNull[i]) missing += (missing.empty() ? "" : ", ") + std::string(kMembers[i]);
  }
  if (!missing.empty()) End("its table has null for " + missing);
}

void Examination::ReportCall(const std::string& label, const WitnessedResult& result,
                             std::initializer_list<const WitnessedText*> texts) {
  if (const auto problem = result.Problem()) Fault(label + " " + *problem);
  for (const WitnessedText* text : texts) {
    if (!text->IsUntouched()) Fault(label + " writes through the text that it was given");
  }
}

TagwrightComponentObject* Examination::Create() {
  TagwrightComponentObject* object = nullptr;
  const WitnessedResult result =
      Call("CreateObject", [&](auto* into) { object = _component->CreateObject(into); });
  if (result.IsException()) End("CreateObject raises an exception: " + result.Describe());
  if (object == nullptr) End("CreateObject gives no object and no exception");
  return object;
}

void Examination::Dispose(TagwrightComponentObject* object) {
  const WitnessedResult result =
      Call("DisposeObject", [&](auto* into) { _component->DisposeObject(object, into); });
  if (result.IsException()) Fault("DisposeObject raises an exception: " + result.Describe());
}

bool Examination::TestAccess() {
  const WitnessedResult result = Call("TestManagedCodeAccessible", [&](auto* into) {
    _component->TestManagedCodeAccessible(into);
  });
  if (result.IsException()) {
    Fault("TestManagedCodeAccessible raises an exception, so nothing would be encoded: " +
          result.Describe());
  }
  return !result.IsException();
}

void Examination::CallWithoutPrinter() {
  TestAccess();
  TagwrightComponentObject* const first = Create();
  TagwrightComponentObject* const second = Create();
  if (first == second) {
    Fault(
        "CreateObject gives the same object twice: it is disposed of twice, and two jobs share it");
  }
  Dispose(first);
  // The second one has to be whole after the first one's end.
  const WitnessedResult result =
      Call("InitLogging", [&](auto* into) { _component->InitLogging(second, into); });
  if (result.IsException()) Fault("InitLogging raises an exception: " + result.Describe());
  Dispose(second);
}

}  // namespace Tagwright
