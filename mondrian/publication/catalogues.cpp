#include "mondrian/publication/catalogues.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "base/name_folding.h"
#include "base/text.h"
#include "mondrian/mapping/data_source_connections.h"
#include "mondrian/mapping/virtual_cube_mapping.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

constexpr std::size_t longest_readable_name = 80;

class Grouping {
 public:
  Grouping(OlapDatabase& database, std::vector<std::string>& remarks)
      : database_(database), remarks_(remarks), connections_(database) {}

  std::vector<PublishedCatalogue> catalogues() {
    const auto names = database_.cubes().names();
    for (const auto& name : names) {
      add(*database_.cubes().find(name));
    }
    for (const auto& name : virtual_cubes_) {
      add_virtual(*database_.cubes().find(name));
    }
    if (groups_.size() > 1) {
      for (auto& group : groups_) {
        group.name += " - " + group.warehouse;
        group.data_source = group.warehouse;
      }
    }
    return std::move(groups_);
  }

 private:
  void add(const OlapCube& cube) {
    if (cube.kind == OlapCubeKind::is_virtual) {
      virtual_cubes_.push_back(cube.name);
      return;
    }
    try {
      group_of(cube).cubes.push_back(cube.name);
    } catch (const NotExpressible& error) {
      remarks_.push_back("Cube '" + cube.name + "' cannot be published: " + error.description());
    }
  }

  PublishedCatalogue& group_of(const OlapCube& cube) {
    const auto& connection = connections_.of(cube.data_source);
    const auto found = std::find_if(
        groups_.begin(), groups_.end(),
        [&](const PublishedCatalogue& group) { return group.connection == connection; });
    if (found != groups_.end()) {
      return *found;
    }
    groups_.push_back(
        {database_.name(), connection, {}, {}, database_.data_source_name(cube.data_source), {}});
    return groups_.back();
  }

  void add_virtual(const OlapCube& cube) {
    const auto base =
        cube.measures.empty() ? std::string() : cube_of_virtual_measure(cube.measures[0]);
    for (auto& group : groups_) {
      if (std::any_of(group.cubes.begin(), group.cubes.end(),
                      [&](const std::string& name) { return same_name(name, base); })) {
        group.virtual_cubes.push_back(cube.name);
        return;
      }
    }
    remarks_.push_back("Virtual cube '" + cube.name +
                       "' cannot be published: no published cube has its first measure");
  }

  OlapDatabase& database_;
  std::vector<std::string>& remarks_;
  DataSourceConnections connections_;
  std::vector<PublishedCatalogue> groups_;
  std::vector<std::string> virtual_cubes_;
};

bool is_plain(char c) { return is_ascii_letter(c) || is_ascii_digit(c) || c == '-' || c == '_'; }

/// The same name has the same file in every version.
std::string hash_text(const std::string& name) {
  const auto hash = lasting_hash(name);
  constexpr std::string_view digits = "0123456789abcdef";
  std::string result;
  for (int shift = 60; shift >= 0; shift -= 4) {
    result += digits[(hash >> static_cast<unsigned>(shift)) & 15U];
  }
  return result;
}

/// Whether a name could be mistaken for one that got its hash.
bool ends_like_hash(const std::string& name) {
  constexpr std::size_t hash_size = 16;
  return name.size() > hash_size && name[name.size() - hash_size - 1] == '-' &&
         name.find_first_not_of("0123456789abcdef", name.size() - hash_size) == std::string::npos;
}

}  // namespace

std::vector<PublishedCatalogue> catalogues_of(OlapDatabase& database,
                                              std::vector<std::string>& remarks) {
  return Grouping(database, remarks).catalogues();
}

std::string schema_file_name(const std::string& database, const std::string& data_source) {
  const auto catalogue = database + (data_source.empty() ? "" : "\n" + data_source);
  std::string readable;
  for (const char c : catalogue.substr(0, longest_readable_name)) {
    readable += is_plain(c) ? c : '_';
  }
  const bool speaks_for_itself = readable == catalogue && !ends_like_hash(catalogue);
  return (speaks_for_itself ? readable : readable + "-" + hash_text(catalogue)) + ".xml";
}

}  // namespace importkcd
