#include "simulator/printer/cards.h"

#include "simulator/printer/printer_session.h"
#include "simulator/state_fixture.h"
#include "simulator/tag/tag_store.h"

namespace Simulator {
namespace {

class CardsTest : public StateTest {
 protected:
  ~CardsTest() override { DeleteFileW(TagFilePath(kAddress).c_str()); }

  static constexpr const WCHAR* kAddress = TEXT("FEEDER");

  /// One job: an EPC for a card of its own.
  static void Encode(const WCHAR* epc, bool connectPerCard = true) {
    PrinterSession session;
    session.Approach(kAddress, connectPerCard);
    ASSERT_TRUE(session.Connect().Succeeded());
    session.BeginMember("WriteEPC");
    session.EndMember(session.WriteEpc(epc));
    session.BeginMember("Disconnect");
    session.EndMember(session.Disconnect());
  }

  /// Number, EPC and failure of every card.
  static std::vector<std::string> Run() {
    std::vector<std::string> run;
    for (const CardRecord& card : ReadCards()) {
      run.push_back(std::to_string(card.number) + " " + FormatWords(card.tag->Epc()) + " " +
                    card.failure);
    }
    return run;
  }
};

TEST_F(CardsTest, EachCardIsFreshAndIsRecordedInOrder) {
  StartFeeder();
  Encode(TEXT("1111"));
  Encode(TEXT("22"));
  Encode(TEXT("3333"));
  const std::string blank = "0000 0000 0000 0000 0000 0000";
  const std::vector<std::string> expected = {
      "1 1111 ", "2 " + blank + " WriteEPC: the data is not whole words of hexadecimal digits",
      "3 3333 "};
  EXPECT_EQ(Run(), expected);
  Encode(TEXT("4444"), false);
  EXPECT_EQ(Run(), expected) << "a connection that keeps the card";
  EXPECT_EQ(FormatWords(LoadTag(kAddress).Epc()), "4444");
  StartFeeder();
  Encode(TEXT("5555"));
  EXPECT_THAT(Run(), testing::ElementsAre("1 5555 ")) << "a new run";
  StopFeeder();
  Encode(TEXT("66"));
  EXPECT_EQ(FormatWords(LoadTag(kAddress).Epc()), "5555") << "nobody feeds";
}

TEST_F(CardsTest, ACardWhoseJobBreaksOffIsRecorded) {
  StartFeeder();
  {
    PrinterSession session;
    session.Approach(kAddress, true);
    session.BeginMember("Connect");
    session.Connect();
  }
  EXPECT_THAT(Run(), testing::ElementsAre(testing::EndsWith(" Connect: an exception")));
  FeedCard(kAddress, TagKind());  // The process is gone.
  EXPECT_EQ(CardInWork()->number, 2U);
  Encode(TEXT("3333"));
  EXPECT_THAT(Run(), testing::ElementsAre(testing::_, testing::EndsWith(" the job never ended"),
                                          "3 3333 "));
  FinishCard(2, "too late");
  EXPECT_EQ(Run().size(), 3U);
}

TEST_F(CardsTest, TheFirstFailureIsTheCards) {
  StartFeeder();
  PrinterSession session;
  session.Approach(kAddress, true);
  session.BeginMember("Connect");
  session.EndMember(session.Connect());
  session.BeginMember("WriteEPC");  // It raises an exception.
  session.BeginMember("KillTag");
  session.EndMember(session.KillTag(TEXT("12345678")));
  session.BeginMember("Disconnect");
  session.EndMember(session.Disconnect());
  session.BeginMember("Disconnect");  // It raises an exception, and belongs to no card.
  session.Approach(kAddress, true);
  EXPECT_EQ(session.Card(), 2U);
  session.BeginMember("Connect");
  session.EndMember(session.Connect());
  session.Disconnect();
  EXPECT_THAT(Run(), testing::ElementsAre(testing::EndsWith(" WriteEPC: an exception"),
                                          testing::EndsWith(" 0000 ")));
}

TEST_F(CardsTest, HalfALineSpoilsNoOther) {
  StartFeeder();
  Encode(TEXT("1111"));
  Write("cards.jsonl", ReadStateFile(StateFilePath("cards.jsonl")).value() + R"({"card":2,"po)");
  Encode(TEXT("2222"));
  EXPECT_THAT(Run(), testing::ElementsAre("1 1111 ", "2 2222 "));
}

}  // namespace
}  // namespace Simulator
