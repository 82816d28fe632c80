#include "encode/printer.h"

#include "encode/attributes.h"

Printer::Printer(const TiXmlElement* element) {
  if (element != nullptr) Parse(element);
}

void Printer::Parse(const TiXmlElement* element) {
  _portType = NumberAttribute(*element, "port_type");
  _portAddress = TextAttribute(*element, "port_address");
  _readerConnectPerCard = TextAttribute(*element, "uhfEncodeMode_ReaderConnectPerCard") == "1";
}
