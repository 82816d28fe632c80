#include "simulator/component/fault_script.h"

#include "simulator/printer/cards.h"
#include "simulator/state_fixture.h"

namespace Simulator {
namespace {

class FaultScriptTest : public StateTest {
 protected:
  /// The faults of that many calls of WriteEPC, one letter each, the first of the fault's word or
  /// '-', each call with a script that is read anew, as every job does it.
  static std::string Calls(const char* rules, int count, const CallPlace& place = {}) {
    Write("faults.json", std::string(R"({"WriteEPC": )") + rules + "}");
    std::string calls;
    for (int call = 0; call < count; ++call) {
      const auto faults = FaultScript::Load().TakeCall("WriteEPC", place);
      calls += faults.empty() ? '-' : WordOf(*faults.back().form).front();
    }
    return calls;
  }
};

TEST_F(FaultScriptTest, ConditionsChooseTheCalls) {
  const CallPlace card7 = {TEXT("USB001"), 7};
  EXPECT_EQ(Calls(R"({"fault": "false"})", 3), "fff");
  EXPECT_EQ(Calls(R"({"fault": "false", "call": 2})", 4), "-f--");
  EXPECT_EQ(Calls(R"({"fault": "false", "every": 3})", 7), "--f--f-");
  EXPECT_EQ(Calls(R"([{"fault": "false", "every": 2}, {"fault": "hang", "every": 3}])", 6),
            "-fhf-f")
      << "each rule counts for itself, and the first one decides";
  EXPECT_EQ(Calls(R"({"fault": "false", "card": 7, "port_address": "USB001"})", 1, card7), "f");
  EXPECT_EQ(Calls(R"({"fault": "false", "card": 8})", 1, card7), "-");
  EXPECT_EQ(Calls(R"({"fault": "false", "port_address": "USB002", "call": 1})", 2, card7), "--");
  EXPECT_EQ(Calls(R"([{"fault": "delay"}, {"fault": "false", "call": 2}])", 2), "df");
  EXPECT_TRUE(FaultScript::Load().TakeCall("Connect", card7).empty());
}

TEST_F(FaultScriptTest, ASeedChoosesTheSameCallsAgain) {
  const auto chosen = [](const std::string& conditions) {
    const auto script =
        FaultScript::Parse(R"({"Connect": {"fault": "false", )" + conditions + "}}");
    std::string calls;
    for (unsigned call = 1; call <= 1000; ++call) {
      calls += script.Rules().begin()->second.front().Chooses(call) ? 'f' : '-';
    }
    return calls;
  };
  const std::string tenth = chosen(R"("probability": 0.1, "seed": 42)");
  EXPECT_THAT(std::count(tenth.begin(), tenth.end(), 'f'),
              testing::AllOf(testing::Gt(70), testing::Lt(130)));
  EXPECT_EQ(chosen(R"("probability": 0.1, "seed": 42)"), tenth);
  EXPECT_NE(chosen(R"("probability": 0.1, "seed": 43)"), tenth);
  EXPECT_EQ(chosen(R"("probability": 0)"), std::string(1000, '-'));
  EXPECT_EQ(chosen(R"("probability": 1)"), std::string(1000, 'f'));
  EXPECT_EQ(Calls(R"({"fault": "false", "probability": 0.1, "seed": 42})", 30),
            tenth.substr(0, 30));
}

TEST_F(FaultScriptTest, CountsOutliveTheProcessAndNotTheScript) {
  const char* const second = R"({"fault": "false", "call": 2})";
  EXPECT_EQ(Calls(second, 1), "-");
  EXPECT_EQ(Calls(second, 1), "f");
  EXPECT_EQ(Calls(R"({"fault": "false", "call": 3})", 3), "--f") << "another script";
  Write("fault_counts.json", "{\"counts\": 7");
  EXPECT_EQ(Calls(second, 2), "-f") << "a damaged file";
}

TEST_F(FaultScriptTest, ARuleTellsTheFault) {
  const auto faults = FaultScript::Parse(R"({"Connect": {"fault": "throw-managed", "text": "busy",
                                             "delay_ms": 3, "delay_per_word_ms": 2}})")
                          .TakeCall("Connect", {});
  ASSERT_EQ(faults.size(), 1U);
  EXPECT_EQ(faults[0].text, TEXT("busy"));
  EXPECT_EQ(faults[0].delayMs, 3U);
  EXPECT_EQ(faults[0].delayPerWordMs, 2U);
  EXPECT_FALSE(faults[0].words);
}

TEST_F(FaultScriptTest, DeepAndMistypedFilesHarmNobody) {
  const std::string deep =
      R"({"Connect": )" + std::string(200000, '[') + std::string(200000, ']') + "}";
  EXPECT_THROW(FaultScript::Parse(deep), std::runtime_error);
  for (const std::string& counts : {deep, std::string(R"({"script": "x", "counts": {}})")}) {
    Write("fault_counts.json", counts);
    EXPECT_EQ(Calls(R"({"fault": "false", "call": 1})", 1), "f");
  }
  for (const std::string& card : {deep, std::string(R"({"card": "x", "in_work": true})")}) {
    Write("card.json", card);
    EXPECT_FALSE(CardInWork());
  }
}

}  // namespace
}  // namespace Simulator
