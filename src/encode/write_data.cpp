#include "encode/write_data.h"

#include "encode/attributes.h"

WriteData::WriteData(const TiXmlElement* element) {
  if (element != nullptr) Parse(element);
}

void WriteData::Parse(const TiXmlElement* element) {
  _segment = NumberAttribute(*element, "segment");
  _offset = NumberAttribute(*element, "offset");
  _data = TextAttribute(*element, "data");
}
