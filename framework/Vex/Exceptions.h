// What the setters of the accessor rule throw when an argument cannot be stored. Nothing has been changed
// then.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "Cobble/Export.h"

namespace Vex {

// A null pointer was given to the setter of a collection.
class LOAM_FRAMEWORK_EXPORT NullArgumentException : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// An object made from arguments is there already, with other arguments, and cannot be made anew.
class LOAM_FRAMEWORK_EXPORT ReinstantiatingException : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// A member of a set was set to false: a member goes by removal only.
class LOAM_FRAMEWORK_EXPORT SetFalseValueException : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// module and type as in the type record, attribute the name of the argument, field its id; all are named in
// the message.
[[noreturn]] LOAM_FRAMEWORK_EXPORT void throwMutatorArgNullPointerException(std::string_view module,
                                                                            std::string_view type,
                                                                            std::string_view attribute,
                                                                            std::uint32_t field);

namespace Impl {
[[noreturn]] LOAM_FRAMEWORK_EXPORT void throwMutatorReinstantiating(std::string_view module,
                                                                    std::string_view type,
                                                                    std::string_view attribute,
                                                                    std::uint32_t field);
}  // namespace Impl

namespace GenericIfImpl {
[[noreturn]] LOAM_FRAMEWORK_EXPORT void throwSetFalseValueException(std::string_view module,
                                                                    std::string_view type,
                                                                    std::string_view attribute,
                                                                    std::uint32_t field);
}  // namespace GenericIfImpl

}  // namespace Vex
