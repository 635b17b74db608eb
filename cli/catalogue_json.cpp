#include "cli/catalogue_json.h"

#include <ostream>
#include <string>
#include <string_view>

#include "cli/definition_json.h"

namespace importkcd {
namespace {

using Json = nlohmann::ordered_json;

constexpr int indent_step = 2;
constexpr std::size_t member_indent = 6;
constexpr std::size_t object_indent = 8;

/// The JSON text, its lines after the first one indented. A line end in JSON text is never a part
/// of a value.
std::string text_of(const Json& value, std::size_t indent) {
  std::string result;
  for (const char c : value.dump(indent_step, ' ', false, Json::error_handler_t::replace)) {
    result.push_back(c);
    if (c == '\n') {
      result.append(indent, ' ');
    }
  }
  return result;
}

std::string line_start(std::size_t indent) { return '\n' + std::string(indent, ' '); }

void write_member(std::ostream& out, std::string_view key) {
  out << line_start(member_indent) << '"' << key << "\": ";
}

/// Writes a list of database objects, one at a time, so that memory holds the JSON of one.
template <class T>
void write_list(std::ostream& out, std::string_view key, DatabaseObjects<T>& objects) {
  write_member(out, key);
  out << '[';
  bool first = true;
  for (const auto& name : objects.names()) {
    if (const T* object = objects.find(name)) {
      out << (first ? "" : ",") << line_start(object_indent)
          << text_of(to_json(*object), object_indent);
      first = false;
    }
  }
  out << (first ? "" : line_start(member_indent)) << ']';
}

}  // namespace

CatalogueJson::CatalogueJson(std::ostream& out) : out_(out) { out_ << "{\n  \"databases\": ["; }

void CatalogueJson::add(OlapDatabase& database) {
  out_ << (first_ ? "" : ",") << "\n    {";
  first_ = false;
  write_member(out_, "name");
  out_ << text_of(database.name(), member_indent) << ',';
  write_member(out_, "description");
  out_ << text_of(database.description, member_indent) << ',';
  write_list(out_, "data_sources", database.data_sources());
  out_ << ',';
  write_list(out_, "dimensions", database.dimensions());
  out_ << ',';
  write_list(out_, "roles", database.roles());
  out_ << ',';
  write_list(out_, "cubes", database.cubes());
  out_ << "\n    }";
}

void CatalogueJson::end() { out_ << (first_ ? "" : "\n  ") << "]\n}\n"; }

}  // namespace importkcd
