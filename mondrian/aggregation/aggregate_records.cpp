#include "mondrian/aggregation/aggregate_records.h"

#include <algorithm>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/xml_element.h"

namespace importkcd {
namespace {

constexpr const char* root_name = "Aggregates";

std::string recorded_text(const XmlElement& element, std::string_view attribute) {
  return std::string(element.attribute(attribute));
}

XmlElement table_record_element(const AggregateRecord& record) {
  auto element = text_element("Table", {});
  element.set("name", record.table).set("database", record.database).set("cube", record.cube);
  element.set_if_any("built", record.built).set_if_any("rows", record.rows);
  for (const auto& [dimension, level] : record.levels) {
    element.add(text_element("Level", {})).set("dimension", dimension).set("name", level);
  }
  element.add(text_element("Query", record.query));
  element.add(text_element("FactsQuery", record.fingerprint_queries.facts));
  element.add(text_element("FactsFingerprint", record.fingerprint.facts));
  if (!record.fingerprint_queries.dimensions.empty()) {
    element.add(text_element("DimensionsQuery", record.fingerprint_queries.dimensions));
    element.add(text_element("DimensionsFingerprint", record.fingerprint.dimensions));
  }
  return element;
}

AggregateRecord table_record(const XmlElement& element) {
  const auto text_of = [&](std::string_view child) {
    return std::string(element.child_text(child));
  };
  AggregateRecord record{recorded_text(element, "database"),
                         recorded_text(element, "cube"),
                         recorded_text(element, "name"),
                         {},
                         text_of("Query"),
                         recorded_text(element, "built"),
                         {text_of("FactsQuery"), text_of("DimensionsQuery")},
                         {text_of("FactsFingerprint"), text_of("DimensionsFingerprint")},
                         recorded_text(element, "rows")};
  for (const auto& level : element.children) {
    if (level.name == "Level") {
      record.levels.emplace_back(recorded_text(level, "dimension"), recorded_text(level, "name"));
    }
  }
  return record;
}

}  // namespace

const FactsViewRecord* AggregateRecords::view_of(std::string_view database,
                                                 std::string_view cube) const {
  const auto found = std::find_if(views.begin(), views.end(), [&](const FactsViewRecord& view) {
    return same_name(view.database, database) && same_name(view.cube, cube);
  });
  return found == views.end() ? nullptr : &*found;
}

bool AggregateRecords::names(std::string_view table) const {
  return std::any_of(tables.begin(), tables.end(),
                     [&](const AggregateRecord& one) { return same_name(one.table, table); }) ||
         std::any_of(views.begin(), views.end(),
                     [&](const FactsViewRecord& one) { return same_name(one.view, table); });
}

std::string aggregates_text(const AggregateRecords& records) {
  auto root = text_element(root_name, {});
  for (const auto& view : records.views) {
    root.add(text_element("FactsView", {}))
        .set("name", view.view)
        .set("database", view.database)
        .set("cube", view.cube)
        .add(text_element("Query", view.query));
  }
  for (const auto& record : records.tables) {
    root.add(table_record_element(record));
  }
  return xml_document(root, " Written by kcd aggregate ");
}

AggregateRecords parse_aggregates(std::string_view text, const std::string& file) {
  const auto refuse = [&file](const std::string& reason) {
    return ImportError("cannot read '" + mask_passwords(file) + "': " + reason,
                       error_source::olap_server, FailureCause::server);
  };
  XmlElement root;
  try {
    root = read_xml(text, error_source::olap_server);
  } catch (const ImportError& error) {
    throw refuse(error.description());
  }
  if (root.name != root_name) {
    throw refuse("it holds no aggregates");
  }
  AggregateRecords records;
  for (const auto& element : root.children) {
    if (element.name == "Table") {
      records.tables.push_back(table_record(element));
    } else if (element.name == "FactsView") {
      records.views.push_back({recorded_text(element, "database"), recorded_text(element, "cube"),
                               recorded_text(element, "name"),
                               std::string(element.child_text("Query"))});
    }
  }
  return records;
}

}  // namespace importkcd
