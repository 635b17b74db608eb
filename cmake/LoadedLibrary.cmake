# importkcd_loads(TARGET DEFINITION LIBRARY [HEADERS...]): for a target that does not link a library but
# loads it when it first needs it (see SharedLibrary). The definition becomes the file that has the
# interface which the headers in the folders HEADERS describe, such as "libcurl.so.4".
function(importkcd_loads target definition library)
  execute_process(COMMAND "${CMAKE_OBJDUMP}" -p "${library}"
                  OUTPUT_VARIABLE description COMMAND_ERROR_IS_FATAL ANY)
  if(NOT description MATCHES "SONAME[ \t]+([^ \t\r\n]+)")
    message(FATAL_ERROR "${library} is no shared library")
  endif()
  target_compile_definitions(${target} PRIVATE ${definition}="${CMAKE_MATCH_1}")
  target_include_directories(${target} SYSTEM PRIVATE ${ARGN})
endfunction()
