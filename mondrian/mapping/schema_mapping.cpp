#include "mondrian/mapping/schema_mapping.h"

#include <set>
#include <unordered_map>
#include <utility>

#include "base/name_folding.h"
#include "mondrian/mapping/cube_mapping.h"
#include "mondrian/mapping/virtual_cube_mapping.h"
#include "mondrian/not_expressible.h"
#include "mondrian/published_partitions.h"

namespace importkcd {
namespace {

constexpr const char* access_permission = "Access";

bool may_read(const OlapRole& role) {
  const auto* access = role.permissions.find(access_permission);
  return access != nullptr && access->value.find_first_of("Rr") != std::string::npos;
}

/// A dimension in a cube: with the column that ties it behind its name.
XmlElement tied(XmlElement dimension, const std::string& foreign_key) {
  if (!foreign_key.empty()) {
    dimension.attributes.insert(dimension.attributes.begin() + 1, {"foreignKey", foreign_key});
  }
  return dimension;
}

/// What the schema tells others than the engine about the element that it stands in.
XmlElement annotations(std::string_view name, const std::string& text) {
  auto element = text_element("Annotations", {});
  element.add(text_element("Annotation", text)).set("name", std::string(name));
  return element;
}

/// Collects the elements of a schema, and what its cubes share.
class SchemaMapper {
 public:
  SchemaMapper(OlapDatabase& database, const PublishedCatalogue& catalogue,
               std::vector<std::string>& remarks)
      : database_(database), catalogue_(catalogue), remarks_(remarks), connections_(database) {}

  XmlElement schema() {
    for (const auto& role : database_.roles().names()) {
      grants_.add_role(role, database_.roles().find(role)->user_list);
    }
    for (const auto& name : catalogue_.cubes) {
      add(*database_.cubes().find(name));
    }
    for (const auto& name : catalogue_.virtual_cubes) {
      add_virtual(*database_.cubes().find(name));
    }
    auto schema = text_element("Schema", {});
    schema.set("name", catalogue_.name).set_if_any("description", database_.description);
    for (auto* elements : {&shared_elements_, &cube_elements_, &virtual_elements_}) {
      for (auto& element : *elements) {
        schema.add(std::move(element));
      }
    }
    for (auto& role : grants_.elements()) {
      schema.add(std::move(role));
    }
    return schema;
  }

 private:
  void add(const OlapCube& cube) {
    std::vector<std::string> remarks;
    try {
      auto mapped = map_cube(database_, cube, connections_, aliases_, remarks);
      cube_elements_.push_back(cube_element(mapped));
      cubes_.emplace(lower_cased(cube.name), std::move(mapped));
    } catch (const NotExpressible& error) {
      remarks_.push_back(error.description());
      return;
    }
    remarks_.insert(remarks_.end(), remarks.begin(), remarks.end());
    grants_.add_cube(cube);
  }

  void add_virtual(const OlapCube& cube) {
    const FindMappedCube find_cube = [this](const std::string& name) -> const MappedCube* {
      const auto found = cubes_.find(lower_cased(name));
      return found == cubes_.end() ? nullptr : &found->second;
    };
    const IsShared is_shared = [this](const MappedCube& base, const std::string& dimension) {
      return usages_.contains({lower_cased(base.name), lower_cased(dimension)});
    };
    try {
      virtual_elements_.push_back(virtual_cube_element(cube, find_cube, is_shared));
    } catch (const NotExpressible& error) {
      remarks_.push_back(error.description());
      return;
    }
    grants_.add_cube(cube);
  }

  XmlElement cube_element(MappedCube& mapped) {
    auto element = text_element("Cube", {});
    element.set("name", mapped.name).set_if_any("description", mapped.description);
    if (!mapped.partitions.empty()) {
      element.add(annotations(partitions_annotation, mapped.partitions));
    }
    element.add(std::move(mapped.fact));
    for (auto& dimension : mapped.dimensions) {
      element.add(dimension_of_cube(mapped.name, dimension));
    }
    for (const auto* parts : {&mapped.measures, &mapped.calculated_members}) {
      for (const auto& part : *parts) {
        element.add(part);
      }
    }
    return element;
  }

  /// The first cube that has a dimension as the database defines it makes it the schema's; cubes
  /// that have it in another form keep that to themselves.
  XmlElement dimension_of_cube(const std::string& cube, const CubeDimensionMapping& dimension) {
    const auto& mapped = dimension.mapped;
    if (!mapped.may_be_shared) {
      return tied(mapped.element, mapped.foreign_key);
    }
    const auto text = xml_text(mapped.element);
    const auto [shared, is_new] = shared_.try_emplace(lower_cased(dimension.name), text);
    if (shared->second != text) {
      return tied(mapped.element, mapped.foreign_key);
    }
    if (is_new) {
      shared_elements_.push_back(mapped.element);
    }
    usages_.emplace(lower_cased(cube), lower_cased(dimension.name));
    auto usage = text_element("DimensionUsage", {});
    usage.set("name", dimension.name).set("source", dimension.name);
    usage.set("foreignKey", mapped.foreign_key);
    return usage;
  }

  OlapDatabase& database_;
  const PublishedCatalogue& catalogue_;
  std::vector<std::string>& remarks_;
  DataSourceConnections connections_;
  RelationAliases aliases_;
  RoleGrants grants_;
  /// Lower-cased name -> cube.
  std::unordered_map<std::string, MappedCube> cubes_;
  /// Lower-cased name -> the shared dimension's XML.
  std::unordered_map<std::string, std::string> shared_;
  /// Lower-cased cube and dimension, where the cube uses the shared one.
  std::set<std::pair<std::string, std::string>> usages_;
  std::vector<XmlElement> shared_elements_;
  std::vector<XmlElement> cube_elements_;
  std::vector<XmlElement> virtual_elements_;
};

}  // namespace

void RoleGrants::add_role(const std::string& name, const std::string& user_list) {
  roles_.edit_or_add(name).user_list = user_list;
}

void RoleGrants::add_cube(const OlapCube& cube) {
  for (const auto& role : cube.roles) {
    auto& granted = roles_.edit_or_add(role.name);
    if (may_read(role)) {
      granted.cubes.push_back(cube.name);
    }
  }
}

std::vector<XmlElement> RoleGrants::elements() const {
  std::vector<XmlElement> result;
  for (const auto& role : roles_) {
    auto element = text_element("Role", {});
    element.set("name", role.name);
    if (!role.user_list.empty()) {
      element.add(annotations("user_list", role.user_list));
    }
    auto& schema = element.add(text_element("SchemaGrant", {})).set("access", "none");
    for (const auto& cube : role.cubes) {
      schema.add(text_element("CubeGrant", {})).set("cube", cube).set("access", "all");
    }
    result.push_back(std::move(element));
  }
  return result;
}

XmlElement schema_element(OlapDatabase& database, const PublishedCatalogue& catalogue,
                          std::vector<std::string>& remarks) {
  return SchemaMapper(database, catalogue, remarks).schema();
}

}  // namespace importkcd
