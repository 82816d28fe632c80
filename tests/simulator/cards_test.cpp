#include "simulator/printer/cards.h"

#include "simulator/printer/printer_session.h"
#include "simulator/state_fixture.h"
#include "simulator/tag/tag_store.h"

namespace Simulator {
namespace {

using CardsTest = StateTest;

TEST_F(CardsTest, TheFirstFailureIsTheCards) {
  constexpr const WCHAR* kAddress = TEXT("FEEDER");
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
  FinishCard(2, "too late");
  std::vector<std::string> failures;
  for (const CardRecord& card : ReadCards()) failures.push_back(card.failure);
  EXPECT_THAT(failures, testing::ElementsAre("WriteEPC: an exception", ""));
  DeleteFileW(TagFilePath(kAddress).c_str());
}

}  // namespace
}  // namespace Simulator
