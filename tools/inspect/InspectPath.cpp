#include "tools/inspect/InspectPath.h"

#include <fmt/format.h>

#include "tools/json/Document.h"

namespace Inlif {
namespace {

// The end of the component that begins at `at`: the next slash outside quotes and braces, or the end.
std::size_t componentEnd(std::string_view text, std::size_t at) {
  int braces = 0;
  bool const nests = at < text.size() && text[at] == '{';
  bool quoted = false;
  for (std::size_t i = at; i < text.size(); ++i) {
    char const c = text[i];
    if (c == '"' && (nests || quoted || i == at)) quoted = !quoted;
    if (quoted && c == '\\') ++i;
    if (quoted) continue;
    if (nests && c == '{') ++braces;
    if (nests && c == '}') --braces;
    if (c == '/' && braces <= 0) return i;
  }
  return text.size();
}

// `quoted` is what a text is read with.
Pivot::Status unquote(std::string_view path, std::string& component, Document& quoted) {
  if (!component.starts_with('"')) return Pivot::Status::ok();
  Pivot::Status status = quoted.parse("[" + component + "]");
  if (!status.isOk() || quoted.root().size() != 1) {
    return Pivot::Status::refused(fmt::format(
        "path {}: {} is no JSON text; expected its closing quote before the next /", path, component));
  }
  component = (*quoted.root().begin()).text();
  return status;
}

}  // namespace

Pivot::Status InspectPath::parse(std::string_view text, InspectPath& path) {
  path.components.clear();
  if (!text.starts_with('/')) {
    return Pivot::Status::refused(
        fmt::format("path \"{}\": expected a path that begins with /, such as /InLif1/units/3", text));
  }
  if (text == "/") return Pivot::Status::ok();
  Document quoted;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t const end = componentEnd(text, at + 1);
    std::string component(text.substr(at + 1, end - at - 1));
    if (component.empty()) {
      return Pivot::Status::refused(
          fmt::format("path {}: nothing stands after the / at position {}; expected a component", text, at));
    }
    Pivot::Status status = unquote(text, component, quoted);
    if (!status.isOk()) return status;
    path.components.push_back(std::move(component));
    at = end;
  }
  return Pivot::Status::ok();
}

std::string InspectPath::head(std::size_t count) const {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += "/" + pathComponent(components[i]);
  return text.empty() ? "/" : text;
}

std::string pathComponent(std::string_view component) {
  std::size_t const end = component.empty() ? 0 : componentEnd(component, 0);
  bool const plain = end == component.size() && !component.empty() && !component.starts_with('"');
  return plain ? std::string(component) : jsonText(Json(component));
}

}  // namespace Inlif
