// The one reader of JSON from outside: what is accepted has the values that it shows, everything else is refused in a
// line with position, and neither takes long.
#include "tools/json/Document.h"

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>

#include "HostileTexts.h"
#include "Refusals.h"
#include "support/TempStore.h"

namespace {

using namespace Inlif;
using testing::HasSubstr;

std::string faultOf(std::string const& text) {
  Document document;
  return document.parse(text).message();
}

TEST(Document, refusalsTellWhatStandsWhere) {
  ToolsTest::expectRefusals(&faultOf, ToolsTest::refusalsOf("texts"));
  ToolsTest::expectRefusals(
      &faultOf, {{"{\n \"\u00fc\": x}", "line 2, column 7: found \"x\"", "a value"},
                 {"[\"a\nb\"]", "line 1, column 4: found the byte 0x0a in a text", "escaped"},
                 {"[\"\xC3\u00bc\xFFz\"]", "column 3: found the byte 0xc3", "UTF-8"},
                 {"\xEF\xBB\xBF{}", "byte order mark", "UTF-8 without one"},
                 {"{\"a\":1,\n\"b\":2,\n\"\\u0061\":3}", "line 3, column 10: member \"a\" stands there twice",
                  "once"}});
  EXPECT_THAT(faultOf(ToolsTest::repeated("[", 33) + ToolsTest::repeated("]", 33)),
              HasSubstr("column 33: found one more [ inside 32"));
  EXPECT_EQ(faultOf(ToolsTest::repeated("[", 32) + ToolsTest::repeated("]", 32)), "");
  // Among so many members doubles are found in another way.
  std::string const many = ToolsTest::objectOf(20);
  EXPECT_EQ(faultOf(many), "");
  EXPECT_THAT(faultOf(many.substr(0, many.size() - 1) + ",\"m7\":1}"),
              HasSubstr("member \"m7\" stands there twice"));
  EXPECT_THAT(faultOf("[" + ToolsTest::repeated("0,", Document::kMostValuesOfLine) + "0]"),
              HasSubstr("more than 4096 values"));
}

TEST(Document, valuesAreWhatTheTextSays) {
  Document document;
  std::string const text =
      "{ \"text\": \"\\u0041\\n\u00fc\\ud83d\\ude00\",\n  \"numbers\": [0, 18446744073709551615, -5, "
      "1.5e3],\n"
      "  \"rest\" : {\"t\":true,\"f\" :false , \"n\":null, \"e\":[ ]}}";
  ASSERT_TRUE(document.parse(text).isOk());
  EXPECT_EQ(jsonOf(document.root()), Json::parse(text));
  Value const numbers = document.root().member("numbers");
  EXPECT_EQ(numbers.line(), 2u);
  EXPECT_EQ(numbers.source(), "[0, 18446744073709551615, -5, 1.5e3]");
  EXPECT_EQ(document.root().member("text").source(), "\"\\u0041\\n\u00fc\\ud83d\\ude00\"");
  EXPECT_EQ(document.root().member("rest").member("f").source(), "false");
  EXPECT_FALSE(document.root().member("absent"));
  std::string const line = shown(document.root());
  EXPECT_EQ(line,
            "{ \"text\": \"\\u0041\\n\u00fc\\ud83d\\ude00\",\"numbers\": [0, 18446744073709551615, -5, 1...");
  EXPECT_EQ(shownText("a\n" + ToolsTest::repeated("\u00fc", 100)).size(), 79u) << "no part of a character";
}

// Against another reader: the same texts are taken, for the same values. What only this one refuses is told apart.
TEST(Document, changedTextsAreTakenOrRefusedAsByAnotherReader) {
  std::mt19937_64 random(static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()));
  std::vector<std::string> const corpus{
      R"({"op":"write","id":2,"table":"InLif1","key":"0x50064","qosProfileKey":{"intf":"Ethernet1"}})",
      "[1,2.5e3,-7,\"a\\u0041\\n\\ud83d\\ude00\",null,true,false,{},[],{\"x\":[{}]}]",
      "{\"a\" : [ 1 , 2 ] , \"\u00fc\u20ac\":\"\u00fc\", \"k\":1.0E-5,\"l\":[[[[]]]]}"};
  std::string_view const pieces = "{}[]\",:019.eE+-tfn\\u \n\ttruenull\x01\xff\xc3";
  Document document;
  for (int i = 0; i < 10'000; ++i) {
    std::string text = corpus[random() % corpus.size()];
    for (std::uint64_t changes = 1 + random() % 3; changes > 0; --changes) {
      std::size_t const at = random() % (text.size() + 1);
      if (random() % 3 == 0)
        text.insert(at, 1, pieces[random() % pieces.size()]);
      else if (random() % 2 == 0)
        text.replace(at, 1, 1, pieces[random() % pieces.size()]);
      else
        text.erase(at, 1 + random() % 3);
    }
    Pivot::Status const status = document.parse(text);
    Json const other = Json::parse(text, nullptr, false);
    std::string const& refusal = status.message();
    ASSERT_EQ(refusal.find('\n'), std::string::npos) << text;
    ASSERT_LT(refusal.size(), 300u) << text;
    if (status.isOk()) {
      ASSERT_EQ(jsonOf(document.root()), other) << text;
      ASSERT_EQ(Json::parse(document.root().source()), other) << text;
    } else if (refusal.find("twice") == std::string::npos && refusal.find("64 bits") == std::string::npos) {
      ASSERT_FALSE(other.is_object() || other.is_array()) << text << ": " << refusal;
    }
  }
}

TEST(Document, hostileTextsTakeAMoment) {
  Document document;
  auto const begin = std::chrono::steady_clock::now();
  for (std::string const& text : ToolsTest::hostileTexts()) {
    Pivot::Status const status = document.parse(text);
    EXPECT_LT(status.message().size(), 300u) << text.substr(0, 60);
    ASSERT_TRUE(document.parse("{\"a\":1}").isOk())
        << "what was refused leaves nothing behind: " << text.substr(0, 60);
  }
  // As a file, with a table of many rows and a row of many members.
  EXPECT_TRUE(document.parse(ToolsTest::objectOf(200'000, "{}"), Document::kMostValuesOfFile).isOk());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(Document, filesAreBoundedAndNothingIsWaitedFor) {
  TestSupport::TempStore store;
  std::string const path = store.directory() + "/file";
  Document document;
  EXPECT_THAT(document.read(path).message(), HasSubstr("/file: No such file"));
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_THAT(document.read(path).message(), HasSubstr("/file: is no regular file"));
  EXPECT_THAT(document.read("/dev/zero").message(), HasSubstr("is no regular file"));
  EXPECT_THAT(document.read(store.directory()).message(), HasSubstr("is a directory"));
  std::filesystem::remove(path);
  std::ofstream(path) << "[\n" << std::string(200'000, ' ') << "1]";
  EXPECT_TRUE(document.read(path).isOk());
  EXPECT_EQ(document.root().size(), 1u);
  EXPECT_THAT(document.read(path, 100'000).message(), HasSubstr("is longer than"));
  EXPECT_FALSE(document.root());
  std::ofstream(path) << "[\n1,]";
  EXPECT_THAT(document.read(path).message(), HasSubstr("/file: line 2, column 3: found"));
}

}  // namespace
