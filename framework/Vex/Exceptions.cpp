// The texts of the setters' exceptions.
#include "Vex/Exceptions.h"

#include <fmt/format.h>

namespace Vex {

void throwMutatorArgNullPointerException(std::string_view module, std::string_view type,
                                         std::string_view attribute, std::uint32_t field) {
  throw NullArgumentException(fmt::format("null pointer given for attribute {} (field {}) of {} in module {}",
                                          attribute, field, type, module));
}

void Impl::throwMutatorReinstantiating(std::string_view module, std::string_view type,
                                       std::string_view attribute, std::uint32_t field) {
  throw ReinstantiatingException(
      fmt::format("attribute {} (field {}) of {} in module {} has a member with other arguments already",
                  attribute, field, type, module));
}

void GenericIfImpl::throwSetFalseValueException(std::string_view module, std::string_view type,
                                                std::string_view attribute, std::uint32_t field) {
  throw SetFalseValueException(
      fmt::format("attribute {} (field {}) of {} in module {} is a set: a member cannot be set to false",
                  attribute, field, type, module));
}

}  // namespace Vex
