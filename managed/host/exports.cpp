/// The component's table: each function makes a record of its arguments and has a worker run it.
#include <algorithm>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "managed/host/worker.h"

/// A managed object, and the worker that all of its calls run on, as if there were one thread.
struct TagwrightComponentObject {
  Managed::Worker* worker;
  void* handle;
};

namespace {

using Managed::ManagedCall;
using Managed::Member;
using Managed::Worker;
using Object = TagwrightComponentObject;
using Result = TagwrightCallResult;

/// Failures of this host itself, outside of managed code. A crash passes.
template <class Work>
void Guard(Result* result, Work work) {
  try {
    work();
  } catch (const std::exception& exception) {
    const char* const text = exception.what();
    const std::size_t length =
        std::min(std::char_traits<char>::length(text), std::size_t{kTagwrightMessageSize - 1});
    std::copy_n(text, length, result->message);
    result->message[length] = 0;
    result->outcome = kTagwrightStandardException;
  }
}

ManagedCall Arguments(Member member, std::int32_t first = 0, std::int32_t second = 0,
                      TagwrightText text = {}) {
  return {member,          first,   second, static_cast<std::int32_t>(text.length),
          text.characters, nullptr, {}};
}

/// A worker for one call, which belongs to no object yet.
class TakenWorker {
 public:
  TakenWorker() : _worker(&Worker::Take()) {}
  ~TakenWorker() {
    if (_worker != nullptr) _worker->GiveBack();
  }
  TakenWorker(const TakenWorker&) = delete;
  TakenWorker& operator=(const TakenWorker&) = delete;

  void Run(ManagedCall& call) { _worker->Run(call); }
  Worker* Release() { return std::exchange(_worker, nullptr); }

 private:
  Worker* _worker;
};

void RunFor(Object* object, ManagedCall call, Result* result) {
  Guard(result, [&] {
    if (!object->worker->IsUsable()) object->worker = &Worker::Take();
    call.object = object->handle;
    object->worker->Run(call);
    *result = call.result;
  });
}

Object* CreateObject(Result* result) {
  Object* object = nullptr;
  Guard(result, [&] {
    TakenWorker worker;
    ManagedCall call = Arguments(Member::kCreate);
    worker.Run(call);
    *result = call.result;
    if (result->outcome == kTagwrightReturned) object = new Object{worker.Release(), call.object};
  });
  return object;
}

void DisposeObject(Object* object, Result* result) {
  const std::unique_ptr<Object> owned(object);
  RunFor(object, Arguments(Member::kDispose), result);
  object->worker->GiveBack();
}

void TestManagedCodeAccessible(Result* result) {
  Guard(result, [&] {
    TakenWorker worker;
    ManagedCall call = Arguments(Member::kTestManagedCodeAccessible);
    worker.Run(call);
    *result = call.result;
  });
}

template <Member member>
void Plain(Object* object, Result* result) {
  RunFor(object, Arguments(member), result);
}

template <Member member>
void WithText(Object* object, TagwrightText text, Result* result) {
  RunFor(object, Arguments(member, 0, 0, text), result);
}

template <Member member>
void WithTextAndNumber(Object* object, TagwrightText text, std::int32_t number, Result* result) {
  RunFor(object, Arguments(member, number, 0, text), result);
}

void Connect(Object* object, std::int32_t portType, TagwrightText address,
             std::uint32_t connectPerCard, Result* result) {
  RunFor(object,
         Arguments(Member::kConnect, portType, static_cast<std::int32_t>(connectPerCard), address),
         result);
}

void WriteMemory(Object* object, std::int32_t bank, std::int32_t offset, TagwrightText data,
                 Result* result) {
  RunFor(object, Arguments(Member::kWriteMemory, bank, offset, data), result);
}

void WriteUserMemory(Object* object, std::int32_t offset, TagwrightText data, Result* result) {
  RunFor(object, Arguments(Member::kWriteUserMemory, offset, 0, data), result);
}

void PermalockUserBlock(Object* object, TagwrightText password, std::uint32_t start,
                        std::int32_t count, Result* result) {
  RunFor(object,
         Arguments(Member::kPermalockUserBlock, static_cast<std::int32_t>(start), count, password),
         result);
}

constexpr TagwrightComponentInterface kInterface = {
    sizeof(TagwrightComponentInterface),
    kTagwrightComponentVersion,
    CreateObject,
    DisposeObject,
    TestManagedCodeAccessible,
    Plain<Member::kInitLogging>,
    WithText<Member::kLogErrorEvent>,
    Connect,
    Plain<Member::kDisconnect>,
    WithText<Member::kWriteEPC>,
    WriteMemory,
    WriteUserMemory,
    WithText<Member::kSetAccessPassword>,
    WithTextAndNumber<Member::kLockTag>,
    PermalockUserBlock,
    WithTextAndNumber<Member::kUnlockTag>,
    WithText<Member::kSetKillPassword>,
    WithText<Member::kKillTag>,
};

}  // namespace

const TagwrightComponentInterface* TagwrightManagedGetInterface(std::uint32_t version) {
  return version == kTagwrightComponentVersion ? &kInterface : nullptr;
}
