#include "tools/support/Tables.h"

#include <fmt/format.h>

#include "tools/json/Document.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

Pivot::Status tableIndex(std::string_view name, std::size_t& index) {
  std::string names;
  for (std::size_t i = 0; i < kTables; ++i) {
    if (tables()[i].name == name) {
      index = i;
      return Pivot::Status::ok();
    }
    names += (i ? ", " : "") + tables()[i].name;
  }
  return Pivot::Status::refused(
      fmt::format("table {} is unknown; expected one of {}", shownText(name), names));
}

}  // namespace Inlif
