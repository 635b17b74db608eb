#include "pickers/qt/search_olap_db.h"

#include <utility>

namespace importkcd {

frmSearchOLAPDB::frmSearchOLAPDB(OlapServerFactory factory, ErrorBox error_box)
    : SearchListDialog({.dialog = "frmSearchOLAPDB",
                        .label = "lblSearchOLAPDB",
                        .list = "lstOLAPDB",
                        .title = "Select an OLAP database",
                        .list_name = "OLAP databases",
                        .list_description = "The databases of the OLAP server"},
                       std::move(factory), std::move(error_box)) {}

bool frmSearchOLAPDB::ShowDBs(const std::string& strOLAPServerName, QWidget* frmParentForm) {
  server_name_ = strOLAPServerName;
  reset();
  return show_listing(list_olap_databases(factory(), server_name_),
                      {.caption = tr("&Databases on %1:").arg(quoted_for_caption(server_name_)),
                       .failure = "Error Connecting to OLAP Server " + server_name_},
                      frmParentForm);
}

}  // namespace importkcd
