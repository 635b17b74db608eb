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
  reset(strOLAPServerName);
  return show_listing(
      list_olap_databases(factory(), strOLAPServerName),
      {.caption = tr("&Databases on %1:").arg(quoted_for_caption(strOLAPServerName)),
       .failure = "Error Connecting to OLAP Server " + strOLAPServerName},
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
  database_name_ = strOLAPDB;
  reset(strOLAPServerName);
  OlapListing listing = list_olap_cubes(factory(), strOLAPServerName, database_name_);
  const Texts texts{
      .caption =
          tr("&Cubes of %1 on %2:")
              .arg(quoted_for_caption(database_name_), quoted_for_caption(strOLAPServerName)),
      .failure = "Error Reading Cube info from " + strOLAPServerName + "\r\n" + listing.failure};
  return show_listing(std::move(listing), texts, frmParentForm);
}

}  // namespace importkcd
