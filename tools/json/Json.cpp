#include "tools/json/Json.h"

namespace Inlif {

std::string jsonText(Json const& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string bareText(Json const& value) {
  return value.is_string() ? value.get<std::string>() : jsonText(value);
}

}  // namespace Inlif
