# Takes out of the packed files what Debian's packages have not: the names of compilers. CPack runs
# this after it has stripped the program.
file(GLOB_RECURSE program "${CPACK_TEMPORARY_DIRECTORY}/*/usr/bin/clip-reverse")
file(GLOB_RECURSE library "${CPACK_TEMPORARY_DIRECTORY}/*/libclipreverse.a"
     "${CPACK_TEMPORARY_DIRECTORY}/*/libclipreverse.so.*")
foreach(file IN LISTS program library)
  execute_process(COMMAND "${CPACK_STRIP_PROGRAM}" --strip-debug --remove-section=.comment
                          --enable-deterministic-archives "${file}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
