/// The `printer` element: how to reach the printer's encoder.
#pragma once

#include <tinyxml.h>

#include "support/ostring.h"

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
