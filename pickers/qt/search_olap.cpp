#include "pickers/qt/search_olap.h"

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

frmSearchOLAPCube::frmSearchOLAPCube(OlapServerFactory factory, ErrorBox error_box)
    : SearchListDialog({.dialog = "frmSearchOLAPCube",
                        .label = "lblSearchOLAPCube",
                        .list = "lstOLAPCube",
                        .title = "Select an OLAP cube",
                        .list_name = "OLAP cubes",
                        .list_description = "The cubes of the OLAP database"},
                       std::move(factory), std::move(error_box)) {}

bool frmSearchOLAPCube::ShowCubes(const std::string& strOLAPServerName,
                                  const std::string& strOLAPDB, QWidget* frmParentForm) {
  server_name_ = strOLAPServerName;
  database_name_ = strOLAPDB;
  reset();
  OlapListing listing = list_olap_cubes(factory(), server_name_, database_name_);
  const Texts texts{
      .caption = tr("&Cubes of %1 on %2:")
                     .arg(quoted_for_caption(database_name_), quoted_for_caption(server_name_)),
      .failure = "Error Reading Cube info from " + server_name_ + "\r\n" + listing.failure};
  return show_listing(std::move(listing), texts, frmParentForm);
}

}  // namespace importkcd
