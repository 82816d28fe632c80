#include "encode/operations.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

int NumberAttribute(const TiXmlElement& element, const char* name) {
  const char* text = element.Attribute(name);
  if (text == nullptr) return 0;
  // The width of long differs between the systems; long long is wider than int on both.
  return static_cast<int>(std::clamp<long long>(std::strtoll(text, nullptr, 10),
                                                std::numeric_limits<int>::min(),
                                                std::numeric_limits<int>::max()));
}

OString TextAttribute(const TiXmlElement& element, const char* name) {
  const char* text = element.Attribute(name);
  return text == nullptr ? OString() : OString(text);
}

Printer::Printer(const TiXmlElement* element) {
  if (element != nullptr) Parse(element);
}

void Printer::Parse(const TiXmlElement* element) {
  _portType = NumberAttribute(*element, "port_type");
  _portAddress = TextAttribute(*element, "port_address");
  _readerConnectPerCard = TextAttribute(*element, "uhfEncodeMode_ReaderConnectPerCard") == "1";
}

WriteData::WriteData(const TiXmlElement* element) {
  if (element != nullptr) Parse(element);
}

void WriteData::Parse(const TiXmlElement* element) {
  _segment = NumberAttribute(*element, "segment");
  _offset = NumberAttribute(*element, "offset");
  _data = TextAttribute(*element, "data");
}

Lock::Lock(const TiXmlElement* element) {
  if (element != nullptr) Parse(element);
}

void Lock::Parse(const TiXmlElement* element) {
  _lockAction = NumberAttribute(*element, "lock_action");
  _password = TextAttribute(*element, "password");
  _block = TextAttribute(*element, "block");
  if (!IsBlockPermalock()) return;
  _startBlock = NumberAttribute(*element, "startblock");
  _blockCount = NumberAttribute(*element, "blockcount");
}

bool Lock::IsBlockPermalock() const { return _block.CompareNoCase("yes") == 0; }

Unlock::Unlock(const TiXmlElement* element) {
  if (element == nullptr) return;
  _unlockAction = NumberAttribute(*element, "lock_action");
  _password = TextAttribute(*element, "password");
}

Password::Password(const TiXmlElement* element) {
  if (element == nullptr) return;
  _type = NumberAttribute(*element, "type");
  _password = TextAttribute(*element, "password");
}

KillTag::KillTag(const TiXmlElement* element) {
  if (element != nullptr) _killPassword = TextAttribute(*element, "password");
}
