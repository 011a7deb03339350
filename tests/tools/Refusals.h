// What a reader of texts must refuse, case by case: the refusal is one line, names the value that is wrong,
// and tells what is expected. The cases stand in refusals.txt, but for those with bytes that a line cannot hold.
#pragma once

#include <gmock/gmock.h>

#include <fstream>
#include <string>
#include <vector>

namespace ToolsTest {

struct Refusal {
  std::string text;
  std::string value;
  std::string expectation;
};

// Those of one section of the file.
inline std::vector<Refusal> refusalsOf(std::string const& section) {
  std::vector<Refusal> found;
  std::ifstream in(REFUSALS);
  std::string const arrow = " -> ";
  bool own = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("== ")) own = line.substr(3) == section;
    std::size_t const first = line.find(arrow), last = line.rfind(arrow);
    if (own && first != last)
      found.push_back({line.substr(0, first), line.substr(first + arrow.size(), last - first - arrow.size()),
                       line.substr(last + arrow.size())});
  }
  EXPECT_FALSE(found.empty()) << section;
  return found;
}

inline void expectRefusal(std::string const& refusal, Refusal const& wrong) {
  EXPECT_THAT(refusal, testing::HasSubstr(wrong.value)) << wrong.text;
  EXPECT_THAT(refusal, testing::HasSubstr(wrong.expectation)) << wrong.text;
  EXPECT_EQ(refusal.find('\n'), std::string::npos) << wrong.text;
}
inline void expectRefusals(std::string (*refusalOf)(std::string const& text),
                           std::vector<Refusal> const& cases) {
  for (Refusal const& wrong : cases) expectRefusal(refusalOf(wrong.text), wrong);
}

}  // namespace ToolsTest
