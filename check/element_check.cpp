#include "check/element_check.h"

#include <algorithm>
#include <utility>

#include "base/apostrophes.h"
#include "base/name_folding.h"
#include "base/text.h"
#include "document/attributes.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

enum class Reading { required, optional, none };

Reading reading_of(Presence presence, const KcdElement& element) {
  const auto required_if = [](bool condition) {
    return condition ? Reading::required : Reading::none;
  };
  switch (presence) {
    case Presence::required:
      return Reading::required;
    case Presence::optional:
      return Reading::optional;
    case Presence::unless_all_level:
      return required_if(level_type(element.attribute("type")) != OlapLevelType::all);
    case Presence::of_regular_level:
      return required_if(level_type(element.attribute("type")) == OlapLevelType::regular);
    case Presence::unless_named_all:
      return required_if(element.attribute("name") != "(All)");
    case Presence::unless_keyed_all:
      return required_if(element.attribute("member_key_column") != "All");
    case Presence::optional_unless_keyed_all:
      return element.attribute("member_key_column") != "All" ? Reading::optional : Reading::none;
  }
  return Reading::none;
}

/// Takes `word` out of `words`; tells whether it was there.
bool take_out(std::vector<std::string_view>& words, std::string_view word) {
  const auto found = std::find(words.begin(), words.end(), word);
  if (found == words.end()) {
    return false;
  }
  words.erase(found);
  return true;
}

/// Where elements of that tag are read; empty when nowhere.
std::string_view parent_of(std::string_view tag) {
  for (const auto& format : all_formats()) {
    for (const auto& child : format.children) {
      if (format_of(child.kind).tag == tag) {
        return format.tag;
      }
    }
  }
  return {};
}

bool has_fraction(std::string_view number) {
  const auto point = number.find('.');
  return point != std::string_view::npos &&
         number.find_first_of("123456789", point) != std::string_view::npos;
}

std::string joined(const std::vector<std::string_view>& words) {
  std::string text;
  for (const auto word : words) {
    text.append(text.empty() ? "" : ", ").append(word);
  }
  return text;
}

std::string_view range_of(ValueKind kind) {
  switch (kind) {
    case ValueKind::int16:
      return " is out of range (-32768 to 32767)";
    case ValueKind::int32:
      return " is out of range (-2147483648 to 2147483647)";
    default:
      return " is out of range";
  }
}

std::string attribute_is(const AttributeFormat& format, std::string_view value) {
  return "attribute '" + std::string(format.name) + "': " + quoted(value);
}

}  // namespace

std::string quoted(std::string_view text) {
  constexpr std::size_t longest = 60;
  if (text.size() <= longest) {
    return "'" + std::string(text) + "'";
  }
  auto end = longest;
  while (end > 0 && !begins_character(text[end])) {
    --end;
  }
  return "'" + std::string(text.substr(0, end)) + "...'";
}

const KnownName* NameTable::find(std::string_view name) const {
  const auto found = names_.find(lower_cased(name));
  return found == names_.end() ? nullptr : &found->second;
}

void NameTable::add(std::string_view name, DocumentPosition position) {
  names_.emplace(lower_cased(name), KnownName{std::string(name), position});
}

std::string NameTable::did_you_mean(std::string_view name) const {
  // For each of many wrong references, to look at many names would take too long.
  constexpr std::size_t most_names = 1000;
  std::vector<std::string_view> names;
  for (const auto& [folded, known] : names_) {
    if (names.size() == most_names) {
      return "";
    }
    names.push_back(known.name);
  }
  std::sort(names.begin(), names.end());
  return importkcd::did_you_mean(name, names);
}

void ElementCheck::add(const Place& place, Severity severity, std::string_view rule,
                       std::string message) {
  std::string path;
  for (const auto* at = &place; at != nullptr; at = at->outer) {
    if (!at->format.noun.empty()) {
      auto part = path_part(at->format, at->element, at->number);
      part.append(path.empty() ? "" : " > ").append(path);
      path = std::move(part);
    }
  }
  findings_.push_back(
      {severity, place.element.position(), std::move(path), rule, std::move(message)});
}

void ElementCheck::report(const Place& place, std::string_view rule, std::string message) {
  add(place, place.fails ? Severity::error : Severity::warning, rule, std::move(message));
}

void ElementCheck::warn(const Place& place, std::string_view rule, std::string message) {
  add(place, Severity::warning, rule, std::move(message));
}

void ElementCheck::check(const Place& place) {
  check_attributes(place);
  check_children(place);
}

void ElementCheck::check_attributes(const Place& place) {
  const auto& element = place.element;
  const auto& known = place.format.attributes;
  std::vector<std::string_view> absent;
  std::vector<std::string_view> missing;
  std::size_t present = 0;
  for (const auto& format : known) {
    const auto value = element.attribute(format.name);
    const auto reading = reading_of(format.presence, element);
    if (value) {
      ++present;
      if (reading != Reading::none) {
        check_value(place, format, *value);
      }
      continue;
    }
    absent.push_back(format.name);
    if (reading == Reading::required) {
      missing.push_back(format.name);
    }
  }
  if (present != element.attributes().size()) {
    for (const auto& attribute : element.attributes()) {
      const auto name = attribute.name;
      if (name.find(':') != std::string_view::npos ||
          std::any_of(known.begin(), known.end(),
                      [&](const auto& format) { return format.name == name; })) {
        continue;
      }
      const auto meant = nearest(name, absent);
      const auto message =
          "unknown attribute '" + std::string(name) + "'" + did_you_mean(name, absent);
      if (take_out(missing, meant)) {
        report(place, rule::unknown_attribute, message);
      } else {
        warn(place, rule::unknown_attribute, message);
      }
    }
  }
  for (const auto name : missing) {
    report(place, rule::missing_attribute, "attribute '" + std::string(name) + "' is missing");
  }
}

void ElementCheck::check_value(const Place& place, const AttributeFormat& format,
                               std::string_view value) {
  if (has_labels_ && value.find("$##") != std::string_view::npos) {
    return;
  }
  switch (format.value) {
    case ValueKind::int16:
    case ValueKind::int32:
    case ValueKind::decimal:
      check_number(place, format, value);
      break;
    default:
      if (!words_of(format.value).empty()) {
        check_word(place, format, value);
      }
      break;
  }
}

void ElementCheck::check_number(const Place& place, const AttributeFormat& format,
                                std::string_view value) {
  try {
    if (format.value == ValueKind::int16) {
      int16_number(place.element, format.name);
    } else if (format.value == ValueKind::int32) {
      int32_number(place.element, format.name);
    } else {
      double_number(place.element, format.name);
      return;
    }
  } catch (const ImportError& error) {
    const bool is_number = error.description() == "Overflow";
    report(place, rule::bad_number,
           attribute_is(format, value) +
               std::string(is_number ? range_of(format.value)
                                     : std::string_view(format.value == ValueKind::decimal
                                                            ? " is no number"
                                                            : " is no whole number")));
    return;
  }
  if (has_fraction(value)) {
    warn(place, rule::rounded_number,
         attribute_is(format, value) + " is rounded to a whole number");
  }
}

void ElementCheck::check_word(const Place& place, const AttributeFormat& format,
                              std::string_view value) {
  const auto& words = words_of(format.value);
  const bool is_exact = words_are_exact(format.value);
  if (std::any_of(words.begin(), words.end(), [&](std::string_view word) {
        return is_exact ? word == value : same_name(word, value);
      })) {
    return;
  }
  const auto guess = did_you_mean(value, words);
  if (format.value == ValueKind::version) {
    report(place, rule::version,
           "version " + quoted(value) + " is not known; it is one of " + joined(words));
  } else if (format.value == ValueKind::permissions) {
    warn(place, rule::unknown_word,
         attribute_is(format, value) + " is not known; it is one of " + joined(words));
  } else {
    warn(place, rule::unknown_word,
         attribute_is(format, value) + " is read as '" + std::string(words.front()) + "'" +
             (guess.empty() ? "; it is one of " + joined(words) : guess));
  }
}

void ElementCheck::check_children(const Place& place) {
  const auto& format = place.format;
  std::vector<std::string_view> missing;
  for (const auto& child : format.children) {
    if (child.is_required && child_of_kind(place.element, child.kind) == nullptr) {
      missing.push_back(format_of(child.kind).tag);
    }
  }
  std::vector<const ElementFormat*> seen;
  std::size_t number = 0;
  for (const KcdElement& child : children_of(place.element)) {
    const auto* child_format = format_of_child(format, child);
    ++number;
    if (child_format == nullptr) {
      check_unknown_child(place, child, number, missing);
    } else if (format.every_child) {
      if (child.tag() != child_format->tag) {
        warn({&place, *child_format, child, number}, rule::unusual_tag,
             "element " + quoted(child.tag()) + " is read as a '" + std::string(child_format->tag) +
                 "'");
      }
    } else if (!format.repeats) {
      if (std::find(seen.begin(), seen.end(), child_format) != seen.end()) {
        warn({&place, *child_format, child, number}, rule::repeated_element,
             "a second element '" + std::string(child.tag()) + "' is not read");
      }
      seen.push_back(child_format);
    }
  }
  for (const auto tag : missing) {
    report(place, rule::missing_element, "element '" + std::string(tag) + "' is missing");
  }
}

void ElementCheck::check_unknown_child(const Place& place, const KcdElement& child,
                                       std::size_t number, std::vector<std::string_view>& missing) {
  static const ElementFormat unknown{};
  const Place at{&place, unknown, child, number, place.fails};
  std::vector<std::string_view> tags;
  for (const auto& known : place.format.children) {
    const auto tag = format_of(known.kind).tag;
    if (place.format.repeats || place.element.child(tag) == nullptr) {
      tags.push_back(tag);
    }
  }
  const auto meant = nearest(child.tag(), tags);
  const auto elsewhere = parent_of(child.tag());
  auto message = "unknown element " + quoted(child.tag());
  message += !meant.empty() || elsewhere.empty()
                 ? did_you_mean(child.tag(), tags)
                 : " (it is read in '" + std::string(elsewhere) + "')";
  if (take_out(missing, meant)) {
    report(at, rule::unknown_element, std::move(message));
  } else {
    warn(at, rule::unknown_element, std::move(message));
  }
}

std::string ElementCheck::name_of(const Place& place) {
  const auto name = place.element.attribute("name");
  if (!name) {
    return "";
  }
  if (name->empty()) {
    report(place, rule::empty_name, "the name is empty");
  }
  return DecodeApostrophes(*name);
}

std::string ElementCheck::plain_name_of(const Place& place) {
  return DecodeApostrophes(place.element.attribute("name").value_or(""));
}

bool ElementCheck::take_name(const Place& place, NameTable& names, Repeated repeated) {
  const auto name = name_of(place);
  if (name.empty()) {
    return false;
  }
  const auto* known = names.find(name);
  if (known == nullptr) {
    names.add(name, place.element.position());
    return true;
  }
  const auto message =
      quoted(name) + " is already defined in line " + std::to_string(known->position.line);
  if (repeated == Repeated::fails) {
    report(place, rule::duplicate_name, message);
  } else {
    warn(place, rule::duplicate_name,
         message + (repeated == Repeated::is_ignored ? "; this one is ignored"
                                                     : "; this one is set over it"));
  }
  return false;
}

void ElementCheck::check_reference(const Place& place, std::string_view attribute,
                                   std::string_view noun, const NameTable& names) {
  const auto text = place.element.attribute(attribute);
  if (!text) {
    return;
  }
  const auto name = DecodeApostrophes(*text);
  if (names.find(name) == nullptr) {
    report(place, rule::unknown_reference,
           std::string(noun) + " " + quoted(name) + " is not in the document" +
               names.did_you_mean(name));
  }
}

}  // namespace importkcd
