/// The `write` element: one write into tag memory.
#pragma once

#include <tinyxml.h>

#include "support/ostring.h"

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
