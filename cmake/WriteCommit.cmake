# Writes a source that says which commit the tree is at; run at every build, the source changes only with
# the commit. An archive that git made says it by itself (commit.txt), elsewhere git is asked.
# Usage: cmake -DFOLDER=<source folder> -DRESULT=<source> -P WriteCommit.cmake

file(STRINGS "${CMAKE_CURRENT_LIST_DIR}/commit.txt" commit LIMIT_COUNT 1)
if(commit MATCHES "^\\$")
  execute_process(
    COMMAND git --no-optional-locks describe --always --dirty=+changes --abbrev=12 --exclude=*
    WORKING_DIRECTORY "${FOLDER}"
    OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed ERROR_QUIET)
  if(failed OR commit STREQUAL "")
    set(commit "unknown")
  endif()
endif()
file(CONFIGURE OUTPUT "${RESULT}" CONTENT [[#include "cli/program_version.h"

namespace importkcd {

const char* source_commit() { return "@commit@"; }

}  // namespace importkcd
]] @ONLY)
