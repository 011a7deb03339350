// What a reader of texts must refuse, case by case: the refusal is one line, names the value that is wrong,
// and tells what is expected.
#pragma once

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>

namespace ToolsTest {

struct Refusal {
  char const* text;
  char const* value;
  char const* expectation;
};

inline void expectRefusal(std::string const& refusal, Refusal const& wrong) {
  EXPECT_THAT(refusal, testing::HasSubstr(wrong.value)) << wrong.text;
  EXPECT_THAT(refusal, testing::HasSubstr(wrong.expectation)) << wrong.text;
  EXPECT_EQ(refusal.find('\n'), std::string::npos) << wrong.text;
}
inline void expectRefusals(std::string (*refusalOf)(std::string const& text),
                           std::initializer_list<Refusal> cases) {
  for (Refusal const& wrong : cases) expectRefusal(refusalOf(wrong.text), wrong);
}

}  // namespace ToolsTest
