// What a hostile client sends: the operations of every kind and the configurations of hostile.jsonl, texts that are none,
// and seeded mutations of both. In the lines of the file ID stands for an id, T for a table, U for a unit and K for a
// key; none of them ends the agent or calls into its objects.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "HostileTexts.h"

namespace ToolsTest {

class HostileInput {
 public:
  explicit HostileInput(std::uint64_t seed) : random_(seed) {}

  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }

  // A line of the corpus with everything filled in; without an end.
  std::string line(std::string_view of) {
    std::string text;
    for (std::size_t at = 0; at < of.size(); ++at) {
      if (of.substr(at, 3) == "ID," || of.substr(at, 3) == "ID}") {
        text += id();
        ++at;
      } else if (of.substr(at, 3) == "\"T\"") {
        text += kTables[below(kTables.size())];
        at += 2;
      } else if (at > 0 && of[at - 1] == ':' && of[at] == 'U') {
        text += std::to_string(below(3));
      } else if (at > 0 && of[at - 1] == ':' && of[at] == 'K') {
        text += std::to_string(below(1000));
      } else {
        text += of[at];
      }
    }
    return text;
  }
  std::string line() { return line(corpus_.at(below(corpus_.size()))); }
  // The same after up to four mutations.
  std::string mutated() {
    std::string text = line();
    for (std::size_t left = below(5); left > 0; --left) mutate(text);
    return text;
  }
  // Wide, deep, long or cut: whole, or after mutations.
  std::string hostile() {
    std::string text = texts_[below(texts_.size())];
    for (std::size_t left = below(3); left > 0; --left) mutate(text);
    return text;
  }

 private:
  static constexpr std::array<char const*, 3> kTables{"\"InLif0\"", "\"InLif1\"", "\"InLif23\""};
  static constexpr std::array<char const*, 12> kValues{
      "-1", "1e999", "18446744073709551616", "0.5",         "65535",   "null", "true",
      "{}", "[]",    "\"\\u0000\"",          "\"\\ud800\"", "\"\xff\""};

  std::string id() {
    std::size_t const kind = below(10);
    if (kind == 0) return "\"" + std::string(below(300), 'i') + "\"";
    return kind == 1 ? "\"" + std::to_string(random_()) + "\"" : std::to_string(below(100'000));
  }
  void mutate(std::string& text) {
    std::size_t const at = below(text.size() + 1);
    std::size_t const length = std::min(below(20), text.size() - at);
    std::function<void()> const mutations[] = {
        [&] {
          if (at < text.size()) text[at] = static_cast<char>(text[at] ^ (1 << below(8)));
        },
        [&] { text.insert(at, 1, static_cast<char>(random_())); },
        [&] { text.erase(at, length); },
        [&] { text.insert(at, text.substr(at, length)); },
        [&] {
          std::string const other = line();
          text = text.substr(0, at) + other.substr(below(other.size()));
        },
        [&] { value(text, kValues[below(kValues.size())]); },
        [&] {
          std::size_t const depth = below(100);
          value(text, std::string(depth, '[') + std::string(depth, ']'));
        },
        [&] { value(text, "\"" + std::string(below(5000), 'v') + "\""); },
    };
    mutations[below(std::size(mutations))]();
  }
  // Puts something else in the place of a member's value, as far as a comma.
  void value(std::string& text, std::string const& other) {
    std::size_t const colon = text.find(':', below(text.size() + 1));
    if (colon == std::string::npos) return;
    std::size_t const end = text.find_first_of(",}", colon);
    text.replace(colon + 1, end == std::string::npos ? end : end - colon - 1, other);
  }

  static std::vector<std::string> linesOf(std::string const& path) {
    std::vector<std::string> lines;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  std::mt19937_64 random_;
  std::vector<std::string> const corpus_ = linesOf(HOSTILE_LINES);
  std::vector<std::string> const texts_ = hostileTexts();
};

}  // namespace ToolsTest
