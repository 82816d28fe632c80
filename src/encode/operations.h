/// The operations of a job document: each class reads the attributes of one element into typed
/// values. Attribute names are matched exactly, letter case included. Nothing here fails or logs,
/// and no value is checked: what the values mean is the printer component's business.
#pragma once

#include <tinyxml.h>

#include "support/ostring.h"

/// Optional leading white space, an optional sign, then decimal digits up to the first other
/// character; no digits give 0, and so does an absent attribute. A number beyond the range of int
/// becomes the nearest int.
int NumberAttribute(const TiXmlElement& element, const char* name);

/// The value as it stands; empty when the attribute is absent.
OString TextAttribute(const TiXmlElement& element, const char* name);

/// The `printer` element: how to reach the printer's encoder.
///
/// | attribute | meaning |
/// |---|---|
/// | port_type | number; its values are the printer component's |
/// | port_address | text; the printer component's as well |
/// | uhfEncodeMode_ReaderConnectPerCard | exactly "1": the reader is connected for each card |
class Printer {
 public:
  /// With a null element the fields keep their initial values.
  explicit Printer(const TiXmlElement* element);
  virtual ~Printer() = default;

  /// Reads every attribute again.
  void Parse(const TiXmlElement* element);

  int get_PortType() const { return _portType; }
  OString get_PortAddress() const { return _portAddress; }
  bool get_IsReaderConnectPerCardEnabled() const { return _readerConnectPerCard; }

 private:
  int _portType = 0;
  OString _portAddress;
  bool _readerConnectPerCard = false;
};

/// The `write` element: one write into tag memory.
///
/// | attribute | meaning |
/// |---|---|
/// | segment | number of the memory bank as EPC Gen2 numbers the banks (0 Reserved to 3 User) |
/// | offset | number; where in the bank to start, without a meaning for the EPC bank |
/// | data | text, in the printer component's form |
class WriteData {
 public:
  /// The banks with a component call of their own; every other segment is a generic memory write.
  static constexpr int kEpcBank = 1;
  static constexpr int kUserBank = 3;

  /// With a null element the fields keep their initial values.
  explicit WriteData(const TiXmlElement* element);
  virtual ~WriteData() = default;

  /// Reads every attribute again.
  void Parse(const TiXmlElement* element);

  int get_Segment() const { return _segment; }
  int get_Offset() const { return _offset; }
  OString get_Data() const { return _data; }

 private:
  int _segment = 0;
  int _offset = 0;
  OString _data;
};

/// The `lock` element: a lock action, or the permanent lock of User-memory blocks.
///
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

/// The `unlock` element.
///
/// | attribute | meaning |
/// |---|---|
/// | lock_action | number of the unlock action; its values are the printer component's |
/// | password | text; the tag's access password |
class Unlock {
 public:
  /// With a null element the fields keep their initial values.
  explicit Unlock(const TiXmlElement* element);
  virtual ~Unlock() = default;

  int get_UnlockAction() const { return _unlockAction; }
  OString get_Password() const { return _password; }

 private:
  int _unlockAction = 0;
  OString _password;
};

/// The `setpassword` element: a new password for the tag.
///
/// | attribute | meaning |
/// |---|---|
/// | type | number; 1 is the kill password, any other the access password |
/// | password | text, in the printer component's form |
class Password {
 public:
  /// With a null element the fields keep their initial values.
  explicit Password(const TiXmlElement* element);
  virtual ~Password() = default;

  bool IsKillPassword() const { return _type == kKillPassword; }
  OString get_Password() const { return _password; }

 private:
  static constexpr int kKillPassword = 1;

  int _type = kKillPassword;
  OString _password;
};

/// The `killtag` element: the tag is to be silenced for good.
///
/// The attribute `password` is the tag's kill password, in the printer component's form.
class KillTag {
 public:
  /// With a null element the password is empty.
  explicit KillTag(const TiXmlElement* element);
  virtual ~KillTag() = default;

  OString get_KillPassword() const { return _killPassword; }

 private:
  OString _killPassword;
};
