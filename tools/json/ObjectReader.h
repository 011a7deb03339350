// Reads one object that came from outside, a member at a time, and keeps the first refusal.
//
// Every operation, every key and every row of a switch configuration is read through this class, so that each
// wrong input is answered in the same form: one line with the place, the value that was found and what was
// expected. The getters never throw; after a refusal they give their fallback, and whoever reads acts only when
// finish() is ok. That is what keeps a wrong input from being half-done: an operation is read to its end before
// anything is touched.
//
// What fits costs no allocation: places and names become text only when something is refused.
#pragma once

#include <boost/container/small_vector.hpp>
#include <cstdint>
#include <string>
#include <string_view>

#include "Pivot/Status.h"
#include "tools/json/Document.h"

namespace Inlif {

// A number as people write it: a JSON number, or a string with decimal or 0x… digits. False when it is not a
// whole number of 64 bits without sign.
bool numberFrom(Value value, std::uint64_t& out);

// The same for a text from a command line or a file.
bool numberFrom(std::string_view text, std::uint64_t& out);

// One line of the protocol. A line that is no JSON, or no object, is refused.
Pivot::Status operationFrom(std::string_view line, Document& out);

// Where an object stands, for the head of a refusal: "write: qosProfileKey". Names and outer place outlive it.
class ObjectPlace {
 public:
  // `name`, of what came from outside, is shown as a text.
  explicit ObjectPlace(std::string_view what, std::string_view name = {}) : what_(what), name_(name) {}
  ObjectPlace inside(std::string_view what) const { return {this, what}; }

  std::string text() const;

 private:
  ObjectPlace(ObjectPlace const* outer, std::string_view what) : outer_(outer), what_(what) {}

  ObjectPlace const* outer_ = nullptr;
  std::string_view what_;
  std::string_view name_;
};

class ObjectReader {
 public:
  // `place` heads each refusal. A value that is no object is refused at once.
  ObjectReader(Value object, ObjectPlace const& place);
  ObjectReader(ObjectReader const&) = delete;
  ObjectReader& operator=(ObjectReader const&) = delete;

  // The name of a member outlives the reader. Whichever is asked for here is known from then on.
  bool has(std::string_view name) { return static_cast<bool>(member(name)); }
  // A number from `least` to `most`; the forms of numberFrom().
  std::uint64_t number(std::string_view name, std::uint64_t most, std::uint64_t least = 0);
  std::uint64_t numberOr(std::string_view name, std::uint64_t fallback, std::uint64_t most,
                         std::uint64_t least = 0);
  bool booleanOr(std::string_view name, bool fallback);
  // A text holds as long as the document.
  std::string_view text(std::string_view name);
  std::string_view textOr(std::string_view name, std::string_view fallback);
  // No value when the member is absent.
  Value member(std::string_view name);
  // Like member(), but an absent one is refused.
  Value required(std::string_view name, std::string_view expected);

  // Keeps a refusal: "PLACE: MESSAGE", as one line of bounded length. Only the first one counts.
  void refuse(std::string const& message);
  // Keeps the refusal of a nested reader, whose message has its own place.
  void adopt(Pivot::Status const& nested);
  bool isOk() const { return refusal_.empty(); }
  ObjectPlace const& place() const { return place_; }

  // The first refusal; without one, an object with a member that nobody asked for is refused too, so that a
  // misspelt name is never taken for an omitted one.
  Pivot::Status finish();
  // The same for objects that carry members for others: what nobody asked for is passed over, but not when its name is
  // near one that was asked for and is not there.
  Pivot::Status finishLenient();
  // The first refusal, whatever else there is.
  Pivot::Status status() const;

 private:
  std::uint64_t numberOf(std::string_view name, Value value, std::uint64_t most, std::uint64_t least);

  Value const object_;  // none when it is no object
  ObjectPlace const place_;
  std::string refusal_;
  boost::container::small_vector<std::string_view, 24> known_;
};

}  // namespace Inlif
