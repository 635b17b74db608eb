#include "frontend/run_settings.h"

#include "frontend/datawarehouse_connect_string.h"
#include "frontend/text_characters.h"
#include "importer/import_options.h"

namespace importkcd {
namespace {

void hand_over_import_type(ImportOptions& options, const RunFields& fields) {
  if (fields.incremental) {
    options.ImportType = import_type::incremental;
  } else if (fields.replace) {
    options.ImportType = import_type::replace;
  } else if (fields.update) {
    options.ImportType = import_type::update;
    options.DontUpdateLevels = fields.dont_update_levels;
  }
}

}  // namespace

void hand_over_settings(ImportOptions& options, const RunFields& fields,
                        const HiddenSettings& settings, const std::string& document_file_name,
                        const std::string& computer_name) {
  options.machine_name = fields.olap_server;
  options.use_alternate_database_name = fields.alt_olap_database;
  options.alternate_database_name = fields.olap_database;
  options.kcd_document_file_name = document_file_name;
  options.data_source_name = fields.alt_dw_server ? fields.datawarehouse_server : std::string();
  if (!settings.DwDatabase.empty()) {
    options.datawarehouse_connectstring =
        BuildDatawarehouseConnectString(fields.datawarehouse_server, computer_name, settings);
  }
  options.virtual_cubes = settings.ImportVirtualCubes;
  hand_over_import_type(options, fields);
  options.import_partitions = fields.import_cube_partition_defs;
  options.replace_pattern(fields.replace_pattern);
  if (fields.replace_pattern) {
    options.pattern_from = trim_blanks(fields.replace_pattern_from);
    options.pattern_to = trim_blanks(fields.replace_pattern_to);
  }
}

}  // namespace importkcd
