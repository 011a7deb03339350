#include "tools/json/NearName.h"

#include <algorithm>

namespace Inlif {
namespace {

bool sameLetter(char a, char b) {
  auto const lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
  return lower(a) == lower(b);
}

}  // namespace

bool isNear(std::string_view name, std::string_view known) {
  if (std::max(name.size(), known.size()) - std::min(name.size(), known.size()) > 1) return false;
  while (!name.empty() && !known.empty() && sameLetter(name.front(), known.front())) {
    name.remove_prefix(1);
    known.remove_prefix(1);
  }
  while (!name.empty() && !known.empty() && sameLetter(name.back(), known.back())) {
    name.remove_suffix(1);
    known.remove_suffix(1);
  }
  if (name.size() <= 1 && known.size() <= 1) return true;
  return name.size() == 2 && known.size() == 2 && sameLetter(name[0], known[1]) &&
         sameLetter(name[1], known[0]);
}

}  // namespace Inlif
