#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "check/kcd_format.h"

namespace importkcd {
namespace {

/// Types are named after kinds, because two kinds share a tag.
std::string type_name(ElementKind kind) {
  const auto& format = format_of(kind);
  const bool is_virtual = kind == ElementKind::virtual_levels || kind == ElementKind::virtual_level;
  return (is_virtual ? "virtual_" : "") + std::string(format.tag);
}

std::string value_type(ValueKind kind) {
  switch (kind) {
    case ValueKind::version:
      return "version";
    case ValueKind::permissions:
      return "permissions";
    case ValueKind::int16:
      return "int16";
    case ValueKind::int32:
      return "int32";
    case ValueKind::decimal:
      return "decimal";
    case ValueKind::boolean:
      return "boolean";
    case ValueKind::dimension_type:
      return "dimension_type";
    case ValueKind::level_type:
      return "level_type";
    case ValueKind::level_ordering:
      return "level_ordering";
    case ValueKind::aggregate_function:
      return "aggregate_function";
    case ValueKind::olap_mode:
      return "olap_mode";
    default:
      return "";
  }
}

/// A pattern for words in any letter case; they are in lower case themselves.
std::string any_case(const std::vector<std::string_view>& words) {
  std::string pattern;
  for (const auto word : words) {
    pattern += pattern.empty() ? "" : "|";
    for (const char c : word) {
      if (!is_ascii_letter(c)) {
        pattern += c;
        continue;
      }
      const auto other = static_cast<char>(c ^ 0x20);
      pattern.append("[").append(1, c).append(1, other).append("]");
    }
  }
  return pattern;
}

void add_words(std::string& out, ValueKind kind) {
  const auto& words = words_of(kind);
  out += "  <xs:simpleType name=\"" + value_type(kind) + "\">\n    <xs:union>\n";
  out += "      <xs:simpleType>\n        <xs:restriction base=\"xs:string\">\n";
  for (const auto word : words) {
    out += "          <xs:enumeration value=\"" + std::string(word) + "\"/>\n";
  }
  out += "        </xs:restriction>\n      </xs:simpleType>\n";
  if (!words_are_exact(kind)) {
    // Editors propose the words above; a document may have them in any letter case.
    out += "      <xs:simpleType>\n        <xs:restriction base=\"xs:string\">\n";
    out += "          <xs:pattern value=\"" + any_case(words) + "\"/>\n";
    out += "        </xs:restriction>\n      </xs:simpleType>\n";
  }
  out += "    </xs:union>\n  </xs:simpleType>\n";
}

void add_pattern(std::string& out, ValueKind kind, std::string_view pattern) {
  out += "  <xs:simpleType name=\"" + value_type(kind) + "\">\n";
  out += "    <xs:restriction base=\"xs:string\">\n      <xs:pattern value=\"" +
         std::string(pattern) + "\"/>\n    </xs:restriction>\n  </xs:simpleType>\n";
}

void add_value_types(std::string& out) {
  for (const auto kind :
       {ValueKind::version, ValueKind::permissions, ValueKind::boolean, ValueKind::dimension_type,
        ValueKind::level_type, ValueKind::level_ordering, ValueKind::aggregate_function,
        ValueKind::olap_mode}) {
    add_words(out, kind);
  }
  constexpr std::string_view whole = R"([ \t]*[+\-]?([0-9]+(\.0*)?|\.0+)[ \t]*)";
  add_pattern(out, ValueKind::int16, whole);
  add_pattern(out, ValueKind::int32, whole);
  add_pattern(out, ValueKind::decimal,
              R"([ \t]*[+\-]?([0-9]+(\.[0-9]*)?|\.[0-9]+)([eE][+\-]?[0-9]+)?[ \t]*)");
}

std::string element(ElementKind kind, std::string_view occurrences) {
  return "      <xs:element name=\"" + std::string(format_of(kind).tag) + "\" type=\"" +
         type_name(kind) + "\"" + std::string(occurrences) + "/>\n";
}

void add_children(std::string& out, const ElementFormat& format) {
  if (format.every_child) {
    out += "    <xs:sequence>\n";
    out += element(*format.every_child, R"( minOccurs="0" maxOccurs="unbounded")");
    out += "    </xs:sequence>\n";
    return;
  }
  if (format.children.empty()) {
    return;
  }
  const bool repeats = format.repeats;
  out += repeats ? "    <xs:choice minOccurs=\"0\" maxOccurs=\"unbounded\">\n" : "    <xs:all>\n";
  for (const auto& child : format.children) {
    out += element(child.kind, repeats || child.is_required ? "" : " minOccurs=\"0\"");
  }
  out += repeats ? "    </xs:choice>\n" : "    </xs:all>\n";
}

void add_type(std::string& out, const ElementFormat& format) {
  out += "  <xs:complexType name=\"" + type_name(format.kind) + "\" mixed=\"true\">\n";
  add_children(out, format);
  for (const auto& attribute : format.attributes) {
    const auto type = value_type(attribute.value);
    out += "    <xs:attribute name=\"" + std::string(attribute.name) + "\" type=\"" +
           (type.empty() ? "xs:string" : type) + "\"" +
           (attribute.presence == Presence::required ? " use=\"required\"" : "") + "/>\n";
  }
  out += "  </xs:complexType>\n";
}

}  // namespace

std::string kcd_schema() {
  std::string out =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!-- Cube definition documents (.kcd), as `kcd schema` prints it. `kcd check` finds more. "
      "-->\n"
      "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">\n"
      "  <xs:element name=\"database\" type=\"database\"/>\n";
  add_value_types(out);
  for (const auto& format : all_formats()) {
    add_type(out, format);
  }
  return out + "</xs:schema>\n";
}

}  // namespace importkcd
