#include <gtest/gtest.h>
#include <libxml/xmlmemory.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "base/import_error.h"
#include "base/xml_element.h"

namespace importkcd {
namespace {

/// How many of the XML library's requests for memory are still served; negative: all.
long served = -1;

bool is_served() {
  if (served == 0) {
    served = -1;
    return false;
  }
  served -= served > 0 ? 1 : 0;
  return true;
}

/// The XML library without memory at one request, while in scope.
class FailingXmlMemory {
 public:
  explicit FailingXmlMemory(long requests_before) {
    xmlMemGet(&free_, &malloc_, &realloc_, &strdup_);
    xmlMemSetup(
        std::free, [](std::size_t size) { return is_served() ? std::malloc(size) : nullptr; },
        [](void* memory, std::size_t size) {
          return is_served() ? std::realloc(memory, size) : nullptr;
        },
        [](const char* text) { return is_served() ? ::strdup(text) : nullptr; });
    served = requests_before;
  }
  ~FailingXmlMemory() { xmlMemSetup(free_, malloc_, realloc_, strdup_); }
  FailingXmlMemory(const FailingXmlMemory&) = delete;
  FailingXmlMemory& operator=(const FailingXmlMemory&) = delete;

  static bool has_failed() { return served < 0; }

 private:
  xmlFreeFunc free_ = nullptr;
  xmlMallocFunc malloc_ = nullptr;
  xmlReallocFunc realloc_ = nullptr;
  xmlStrdupFunc strdup_ = nullptr;
};

TEST(XmlWithoutMemory, IsAnErrorAndNeverATextWithGaps) {
  auto root = text_element("Cube", {});
  root.set("name", "Sales & <more> of \"it\"");
  for (int i = 0; i < 100; ++i) {
    root.add(text_element("Formula", "a < b & c of a longer text")).set("name", "x > 'y'");
  }
  const auto whole = xml_document(root, "a comment");
  bool failed = true;
  long requests = 0;
  for (; failed; ++requests) {
    const FailingXmlMemory memory(requests);
    try {
      EXPECT_EQ(xml_document(root, "a comment"), whole) << requests;
    } catch (const ImportError& error) {
      EXPECT_EQ(error.description(), "XML could not be written");
    }
    failed = FailingXmlMemory::has_failed();
    served = -1;
  }
  EXPECT_GT(requests, 100);
}

}  // namespace
}  // namespace importkcd
