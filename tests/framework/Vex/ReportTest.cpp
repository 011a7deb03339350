// What the process tells people: traces, log messages, assertions.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "Vex/Assert.h"
#include "Vex/ErrorLog.h"
#include "Vex/LineFold.h"
#include "Vex/LogHandle.h"
#include "Vex/PlainText.h"
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

TEST(PlainTextTest, nothingFromOutsideSteersATerminal) {
  using Vex::withoutControls;
  EXPECT_EQ(withoutControls("a\x1b[31m\a\n\x7f z"), "a?[31m??? z");
  EXPECT_EQ(withoutControls("\xC2\x9b"
                            "31m \xE2\x80\xAE \xE2\x81\xA6 \xE2\x80\xA8"),
            "?31m ? ? ?");
  EXPECT_EQ(withoutControls("\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80"),
            "\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80");
  // No UTF-8: single bytes, the same control in a longer form, half of a pair, and a text that ends too early.
  EXPECT_EQ(withoutControls("\x9b"
                            "1m \xE0\x82\x9b \xED\xA0\x80 \xF4\x90\x80\x80 \xC3"),
            "?1m ??? ??? ???? ?");
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

TEST(LogTest, eachLimitKeepsBackAndTheNextRecordSaysHowMany) {
  struct Case {
    char const* limits;
    Vex::LogHandle handle;
    std::vector<std::string> told;
  };
  auto const handle = [](char const* name, double duration, double interval, int burst, int rateLimit) {
    return Vex::LogHandle(name, "%s", "", 3, "\x01", duration, interval, burst, rateLimit);
  };
  using Told = std::vector<std::string>;
  std::array const cases{
      Case{"none", handle("A", 0, 0, 0, 0), Told{"a 0", "a 0", "b 0", "a 0", "late 0"}},
      Case{"the same text again", handle("B", 0, 0.1, 0, 0), Told{"a 0", "b 1", "a 0", "late 0"}},
      Case{"two in a time", handle("C", 0.1, 0, 2, 0), Told{"a 0", "a 0", "late 2"}},
      Case{"three in a second", handle("D", 0, 0, 0, 3), Told{"a 0", "a 0", "b 0"}}};
  for (Case const& one : cases) {
    Told told;
    Vex::LogHandle::sinkIs(
        [](void* context, Vex::LogRecord const& record) {
          static_cast<Told*>(context)->push_back(fmt::format("{} {}", record.text, record.heldBack));
        },
        &told);
    for (char const* text : {"a", "a", "b", "a"}) one.handle.log(text);
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    one.handle.log("late");
    Vex::LogHandle::sinkIs(nullptr, nullptr);
    EXPECT_EQ(told, one.told) << one.limits;
  }
  for (Vex::ErrorLog::Row const& row : Vex::ErrorLog::rows()) {
    if (row.origin == "D") {
      EXPECT_EQ(row.count, 5u) << "what is kept back is counted";
    }
  }
}

TEST(ErrorLogTest, repetitionsCostOneLineInEachWindow) {
  Vex::LineFold fold;
  Vex::LineFold::Limit limit;
  Vex::LineFold::Time const begin = std::chrono::steady_clock::now();
  auto const at = [begin](int seconds) { return begin + std::chrono::seconds(seconds); };
  EXPECT_TRUE(fold.admits(1, at(0), limit));
  EXPECT_FALSE(fold.admits(1, at(1), limit)) << "the same text";
  unsigned printed = 1;
  for (std::uint64_t text = 2; text < 100; ++text) printed += fold.admits(text, at(2), limit);
  EXPECT_EQ(printed, limit.lines);
  EXPECT_EQ(fold.due(at(9), limit), 0u);
  EXPECT_EQ(fold.due(at(10), limit), 90u);
  EXPECT_FALSE(fold.admits(100, at(11), limit)) << "it goes on: its number is enough";
  EXPECT_EQ(fold.due(at(20), limit), 1u);
  EXPECT_EQ(fold.due(at(30), limit), 0u);
  EXPECT_TRUE(fold.admits(100, at(31), limit)) << "a window has passed without it";
  limit.lines = 1;
  EXPECT_FALSE(fold.admits(101, at(32), limit)) << "a new limit holds at once";
}

TEST(ErrorLogTest, kindsArePlacesAndTheTableIsBounded) {
  testing::internal::CaptureStderr();
  for (int i = 0; i < 3; ++i) VEX_TRACE(early, 1, "value {}\nforged", i);
  for (std::uint64_t kind = 1; kind < 1000; ++kind) Vex::ErrorLog::tell(kind, 1, "Many", "text", false);
  std::string const lines = testing::internal::GetCapturedStderr();
  EXPECT_THAT(lines, testing::MatchesRegex(
                         "(20[-0-9]+T[:0-9]+\\.[0-9]+Z 1 Early ReportTest\\.cpp:[0-9]+ TestBody: value "
                         "[0-2]\\?forged\n)+"));
  std::vector<Vex::ErrorLog::Row> const rows = Vex::ErrorLog::rows();
  EXPECT_EQ(rows.size(), Vex::ErrorLog::kMostRows);
  auto const place =
      std::ranges::find_if(rows, [](auto const& row) { return row.origin.starts_with("Early "); });
  ASSERT_NE(place, rows.end());
  EXPECT_EQ(place->count, 3u);
  EXPECT_EQ(place->text, "value 2\nforged");
  EXPECT_LE(place->first, place->last);
}

TEST(AssertDeathTest, tellsConditionMessageAndPlace) {
  EXPECT_DEATH(VEX_ASSERT(1 + 1 == 3, "cfgShoal"), "Assertion failed: cfgShoal, ReportTest.cpp:[0-9]+");
  EXPECT_DEATH(VEX_ASSERT_MSG(false, "unit", "unit {} unknown", 7),
               "Assertion failed: unit: unit 7 unknown, ReportTest.cpp");
}

}  // namespace
