# `cpack -G DEB` in a build directory makes three Debian packages: clip-reverse, the tool,
# libclipreverse0, the shared library of C, and libclipreverse-dev for who builds against it or
# against the static library of C++.

file(STRINGS packaging/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^clip-reverse \\(${PROJECT_VERSION}\\) ")
  message(FATAL_ERROR "packaging/changelog does not begin with version ${PROJECT_VERSION}")
endif()

# Files that only Debian's packages have.
configure_file(packaging/changelog "${PROJECT_BINARY_DIR}/debian-changelog" @ONLY)
set(CHANGELOG "${PROJECT_BINARY_DIR}/changelog.gz")
add_custom_command(
  OUTPUT "${CHANGELOG}"
  COMMAND "${GZIP}" -9nc "${PROJECT_BINARY_DIR}/debian-changelog" > "${CHANGELOG}"
  DEPENDS "${PROJECT_BINARY_DIR}/debian-changelog"
  VERBATIM)
add_custom_target(changelog ALL DEPENDS "${CHANGELOG}")
install(FILES packaging/copyright "${CHANGELOG}" COMPONENT tool EXCLUDE_FROM_ALL
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/clip-reverse")
install(FILES packaging/copyright "${CHANGELOG}" COMPONENT development EXCLUDE_FROM_ALL
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/libclipreverse-dev")
install(FILES packaging/copyright "${CHANGELOG}" COMPONENT library EXCLUDE_FROM_ALL
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/libclipreverse0")
install(FILES completions/_clip-reverse COMPONENT tool EXCLUDE_FROM_ALL
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/zsh/vendor-completions")
install(FILES packaging/lintian-overrides RENAME clip-reverse COMPONENT tool EXCLUDE_FROM_ALL
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides")
install(FILES packaging/libclipreverse0.lintian-overrides RENAME libclipreverse0 COMPONENT library
        EXCLUDE_FROM_ALL DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides")

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL tool library development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_STRIP_PROGRAM "${CMAKE_STRIP}")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/strip.cmake")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
                                                GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_PACKAGE_NAME clip-reverse)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "reverses a media clip in bounded memory")
set(CPACK_PACKAGE_CONTACT "${CLIPREVERSE_CONTACT}")
set(CPACK_PACKAGE_VENDOR "the clip-reverse developers")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME clip-reverse)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_DESCRIPTION
    "clip-reverse writes a new file in which the pictures of a clip come last to
first and its sound runs backwards, sample by sample. The memory that it needs
does not depend on the length of the clip.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libclipreverse0)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
# By hand: CPack makes no list of symbols, and no trigger for ldconfig.
set(CONTROL_FILES)
foreach(control shlibs symbols triggers)
  configure_file("packaging/libclipreverse0.${control}" "${PROJECT_BINARY_DIR}/control/${control}" @ONLY)
  list(APPEND CONTROL_FILES "${PROJECT_BINARY_DIR}/control/${control}")
endforeach()
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${CONTROL_FILES}")
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION
    "The shared library of clip-reverse, for programs in C and in languages that
call C: it writes a new file in which the pictures of a clip come last to first
and its sound runs backwards, sample by sample.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libclipreverse-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libclipreverse0 (= ${PROJECT_VERSION}), libavformat-dev, libavcodec-dev, libavutil-dev, libswresample-dev, libswscale-dev, libyuv-dev, libspdlog-dev, libinih-dev, libpng-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "What programs that embed clip-reverse are built with: the header of its library
of C, the static library of C++ and its headers, and files for CMake and
pkg-config.")

include(CPack)
