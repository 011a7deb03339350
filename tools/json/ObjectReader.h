// Reads one JSON object of the protocol, a member at a time, and keeps the first refusal.
//
// Every operation, every key and every table of a switch configuration is read through this class, so that
// each wrong input is answered in the same form: one line with the place, the value that was found and what
// was expected. The getters never throw; after a refusal they give their fallback, and whoever reads acts
// only when finish() is ok. That is what keeps a wrong input from being half-done: an operation is read to
// its end before anything is touched.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>

#include "Pivot/Status.h"

namespace Inlif {

// Members keep the order in which they were written, so that answers read the way they were made.
using Json = nlohmann::ordered_json;

// A value as a refusal shows it: its JSON text on one line, cut after 80 characters.
std::string shown(Json const& value);

// A number as people write it: a JSON number, or a string with decimal or 0x… digits. False when it is not a
// whole number of 64 bits without sign.
bool numberFrom(Json const& value, std::uint64_t& out);

// The same for a text from a command line or a file.
bool numberFrom(std::string_view text, std::uint64_t& out);

// One line of input as an object. A line that is no JSON, or no object, is refused with the position of the
// fault.
Pivot::Status objectFrom(std::string_view line, Json& out);

class ObjectReader {
 public:
  // `place` heads each refusal: the operation's name, or the path of a nested member ("qosProfileKey"). A
  // value that is no object is refused at once. The object must outlive the reader.
  ObjectReader(Json const& object, std::string place);

  bool has(std::string_view name) const;

  // A number from `least` to `most`; the forms of numberFrom().
  std::uint64_t number(std::string_view name, std::uint64_t most, std::uint64_t least = 0);
  std::uint64_t numberOr(std::string_view name, std::uint64_t fallback, std::uint64_t most,
                         std::uint64_t least = 0);
  bool booleanOr(std::string_view name, bool fallback);
  std::string text(std::string_view name);
  std::string textOr(std::string_view name, std::string fallback);
  // Null when the member is absent; the member counts as known.
  Json const* member(std::string_view name);
  // Like member(), but an absent one is refused.
  Json const* required(std::string_view name, std::string_view expected);

  // Keeps a refusal: "PLACE: MESSAGE". Only the first one counts.
  void refuse(std::string const& message);
  // Keeps the refusal of a nested reader, whose message has its own place.
  void adopt(Pivot::Status const& nested);
  bool isOk() const { return refusal_.empty(); }
  std::string const& place() const { return place_; }

  // The first refusal; without one, an object with a member that nobody asked for is refused too, so that a
  // misspelt name is never taken for an omitted one.
  Pivot::Status finish();
  // The same for objects that carry members for others: what nobody asked for is passed over.
  Pivot::Status finishLenient() const;

 private:
  std::uint64_t numberOf(std::string_view name, Json const& value, std::uint64_t most, std::uint64_t least);

  Json const* object_;
  std::string place_;
  std::string refusal_;
  std::set<std::string, std::less<>> known_;
};

}  // namespace Inlif
