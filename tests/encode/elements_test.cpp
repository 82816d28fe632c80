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
  const struct {
    const char* attribute;
    int value;
  } cases[] = {
      {"offset='12abc'", 12},
      {"offset='0x1F'", 0},
      {"offset=' -1'", -1},
      {"", 0},
      {"Offset='5'", 0},
      {"offset='2147483647'", INT_MAX},
      {"offset='99999999999999999999'", INT_MAX},
      {"offset='-3000000000'", INT_MIN},
  };
  for (const auto& expected : cases) {
    const auto write = Read<WriteData>(std::string("<write ") + expected.attribute + "/>");
    EXPECT_EQ(write.get_Offset(), expected.value) << expected.attribute;
  }
}

TEST(ElementsTest, PrinterConnectsPerCardOnlyForOne) {
  for (const std::string off : {"true", "01", "1 ", ""}) {
    EXPECT_FALSE(Read<Printer>("<p uhfEncodeMode_ReaderConnectPerCard='" + off + "'/>")
                     .get_IsReaderConnectPerCardEnabled());
  }
  EXPECT_FALSE(Printer(nullptr).get_IsReaderConnectPerCardEnabled());
  EXPECT_TRUE(Read<Printer>("<p uhfEncodeMode_ReaderConnectPerCard='1'/>")
                  .get_IsReaderConnectPerCardEnabled());
}

TEST(ElementsTest, BlocksAreReadWithAPermanentLockOnly) {
  for (const auto& [block, isPermalock] :
       {std::pair{"block='yes'", true}, {"block='YES'", true}, {"block='y'", false}, {"", false}}) {
    const auto lock = Read<Lock>(std::string("<lock startblock='-1' blockcount='3' lock_action='9' "
                                             "password='1234' ") +
                                 block + "/>");
    EXPECT_EQ(lock.IsBlockPermalock(), isPermalock) << block;
    EXPECT_EQ(lock.get_StartBlock(), isPermalock ? -1 : 0) << block;
    EXPECT_EQ(lock.get_BlockCount(), isPermalock ? 3 : 0) << block;
    EXPECT_EQ(lock.get_LockAction(), 9);
    EXPECT_TRUE(lock.get_Password() == "1234");
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
