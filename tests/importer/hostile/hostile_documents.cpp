#include "tests/importer/hostile/hostile_documents.h"

#include <cstddef>
#include <filesystem>
#include <set>

namespace importkcd::testing {
namespace {

/// First and length of a part of a text.
struct Part {
  std::size_t at = std::string::npos;
  std::size_t size = 0;
};

std::size_t find_tag(const std::string& text, const std::string& tag) {
  for (auto at = text.find("<" + tag); at != std::string::npos; at = text.find("<" + tag, at + 1)) {
    if (std::string(" \n/>").find(text.at(at + 1 + tag.size())) != std::string::npos) {
      return at;
    }
  }
  ADD_FAILURE() << "no element " << tag;
  return 0;
}

Part find_attribute(const std::string& text, const std::string& tag, const std::string& attribute) {
  const auto begin = find_tag(text, tag);
  const auto at = text.find(" " + attribute + "=\"", begin);
  EXPECT_LT(at, text.find('>', begin)) << "no " << attribute << " in " << tag;
  const auto value = at + attribute.size() + 3;
  return {at, text.find('"', value) + 1 - at};
}

Part find_element(const std::string& text, const std::string& tag) {
  const auto begin = find_tag(text, tag);
  const auto end_of_start = text.find('>', begin);
  if (text.at(end_of_start - 1) == '/') {
    return {begin, end_of_start + 1 - begin};
  }
  const auto end = "</" + tag + ">";
  return {begin, text.find(end, begin) + end.size() - begin};
}

}  // namespace

void HostileDocuments::expect_all(const std::vector<HostileDocument>& documents) {
  std::set<std::string> names;
  for (const auto& hostile : documents) {
    EXPECT_TRUE(names.insert(hostile.name).second) << "a second '" << hostile.name << "'";
    expect(hostile);
  }
}

void HostileDocuments::expect(const HostileDocument& hostile) {
  SCOPED_TRACE(hostile.name);
  clear_store();
  import(hostile.document);
  auto error = importer->last_error;
  if (const auto at = error.find(copy_path()); at != std::string::npos && !copy_path().empty()) {
    error.replace(at, copy_path().size(), "COPY");
  }
  EXPECT_EQ(error, hostile.error);
  EXPECT_EQ(importer->succeeded, error.empty());
  if (!hostile.message.empty()) {
    EXPECT_THAT(sink.messages, ::testing::Contains(hostile.message));
  }
  if (!hostile.stored.empty()) {
    const auto stored = stored_text();
    EXPECT_NE(stored.find(hostile.stored), std::string::npos) << stored.substr(0, 5'000);
  }
  const bool is_kept = error.rfind(unreadable(""), 0) == 0;
  EXPECT_EQ(temporary_files().size(), is_kept ? 1U : 0U);
  if (is_kept) {
    EXPECT_EQ(stored_text(), "");
    std::filesystem::remove(copy_path());
  }
}

std::string without_attribute(const std::string& text, const std::string& tag,
                              const std::string& attribute) {
  const auto part = find_attribute(text, tag, attribute);
  return std::string(text).erase(part.at, part.size);
}

std::string with_value(const std::string& text, const std::string& tag,
                       const std::string& attribute, const std::string& value) {
  const auto part = find_attribute(text, tag, attribute);
  std::string with = " ";
  with.append(attribute).append("=\"").append(value).append("\"");
  return std::string(text).replace(part.at, part.size, with);
}

std::string without_element(const std::string& text, const std::string& tag) {
  const auto part = find_element(text, tag);
  return std::string(text).erase(part.at, part.size);
}

std::string with_element_twice(const std::string& text, const std::string& tag) {
  const auto part = find_element(text, tag);
  return std::string(text).insert(part.at, text.substr(part.at, part.size));
}

std::string repeated(const std::string& text, int times) {
  std::string result;
  result.reserve(text.size() * static_cast<std::size_t>(times));
  for (int i = 0; i < times; ++i) {
    result += text;
  }
  return result;
}

}  // namespace importkcd::testing
