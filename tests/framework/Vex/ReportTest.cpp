// What the process tells people: traces, log messages, assertions.
#include <gtest/gtest.h>

#include "Vex/Assert.h"
#include "Vex/LogHandle.h"
#include "Vex/Trace.h"
#include "support/TraceCapture.h"

namespace {

Vex::TraceHandle early("Early");

TEST(TraceTest, levelsReachHandlesMadeBeforeAndAfter) {
  TestSupport::TraceCapture capture("Early", 3);
  Vex::TraceControl::levelIs("Late", 8);
  Vex::TraceHandle late("Late"), other("Other");
  EXPECT_TRUE(early.enabled(3) && !early.enabled(4));
  EXPECT_TRUE(late.enabled(8));
  EXPECT_TRUE(other.enabled(1) && !other.enabled(2));
  // All at once forgets what was set for single ones, for later handles too.
  Vex::TraceControl::levelIs("*", 2);
  EXPECT_FALSE(late.enabled(3));
  EXPECT_TRUE(other.enabled(2));
  EXPECT_EQ(Vex::TraceControl::level("Late"), 2);
}

TEST(TraceTest, lineCarriesOriginAndTextAndNothingIsEvaluatedWhenOff) {
  TestSupport::TraceCapture capture("Early", 3);
  int evaluated = 0;
  auto value = [&] { return ++evaluated; };
  VEX_TRACE(early, 3, " key: {} at {}", value(), "here");
  VEX_TRACE(early, 4, "{}", value());
  VEX_TRACE_AT(early, 2, "Engine", "");
  EXPECT_EQ(evaluated, 1);
  ASSERT_EQ(capture.lines().size(), 2U);
  EXPECT_EQ(capture.lines()[0].text, " key: 1 at here");
  EXPECT_EQ(capture.lines()[0].file, "ReportTest.cpp");
  EXPECT_EQ(capture.lines()[0].facility, "Early");
  EXPECT_EQ(capture.lines()[1].file, "Engine");
  EXPECT_EQ(capture.texts("Early", 3), std::vector<std::string>{" key: 1 at here"});
}

TEST(LogTest, argumentsReplaceThePlacesInOrderAndAreNotLookedAtAgain) {
  Vex::LogHandle const handle("SOME_ERROR", "item %s of %s lost", "Some items were lost", 3, "\x01", 0, 1.0,
                              0, 0);
  std::vector<std::string> told;
  auto take = [](void* context, Vex::LogRecord const& record) {
    static_cast<std::vector<std::string>*>(context)->push_back(
        fmt::format("{}-{}: {}", record.name, record.severity, record.text));
  };
  Vex::LogHandle::sinkIs(take, &told);
  handle.log("%s", std::string("two"), "surplus");
  handle.log("one");
  Vex::LogHandle::sinkIs(nullptr, nullptr);
  EXPECT_EQ(told, (std::vector<std::string>{"SOME_ERROR-3: item %s of two lost",
                                            "SOME_ERROR-3: item one of %s lost"}));
}

TEST(AssertDeathTest, tellsConditionMessageAndPlace) {
  EXPECT_DEATH(VEX_ASSERT(1 + 1 == 3, "cfgShoal"), "Assertion failed: cfgShoal, ReportTest.cpp:[0-9]+");
  EXPECT_DEATH(VEX_ASSERT_MSG(false, "unit", "unit {} unknown", 7),
               "Assertion failed: unit: unit 7 unknown, ReportTest.cpp");
}

}  // namespace
