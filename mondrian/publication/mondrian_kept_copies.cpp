#include "mondrian/publication/mondrian_kept_copies.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "mondrian/publication/publication.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

class MondrianKeptCopies : public KeptCopies {
 public:
  explicit MondrianKeptCopies(fs::path directory)
      : directory_(std::move(directory)),
        copies_(make_kept_copies((directory_ / published::definitions).string(),
                                 CatalogueAccess::read_only,
                                 [this](OlapStore& changed) { before_commit_(changed); })) {}

  std::vector<KeptCopy> list() override { return copies_->list(); }

  RestoredDatabase restore(const std::string& database) override {
    // Throws where there is nothing, before the lock's file is made.
    list();
    const WaitingLock lock(publication_lock(directory_), WaitingLock::Wait::yes);
    Publication publication(directory_);
    before_commit_ = [&](OlapStore& changed) { publication.prepare(changed, {database}); };
    auto restored = copies_->restore(database);
    publication.carry_out();
    restored.remarks = publication.remarks();
    return restored;
  }

 private:
  fs::path directory_;
  std::function<void(OlapStore& changed)> before_commit_;
  std::unique_ptr<KeptCopies> copies_;
};

}  // namespace

std::unique_ptr<KeptCopies> make_mondrian_kept_copies(const std::string& directory) {
  std::error_code ignored;
  return std::make_unique<MondrianKeptCopies>(
      fs::weakly_canonical(fs::absolute(directory), ignored));
}

}  // namespace importkcd
