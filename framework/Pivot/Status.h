// The outcome of an operation that may refuse: fine, or a message that holds the values which did not fit.
// The caller must look.
#pragma once

#include <string>
#include <utility>

namespace Pivot {

class [[nodiscard]] Status {
 public:
  static Status ok() { return Status(); }
  // REQUIRES: message is not empty and names the values.
  static Status refused(std::string message) { return Status(std::move(message)); }

  bool isOk() const { return message_.empty(); }
  explicit operator bool() const { return isOk(); }
  // Empty when all is well.
  std::string const& message() const { return message_; }

 private:
  Status() = default;
  explicit Status(std::string message) : message_(std::move(message)) {}

  std::string message_;
};

}  // namespace Pivot
