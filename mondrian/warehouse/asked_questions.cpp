#include "mondrian/warehouse/asked_questions.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/files.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "mondrian/mdx/mdx_scanner.h"

namespace importkcd {
namespace {

bool is_name(const MdxToken& token) {
  return token.kind == MdxToken::Kind::bracketed || token.kind == MdxToken::Kind::word;
}

bool is_point(const MdxToken& token) {
  return token.kind == MdxToken::Kind::symbol && token.text == ".";
}

std::vector<MdxToken> tokens_of(std::string_view mdx) {
  MdxScanner scanner(mdx);
  std::vector<MdxToken> tokens;
  do {
    tokens.push_back(scanner.next());
  } while (tokens.back().kind != MdxToken::Kind::end);
  return tokens;
}

/// The names from a position on that points join.
std::vector<std::string> path_at(const std::vector<MdxToken>& tokens, std::size_t position) {
  std::vector<std::string> names{tokens[position].text};
  while (is_point(tokens[position + 1]) && is_name(tokens[position + 2])) {
    position += 2;
    names.push_back(tokens[position].text);
  }
  return names;
}

/// How many levels of its dimension a path tells apart.
std::size_t depth_of_path(const ShapeDimension& dimension, std::vector<std::string> names) {
  names.erase(names.begin());
  std::size_t deeper = 0;
  for (const auto* function : {"members", "children", "currentmember", "allmembers"}) {
    if (!names.empty() && same_name(names.back(), function)) {
      deeper = same_name(function, "children") ? 1 : 0;
      if (names.size() == 1 && same_name(function, "members")) {
        return dimension.levels.size();
      }
      names.pop_back();
    }
  }
  if (names.empty()) {
    return deeper;
  }
  for (std::size_t i = 0; i < dimension.levels.size(); ++i) {
    if (same_name(dimension.levels[i].name, names.front())) {
      return i + 1;
    }
  }
  const bool begins_with_all = dimension.has_all && same_name(names.front(), dimension.all_member);
  return names.size() - (begins_with_all ? 1 : 0) + deeper;
}

}  // namespace

std::vector<AskedQuestion> read_access_log(const std::string& file) {
  const auto text = text_of_file(file, "kcd");
  std::vector<AskedQuestion> questions;
  bool has_json = text.empty();
  for (std::size_t begin = 0; begin < text.size();) {
    const auto end = std::min(text.find('\n', begin), text.size());
    const auto line = nlohmann::json::parse(text.substr(begin, end - begin), nullptr, false);
    begin = end + 1;
    has_json = has_json || line.is_object();
    if (line.is_object() && line.contains("mdx") && line["mdx"].is_string()) {
      const bool names_catalogue = line.contains("database") && line["database"].is_string();
      questions.push_back({names_catalogue ? line["database"].get<std::string>() : std::string(),
                           line["mdx"].get<std::string>()});
    }
  }
  if (!has_json) {
    throw ImportError("'" + file + "' is no access log of kcd serve", "kcd",
                      FailureCause::command_line);
  }
  return questions;
}

std::string cube_asked(std::string_view mdx) {
  const auto tokens = tokens_of(mdx);
  for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
    if (tokens[i].kind == MdxToken::Kind::word && tokens[i].text == "from" &&
        is_name(tokens[i + 1])) {
      return tokens[i + 1].text;
    }
  }
  return {};
}

LevelCombination levels_asked(const CubeShape& shape, std::string_view mdx) {
  LevelCombination levels;
  for (const auto& dimension : shape.dimensions) {
    levels.push_back(dimension.has_all ? 0 : 1);
  }
  const auto tokens = tokens_of(mdx);
  for (std::size_t position = 0; position < tokens.size(); ++position) {
    if (!is_name(tokens[position]) || (position > 0 && is_point(tokens[position - 1]))) {
      continue;
    }
    for (std::size_t i = 0; i < levels.size(); ++i) {
      const auto& dimension = shape.dimensions[i];
      if (same_name(dimension.name, tokens[position].text)) {
        const auto depth = depth_of_path(dimension, path_at(tokens, position));
        levels[i] = std::max(levels[i], std::min(depth, dimension.levels.size()));
      }
    }
  }
  return levels;
}

std::vector<LatticeQuestion> lattice_questions(const CubeShape& shape, const std::string& database,
                                               const std::vector<AskedQuestion>& asked) {
  std::map<LevelCombination, double> times;
  for (const auto& question : asked) {
    // A database with several data sources has several catalogues, whose names begin with its own.
    const bool is_here = question.catalogue.empty() ||
                         lower_cased(question.catalogue).starts_with(lower_cased(database));
    if (is_here && same_name(cube_asked(question.mdx), shape.name)) {
      times[levels_asked(shape, question.mdx)] += 1;
    }
  }
  std::vector<LatticeQuestion> questions;
  questions.reserve(times.size());
  for (const auto& [levels, weight] : times) {
    questions.push_back({levels, weight});
  }
  return questions;
}

}  // namespace importkcd
