/// What the element classes read from a job's operations.
#include <gtest/gtest.h>

#include <climits>

#include "encode/job_document.h"
#include "encode/operations.h"

namespace {

/// An element of the given class, read from XML text.
template <class Element>
Element Read(const std::string& xml) {
  TiXmlDocument document;
  document.Parse(xml.c_str());
  EXPECT_NE(document.RootElement(), nullptr) << xml;
  return Element(document.RootElement());
}

TEST(ElementsTest, Numbers) {
  for (const auto& [xml, offset] : {std::pair{"<w offset='12abc'/>", 12},
                                    {"<w offset='0x1F'/>", 0},
                                    {"<w offset=' -1'/>", -1},
                                    {"<w Offset='5'/>", 0},
                                    {"<w offset='99999999999999999999'/>", INT_MAX},
                                    {"<w offset='-3000000000'/>", INT_MIN}}) {
    EXPECT_EQ(Read<WriteData>(xml).get_Offset(), offset) << xml;
  }
}

TEST(ElementsTest, PrinterConnectsPerCardOnlyForOne) {
  for (const std::string value : {"true", "01", "1 ", "", "1"}) {
    EXPECT_EQ(Read<Printer>("<p uhfEncodeMode_ReaderConnectPerCard='" + value + "'/>")
                  .get_IsReaderConnectPerCardEnabled(),
              value == "1");
  }
  EXPECT_FALSE(Printer(nullptr).get_IsReaderConnectPerCardEnabled());
}

TEST(ElementsTest, BlocksAreReadWithAPermanentLockOnly) {
  for (const auto& [block, isPermalock] :
       {std::pair{"yes", true}, {"YES", true}, {"y", false}, {"", false}}) {
    const auto lock =
        Read<Lock>(std::string("<lock startblock='-1' blockcount='3' block='") + block + "'/>");
    EXPECT_EQ(lock.IsBlockPermalock(), isPermalock) << block;
    EXPECT_EQ(lock.get_StartBlock(), isPermalock ? -1 : 0) << block;
    EXPECT_EQ(lock.get_BlockCount(), isPermalock ? 3 : 0) << block;
  }
}

JobDocumentPtr Parse(const std::string& xml, Places places = Places::kUncounted) {
  return ParseJobDocument(reinterpret_cast<const unsigned char*>(xml.data()),
                          static_cast<DWORD>(xml.size()), places);
}

TEST(JobDocumentTest, EndsAtItsFirstNulAndKnowsPlacesOnDemand) {
  // The damaged sequence would take the parser past one NUL.
  EXPECT_TRUE(Parse(std::string("<?xml?><a b='\xF0\0zz'/>", 20))->Error());
  EXPECT_EQ(Parse("\n\n<a/>")->RootElement()->Row(), 1);
  EXPECT_EQ(Parse("\n\n<a/>", Places::kCounted)->RootElement()->Row(), 3);
}

TEST(JobDocumentTest, WipingLeavesNothingOfTheJob) {
  const JobDocumentPtr document =
      Parse("<zsdk_job><write data='E200' segment='1'>text</write></zsdk_job>");
  const TiXmlElement* write = document->RootElement()->FirstChildElement();
  const TiXmlAttribute* data = write->FirstAttribute();
  ASSERT_EQ(data->ValueStr(), "E200");
  WipeNode(*document);
  EXPECT_EQ(data->ValueStr(), std::string(4, '\0'));
  EXPECT_EQ(data->Next()->ValueStr(), std::string(1, '\0'));
  EXPECT_EQ(write->FirstChild()->ValueStr(), std::string(4, '\0'));
}

}  // namespace
