#pragma once

#include <string>

namespace importkcd {

/// The commit that the program was built from, "+changes" behind it when the tree was changed;
/// "unknown" outside of a repository. Written by the build of the program.
const char* source_commit();

/// What `kcd --version --verbose` prints: a line for the program, the commit, the compiler, and
/// each library with the version that runs now, or that it is missing. `commit` is
/// source_commit()'s.
std::string program_version_in_detail(const std::string& commit);

}  // namespace importkcd
