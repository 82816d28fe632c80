// A printer component in C++17. The class works as its author likes, with exceptions, and knows
// nothing of the boundary; below it stands what leads there, the same for any such class.
#include <tagwright/component_api.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>

namespace {

using Text = std::basic_string<TagwrightChar>;
using Result = TagwrightCallResult;

// Tags by the addresses of their printers, and of each the data by bank and first word.
std::map<Text, std::map<std::pair<int, int>, Text>> tags;

class ZebraSdk {
 public:
  bool Connect(int, const Text& address, bool) {
    if (address.empty()) throw std::runtime_error("a printer without an address");
    _tag = &tags[address];
    return true;
  }
  bool Disconnect() {
    _tag = nullptr;
    return true;
  }
  bool WriteMemory(int bank, int offset, const Text& data) {
    if (data.empty() || data.size() % 4 != 0) return false;
    Tag()[{bank, offset}] = data;
    return true;
  }
  bool WriteEPC(const Text& data) { return WriteMemory(1, 2, data); }
  bool WriteUserMemory(int offset, const Text& data) { return WriteMemory(3, offset, data); }
  bool SetPassword(const Text& password) { return Tag(), password.size() == 8; }
  bool Lock(const Text& password, int action) { return SetPassword(password) && action != 0; }
  bool Permalock(const Text& password, unsigned, int count) {
    return SetPassword(password) && count > 0;
  }

 private:
  std::map<std::pair<int, int>, Text>& Tag() const {
    if (_tag == nullptr) throw std::logic_error("not connected");
    return *_tag;
  }
  std::map<std::pair<int, int>, Text>* _tag = nullptr;
};

template <std::size_t size>
void CopyCut(const char* text, TagwrightChar (&target)[size]) {
  const std::size_t length = std::min(std::char_traits<char>::length(text), size - 1);
  std::copy_n(text, length, target);
  target[length] = 0;
}

// No exception leaves it. A crash is none of the language's exceptions, and is not caught here.
template <class Work>
void Guard(Result* result, Work work) {
  try {
    result->returned = work() ? 1 : 0;
  } catch (const std::exception& exception) {
    result->outcome = kTagwrightStandardException;
    CopyCut(exception.what(), result->message);
  }
}

ZebraSdk& Sdk(TagwrightComponentObject* object) { return *reinterpret_cast<ZebraSdk*>(object); }

Text Own(TagwrightText text) {
  return text.length == 0 ? Text() : Text(text.characters, text.length);
}
template <class Number>
Number Own(Number number) {
  return number;
}

// One function of the table: a member of the class, called with arguments of its own.
template <auto member, class... Arguments>
void Forward(TagwrightComponentObject* object, Arguments... arguments, Result* result) {
  Guard(result, [&] { return (Sdk(object).*member)(Own(arguments)...); });
}

TagwrightComponentObject* Create(Result* result) {
  ZebraSdk* sdk = nullptr;
  Guard(result, [&] { return (sdk = new ZebraSdk) != nullptr; });
  return reinterpret_cast<TagwrightComponentObject*>(sdk);
}
void Dispose(TagwrightComponentObject* object, Result*) { delete &Sdk(object); }
void Test(Result*) {}
void InitLogging(TagwrightComponentObject*, Result*) {}
void LogErrorEvent(TagwrightComponentObject*, TagwrightText, Result*) {}

using I = std::int32_t;
using U = std::uint32_t;
using T = TagwrightText;

constexpr TagwrightComponentInterface kMembers = {
    sizeof(TagwrightComponentInterface),
    kTagwrightComponentVersion,
    Create,
    Dispose,
    Test,
    InitLogging,
    LogErrorEvent,
    Forward<&ZebraSdk::Connect, I, T, U>,
    Forward<&ZebraSdk::Disconnect>,
    Forward<&ZebraSdk::WriteEPC, T>,
    Forward<&ZebraSdk::WriteMemory, I, I, T>,
    Forward<&ZebraSdk::WriteUserMemory, I, T>,
    Forward<&ZebraSdk::SetPassword, T>,
    Forward<&ZebraSdk::Lock, T, I>,
    Forward<&ZebraSdk::Permalock, T, U, I>,
    Forward<&ZebraSdk::Lock, T, I>,
    Forward<&ZebraSdk::SetPassword, T>,
    Forward<&ZebraSdk::SetPassword, T>,
};

}  // namespace

const TagwrightComponentInterface* TagwrightManagedGetInterface(std::uint32_t version) {
  return version == kTagwrightComponentVersion ? &kMembers : nullptr;
}
