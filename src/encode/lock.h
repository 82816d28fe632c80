/// The `lock` element: a lock action, or the permanent lock of User-memory blocks.
#pragma once

#include <tinyxml.h>

#include "support/ostring.h"

/// | attribute | meaning |
/// |---|---|
/// | lock_action | number; its values are the printer component's |
/// | password | text; the tag's access password |
/// | block | "yes" in any letter case selects the permanent lock of blocks |
/// | startblock, blockcount | numbers; read with the permanent lock only |
class Lock {
 public:
  /// With a null element the fields keep their initial values.
  explicit Lock(const TiXmlElement* element);
  virtual ~Lock() = default;

  /// Reads every attribute again; start block and block count only when `block` is yes.
  void Parse(const TiXmlElement* element);

  bool IsBlockPermalock() const;
  int get_LockAction() const { return _lockAction; }
  OString get_Password() const { return _password; }
  int get_StartBlock() const { return _startBlock; }
  int get_BlockCount() const { return _blockCount; }

 private:
  int _lockAction = 0;
  OString _password;
  OString _block = "no";
  int _startBlock = 0;
  int _blockCount = 0;
};
