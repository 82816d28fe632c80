#include "platform/posix/kernel/object.h"

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/short_lock.h"

namespace platform {
namespace {

// A handle's value from the low end: two zero bits, the slot, and the slot's generation, which is
// odd while there is an object: so no handle is HKEY_CLASSES_ROOT, whose generation would be 512.
constexpr unsigned kTagBits = 2;
constexpr unsigned kSlotBits = 20;
constexpr std::uint64_t kSlots = std::uint64_t{1} << kSlotBits;
constexpr std::size_t kChunkSlots = 256;

struct SlotHandle {
  explicit SlotHandle(HANDLE handle) : SlotHandle(reinterpret_cast<std::uint64_t>(handle)) {}

  /// Whether it may be one of the table's at all.
  bool IsOurs() const { return hasTag && generation % 2 == 1; }

  bool hasTag;
  std::uint64_t slot;
  std::uint64_t generation;

 private:
  explicit SlotHandle(std::uint64_t value)
      : hasTag((value & ((1U << kTagBits) - 1)) == 0),
        slot((value >> kTagBits) & (kSlots - 1)),
        generation(value >> (kTagBits + kSlotBits)) {}
};

HANDLE HandleOf(std::uint64_t slot, std::uint64_t generation) {
  return reinterpret_cast<HANDLE>(((generation << kSlotBits) | slot) << kTagBits);
}

}  // namespace

/// A place for one object after another.
///
/// One word counts who uses the object and, above that, the generation, which changes when an
/// object comes and when it goes. A user counts itself and reads the generation in one step; so
/// does, the other way round, who takes the object away. Either the user then sees that the object
/// is gone, or the other sees that it is in use and leaves it to the last user.
class HandleSlot {
 public:
  /// Whether the object of that generation is there. EndUse follows in either case.
  bool BeginUse(std::uint64_t generation) {
    return GenerationOf(_word.fetch_add(kOneUse)) == generation;
  }
  /// Whether this was the last use of an object that may have been taken away.
  bool EndUse(std::uint64_t generation) {
    const std::uint64_t word = _word.fetch_sub(kOneUse);
    return UsesOf(word) == 1 && GenerationOf(word) != generation;
  }

  // The rest is called with the table's lock held.

  /// The generation of `newObject`, which the slot has from now on.
  std::uint64_t Put(std::shared_ptr<Object> newObject) {
    _object = std::move(newObject);
    return GenerationOf(_word += kOneGeneration);
  }
  bool Has(std::uint64_t generation) const { return GenerationOf(_word) == generation; }
  void TakeAway() {
    _word += kOneGeneration;
    _isLeaving = true;
  }
  /// The object that was taken away; null while somebody uses it.
  std::shared_ptr<Object> Empty() {
    if (!_isLeaving || UsesOf(_word) != 0) return nullptr;
    _isLeaving = false;
    return std::exchange(_object, nullptr);
  }
  /// Also without the lock during a use.
  const std::shared_ptr<Object>& Content() const { return _object; }

 private:
  static constexpr unsigned kUseBits = 24;
  static constexpr std::uint64_t kOneUse = 1;
  static constexpr std::uint64_t kOneGeneration = std::uint64_t{1} << kUseBits;

  static std::uint64_t GenerationOf(std::uint64_t word) { return word >> kUseBits; }
  static std::uint64_t UsesOf(std::uint64_t word) { return word & (kOneGeneration - 1); }

  std::atomic<std::uint64_t> _word{0};
  bool _isLeaving = false;
  std::shared_ptr<Object> _object;
};

class HandleTable {
 public:
  static HandleTable& Instance() {
    static auto* const table = new HandleTable;  // Used until the very end of the process.
    return *table;
  }

  HANDLE Insert(std::shared_ptr<Object> object) {
    std::lock_guard lock(_lock);
    if (_free.empty()) AddChunk();
    const std::uint64_t slot = _free.back();
    _free.pop_back();
    ++object->_handleCount;
    return HandleOf(slot, SlotAt(slot)->Put(std::move(object)));
  }

  /// Null for what is no handle. Takes no lock.
  HandleSlot* SlotOf(const SlotHandle& handle) const {
    return handle.IsOurs() ? SlotAt(handle.slot) : nullptr;
  }

  std::shared_ptr<Object> Remove(const SlotHandle& handle, bool& wasLast) {
    std::lock_guard lock(_lock);
    HandleSlot* const slot = SlotOf(handle);
    if (slot == nullptr || !slot->Has(handle.generation)) return nullptr;
    std::shared_ptr<Object> object = slot->Content();
    wasLast = --object->_handleCount == 0;
    slot->TakeAway();
    GiveBack(handle.slot);
    return object;
  }

  /// After the last use of an object that was taken away.
  void Empty(const SlotHandle& handle) {
    std::shared_ptr<Object> object;  // Goes without the lock.
    std::lock_guard lock(_lock);
    object = GiveBack(handle.slot);
  }

 private:
  using Chunk = std::array<HandleSlot, kChunkSlots>;

  HandleSlot* SlotAt(std::uint64_t slot) const {
    Chunk* const chunk = _chunks[slot / kChunkSlots].load(std::memory_order_acquire);
    return chunk == nullptr ? nullptr : &(*chunk)[slot % kChunkSlots];
  }

  /// Makes the slot free, unless somebody uses what was in it, and returns that.
  std::shared_ptr<Object> GiveBack(std::uint64_t slot) {
    std::shared_ptr<Object> object = SlotAt(slot)->Empty();
    if (object) _free.push_back(slot);
    return object;
  }

  void AddChunk() {
    if (_chunkCount == _chunks.size()) throw std::bad_alloc();
    auto chunk = std::make_unique<Chunk>();
    _free.reserve((_chunkCount + 1) * kChunkSlots);  // Giving a slot back needs no memory.
    const std::uint64_t first = _chunkCount * kChunkSlots;
    for (std::uint64_t slot = first + kChunkSlots; slot-- > first;) _free.push_back(slot);
    _chunks[_chunkCount++].store(chunk.release(), std::memory_order_release);
  }

  ShortLock _lock;
  std::array<std::atomic<Chunk*>, kSlots / kChunkSlots> _chunks{};  // They stay for good.
  std::size_t _chunkCount = 0;
  std::vector<std::uint64_t> _free;
};

ObjectUse::ObjectUse(HANDLE handle) : _handle(handle) {
  const SlotHandle place(handle);
  _slot = HandleTable::Instance().SlotOf(place);
  if (_slot != nullptr && _slot->BeginUse(place.generation)) _object = _slot->Content().get();
}

ObjectUse::~ObjectUse() {
  if (_slot == nullptr) return;
  const SlotHandle place(_handle);
  if (_slot->EndUse(place.generation)) HandleTable::Instance().Empty(place);
}

HANDLE InsertHandle(std::shared_ptr<Object> object) {
  KernelScope scope;
  return HandleTable::Instance().Insert(std::move(object));
}

std::shared_ptr<Object> LookupObject(HANDLE handle) {
  KernelScope scope;
  const ObjectUse use(handle);
  return use.Get() == nullptr ? nullptr : use.Get()->shared_from_this();
}

std::shared_ptr<Object> RemoveHandle(HANDLE handle) {
  KernelScope scope;
  bool wasLast = false;
  auto object = HandleTable::Instance().Remove(SlotHandle(handle), wasLast);
  if (wasLast) object->OnLastHandleClosed();
  return object;
}

}  // namespace platform
