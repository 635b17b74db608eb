#include "servers/catalogue/database_lock.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/text.h"
#include "model/olap_server.h"

namespace importkcd {
namespace {

/// The byte of the lock file that stands for a name. The file needs no bytes for it. All versions
/// of this program must agree on it.
off_t place_of(std::string_view database) {
  return static_cast<off_t>(lasting_hash(lower_cased(database)) >> 1U);
}

}  // namespace

void DatabaseLock::hold(std::string_view database) {
  open();
  struct flock range {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = place_of(database);
  range.l_len = 1;
  if (fcntl(lock_file_.number(), F_OFD_SETLK, &range) == 0) {
    return;
  }
  if (errno == EAGAIN || errno == EACCES) {
    throw DatabaseHeld(database);
  }
  throw ImportError("cannot lock '" + mask_passwords(file_) + "': " + system_description(errno),
                    error_source::olap_server, FailureCause::server);
}

void DatabaseLock::open() {
  if (lock_file_.is_open()) {
    return;
  }
  lock_file_ =
      FileDescriptor(::open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!lock_file_.is_open()) {
    throw ImportError("cannot open '" + mask_passwords(file_) + "': " + system_description(errno),
                      error_source::olap_server, FailureCause::server);
  }
}

}  // namespace importkcd
