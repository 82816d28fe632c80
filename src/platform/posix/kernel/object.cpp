#include "platform/posix/kernel/object.h"

#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/posix/kernel/kernel_scope.h"

namespace platform {
namespace {

// A handle's value from the low end: two zero bits, the slot, the slot's generation.
constexpr unsigned kTagBits = 2;
constexpr unsigned kSlotBits = 20;
constexpr std::uint64_t kSlotMask = (std::uint64_t{1} << kSlotBits) - 1;

struct Slot {
  std::shared_ptr<Object> object;
  std::uint64_t generation = 1;
};

}  // namespace

class HandleTable {
 public:
  static HandleTable& Instance() {
    static auto* const table = new HandleTable;  // Used until the very end of the process.
    return *table;
  }

  HANDLE Insert(std::shared_ptr<Object> object) {
    std::lock_guard lock(_lock);
    if (_free.empty()) {
      _free.push_back(_slots.size());
      _slots.emplace_back();
    }
    const std::uint64_t index = _free.back();
    _free.pop_back();
    ++object->_handleCount;
    _slots[index].object = std::move(object);
    return reinterpret_cast<HANDLE>(((_slots[index].generation << kSlotBits) | index) << kTagBits);
  }

  std::shared_ptr<Object> Find(HANDLE handle) {
    std::lock_guard lock(_lock);
    const Slot* slot = SlotOf(handle);
    return slot == nullptr ? nullptr : slot->object;
  }

  std::shared_ptr<Object> Remove(HANDLE handle, bool& wasLast) {
    std::lock_guard lock(_lock);
    Slot* slot = SlotOf(handle);
    if (slot == nullptr) return nullptr;
    auto object = std::exchange(slot->object, nullptr);
    ++slot->generation;
    _free.push_back(static_cast<std::size_t>(slot - _slots.data()));
    wasLast = --object->_handleCount == 0;
    return object;
  }

 private:
  Slot* SlotOf(HANDLE handle) {
    const auto value = reinterpret_cast<std::uint64_t>(handle);
    const std::uint64_t index = (value >> kTagBits) & kSlotMask;
    const bool isOurs = (value & ((1U << kTagBits) - 1)) == 0 && index < _slots.size() &&
                        _slots[index].object != nullptr &&
                        _slots[index].generation == value >> (kTagBits + kSlotBits);
    return isOurs ? &_slots[index] : nullptr;
  }

  std::mutex _lock;
  /// The first is never used: its 512th handle would be HKEY_CLASSES_ROOT.
  std::vector<Slot> _slots{1};
  std::vector<std::size_t> _free;
};

HANDLE InsertHandle(std::shared_ptr<Object> object) {
  KernelScope scope;
  return HandleTable::Instance().Insert(std::move(object));
}

std::shared_ptr<Object> LookupObject(HANDLE handle) {
  KernelScope scope;
  return HandleTable::Instance().Find(handle);
}

std::shared_ptr<Object> RemoveHandle(HANDLE handle) {
  KernelScope scope;
  bool wasLast = false;
  auto object = HandleTable::Instance().Remove(handle, wasLast);
  if (wasLast) object->OnLastHandleClosed();
  return object;
}

}  // namespace platform
