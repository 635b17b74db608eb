#pragma once

#include <string>
#include <vector>

namespace importkcd {

/// The engine's classes as Java keeps them for quicker starts: a file in the user's cache that is
/// made by the first engine which was started for one question, and may be lost at any time. Its
/// name changes with the class path's files, so that it is made anew for other ones.
class EngineArchive {
 public:
  /// Takes Java's program and the class path. Without a home folder there is no archive.
  EngineArchive(const std::string& java, const std::string& class_path);

  bool exists() const;
  /// Java's options that let it use the archive; none when it does not exist.
  std::vector<std::string> use() const;
  /// Java's options that let it write the archive when it ends; none without a place for it.
  std::vector<std::string> make() const;
  /// Puts what was written in place, after Java has ended, and removes archives of earlier class
  /// paths. Failures leave things as they are.
  void keep() const noexcept;
  /// Removes the archive.
  void discard() const noexcept;

 private:
  std::string written() const;

  std::string file_;
};

}  // namespace importkcd
