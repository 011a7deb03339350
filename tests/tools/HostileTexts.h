// Texts that a reader of JSON must survive: each is refused, or taken for what it is, in a moment.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ToolsTest {

inline std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  for (all.reserve(text.size() * count); count > 0; --count) all += text;
  return all;
}

// An object with members "m0", "m1", ...
inline std::string objectOf(std::size_t members, std::string_view value = "1") {
  std::string text = "{";
  for (std::size_t i = 0; i < members; ++i)
    text.append(i ? ",\"m" : "\"m").append(std::to_string(i)).append("\":").append(value);
  return text + "}";
}

inline std::vector<std::string> hostileTexts() {
  using namespace std::string_literals;
  return {"", " ", "\0"s, "{}\0"s, "{\"a\0b\":1}"s, "\xEF\xBB\xBF{}", "\xFF\xFE{\0}\0"s, "null", "5", "\"",
          "{", "}", "[", "]", "{]", "[}", "[,]", "{,}", "[1,]", "{\"a\":1,}", "{\"a\" 1}", "{\"a\"}", "{1:2}",
          "{a:1}", "{'a':1}", "{\"a\":1}}", "{} {}", "[1]x", "// {}", "{\"a\":/**/1}", "{\"a\":+1}",
          "{\"a\":01}", "{\"a\":-}", "{\"a\":1.}", "{\"a\":.5}", "{\"a\":0x10}", "{\"a\":1e}", "{\"a\":NaN}",
          "{\"a\":Infinity}", "{\"a\":1e999}", "{\"a\":-1e999}", "{\"a\":1e-999}",
          "{\"a\":18446744073709551616}", "{\"a\":-9223372036854775809}", "{\"id\":1e999,\"op\":\"status\"}",
          "{\"op\":\"status\",\"id\":-0}", "{\"op\":\"status\",\"id\":1.10}", "{\"op\":\"status\",\"id\":[]}",
          "{\"a\":tru}", "{\"a\":nulll}", "{\"a\":\"\\\"}", "{\"a\":\"\\x41\"}", "{\"a\":\"\\u12\"}",
          "{\"a\":\"\\ud800\"}", "{\"a\":\"\\udc00\\ud800\"}", "{\"\\ud800\":1}", "{\"a\":\"\t\"}",
          "{\"a\":\"\n\"}", "{\"a\":\"\xFF\"}", "{\"a\":\"\xC3\"}", "{\"a\":\"\xC0\xAF\"}",
          "{\"a\":\"\xED\xA0\x80\"}", "{\"a\":\"\xF5\x80\x80\x80\"}", "{\"a\":1,\"a\":2}",
          "{\"a\":{\"b\":1,\"\\u0062\":2}}", "{\"op\":\"status\",\"op\":\"count\",\"id\":1}",
          // Deep, wide and long.
          repeated("[", 1000), repeated("[", 400'000), repeated("{\"a\":", 100'000),
          repeated("[", 60'000) + repeated("]", 60'000), repeated("[{\"a\":", 16) + "1" + repeated("}]", 16),
          objectOf(1000), objectOf(60'000), objectOf(100'000), objectOf(30'000, "[{}]"),
          "[" + repeated("0,", 400'000) + "0]", "[" + repeated("[],", 300'000) + "0]",
          "{\"a\":" + repeated("9", 500'000) + "}", "{\"a\":0." + repeated("0", 500'000) + "1}",
          "{\"op\":\"" + repeated("x", 900'000) + "\",\"id\":1}",
          "{\"op\":\"status\",\"id\":\"" + repeated("i", 500'000) + "\"}",
          "{\"op\":\"" + repeated("\\n", 400'000) + "\",\"id\":2}",
          "{\"" + repeated("\\u0000", 150'000) + "\":1}", "{\"a\":\"" + repeated("\\", 500'001) + "\"}",
          repeated("\"", 300'001), repeated(" ", 900'000) + "{", repeated("{}", 400'000)};
}

}  // namespace ToolsTest
