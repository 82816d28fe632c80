#include "encode/lock.h"

#include "encode/attributes.h"

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
