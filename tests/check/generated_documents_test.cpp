#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "check/document_check.h"
#include "servers/memory/memory_server.h"
#include "tests/support/document_generator.h"
#include "tests/support/import_fixture.h"

namespace importkcd {
namespace {

using testing::import_text;
using testing::TemporaryFolder;

/// Makes typing errors in a document: another letter in a tag or an attribute's name, a line left
/// out, a line twice, a value emptied. The result may not be well-formed.
class Typist {
 public:
  explicit Typist(std::uint32_t seed) : random_(seed) {}

  std::string with_mistakes(std::string text, unsigned count) {
    for (; count > 0; --count) {
      make_mistake(text);
    }
    return text;
  }

 private:
  unsigned below(std::size_t limit) {
    return static_cast<unsigned>(random_() % std::max<std::size_t>(limit, 1));
  }

  void make_mistake(std::string& text) {
    const auto at = below(text.size());
    const auto line = text.rfind('\n', at) == std::string::npos ? 0 : text.rfind('\n', at) + 1;
    const auto end = std::min(text.find('\n', at), text.size() - 1);
    switch (below(6)) {
      case 0:
        text.erase(line, end - line + 1);
        break;
      case 1:
        text.insert(line, text.substr(line, end - line + 1));
        break;
      case 2: {
        const auto value = text.find("=\"", at);
        if (value != std::string::npos) {
          text.erase(value + 2, text.find('"', value + 2) - value - 2);
        }
        break;
      }
      case 3: {
        const auto value = text.find("=\"", at);
        if (value != std::string::npos) {
          text.replace(value - 1, 1, "X");
        }
        break;
      }
      case 4: {
        static constexpr std::array<std::string_view, 8> values{
            "(All)", "nowhere", "3.5", "99999999999", "all", "Level 1", "Cube 0", " 7 "};
        const auto value = text.find("=\"", at);
        if (value != std::string::npos) {
          text.replace(value + 2, text.find('"', value + 2) - value - 2,
                       values[below(values.size())]);
        }
        break;
      }
      default: {
        const auto tag = text.find("/>\n", at);
        if (tag != std::string::npos) {
          text.replace(tag, 2, "><note/></note>");
        }
        break;
      }
    }
  }

  std::mt19937 random_;
};

std::vector<Finding> findings_of(const std::string& text) {
  const TemporaryFolder folder;
  return check_document(*KcdDocument::load_original(folder.write("document.kcd", text)));
}

bool is_well_formed(const std::string& text) {
  const TemporaryFolder folder;
  try {
    KcdDocument::load(folder.write("document.kcd", text));
    return true;
  } catch (const ImportError&) {
    return false;
  }
}

std::string shown(const std::vector<Finding>& findings) {
  std::string text;
  for (const auto& finding : findings) {
    text += finding.severity == Severity::error ? "error " : "warning ";
    text += std::to_string(finding.position.line) + ": " + finding.path + ": " + finding.message;
    text += '\n';
  }
  return text;
}

class GeneratedDocuments : public ::testing::Test {
 protected:
  /// The check of a document says whether its import fails.
  void expect_foretold(const std::string& text) {
    if (!is_well_formed(text)) {
      return;
    }
    const auto findings = findings_of(text);
    const bool has_error = std::any_of(findings.begin(), findings.end(), [](const auto& finding) {
      return finding.severity == Severity::error;
    });
    const bool has_second_cube =
        std::any_of(findings.begin(), findings.end(), [](const auto& finding) {
          return finding.rule == rule::duplicate_name && finding.path.starts_with("cube '") &&
                 finding.path.find('>') == std::string::npos;
        });
    ++(has_error ? failing_ : good_);
    for (const auto type : {import_type::incremental, import_type::replace}) {
      if (type == import_type::replace && has_second_cube) {
        continue;
      }
      ImportOptions options;
      options.ImportType = type;
      options.import_partitions = true;
      options.import_virtual_objects = true;
      options.after_failure = AfterFailure::discard;
      const auto store = make_memory_store();
      const auto result = import_text(text, options, store);
      const bool is_stored = !testing::connected_server(store)->stored_objects().empty();
      ASSERT_EQ(is_stored, !has_error) << type << ' ' << result.last_error << ' '
                                       << ::testing::PrintToString(result.notifications) << '\n'
                                       << shown(findings) << text;
    }
  }

  int failing_ = 0;
  int good_ = 0;
};

testing::GeneratorOptions small(std::uint32_t seed, int odd_percentage) {
  testing::GeneratorOptions options;
  options.seed = seed;
  options.shared_dimensions = 3;
  options.cubes = 2;
  options.virtual_dimensions = 2;
  options.virtual_cubes = 2;
  options.odd_percentage = odd_percentage;
  return options;
}

TEST_F(GeneratedDocuments, WithOddValuesFailAsTheirCheckSays) {
  for (std::uint32_t seed = 0; seed < 240 && !HasFailure(); ++seed) {
    expect_foretold(generate_document(small(seed, seed % 4 == 0 ? 1 : 0)));
  }
  EXPECT_GT(failing_, 20);
  EXPECT_GT(good_, 40);
}

TEST_F(GeneratedDocuments, WithTypingErrorsFailAsTheirCheckSays) {
  for (std::uint32_t seed = 0; seed < 600 && !HasFailure(); ++seed) {
    Typist typist(seed);
    expect_foretold(typist.with_mistakes(generate_document(small(seed, 0)), 1 + seed % 4));
  }
  EXPECT_GT(failing_, 100);
  EXPECT_GT(good_, 100);
}

TEST_F(GeneratedDocuments, WithoutFaultsHaveNoErrors) {
  for (std::uint32_t seed = 0; seed < 50; ++seed) {
    for (const auto& finding : findings_of(generate_document(small(seed, 0)))) {
      EXPECT_TRUE(finding.severity == Severity::warning) << shown({finding});
    }
  }
}

}  // namespace
}  // namespace importkcd
