# What `cmake --install` puts where. Components: "tool" for who runs the program, "development" for who
# builds against the library.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(DOC_DIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/clip-reverse")
set(PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/clipreverse")
set(PC_DIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# The tool.

find_program(GZIP gzip REQUIRED)
configure_file(docs/clip-reverse.1 "${PROJECT_BINARY_DIR}/clip-reverse.1" @ONLY)
set(MAN_PAGE "${PROJECT_BINARY_DIR}/clip-reverse.1.gz")
add_custom_command(
  OUTPUT "${MAN_PAGE}"
  COMMAND "${GZIP}" -9nc "${PROJECT_BINARY_DIR}/clip-reverse.1" > "${MAN_PAGE}"
  DEPENDS "${PROJECT_BINARY_DIR}/clip-reverse.1"
  VERBATIM)
add_custom_target(man_page ALL DEPENDS "${MAN_PAGE}")

install(TARGETS clip-reverse RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
install(FILES "${MAN_PAGE}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tool)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION "${DOC_DIR}" COMPONENT tool)
# A component of its own, because Debian's packages have the licence in their file "copyright".
install(FILES LICENSE DESTINATION "${DOC_DIR}" COMPONENT licence)
install(DIRECTORY docs/ DESTINATION "${DOC_DIR}/docs" COMPONENT tool
        FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(FILES completions/clip-reverse.bash RENAME clip-reverse COMPONENT tool
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions")
install(FILES completions/clip-reverse.fish COMPONENT tool
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d")
# A component of its own, because Debian's zsh looks elsewhere; see Packaging.cmake.
install(FILES completions/_clip-reverse COMPONENT zsh
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/zsh/site-functions")

# The library of C++. Until version 1 each minor release may change its interface.

install(TARGETS clipreverse EXPORT clipreverse COMPONENT development
        DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/clipreverse")

# The library of C, which stays as it is: a component of its own for who runs programs that use it.

install(TARGETS clipreverse_c EXPORT clipreverse-c
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library
                NAMELINK_COMPONENT development
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(FILES include/clipreverse.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)
install(FILES examples/reverse.py DESTINATION "${DOC_DIR}/examples" COMPONENT development)

# All that an embedding program needs to reverse, read or write clips, and nothing of the inside: a
# test looks that none of them includes another header. docs/Doxyfile.public has the same list.
foreach(header
        base/log.h
        codec/decoder/clip_tags.h
        codec/decoder/decoder_options.h
        codec/decoder/ffmpeg_decoder.h
        codec/decoder/ffmpeg_decoder_impl2.h
        codec/decoder/file_extent.h
        codec/decoder/lost_pictures.h
        codec/decoder/media_info.h
        codec/decoder/open_failure.h
        codec/decoder/passed_over_sound.h
        codec/ffmpeg/error_text.h
        codec/ffmpeg/log_bridge.h
        codec/ffmpeg/versions.h
        codec/format/media_format.h
        codec/utils/field_order.h
        codec/utils/frame_type.h
        codec/utils/picture_colors.h
        codec/writer/media_writer.h
        codec/writer/media_writer_factory.h
        reverse/account.h
        reverse/job_failure.h
        reverse/reverse.h)
  get_filename_component(folder "${header}" DIRECTORY)
  install(FILES "${header}" COMPONENT development
          DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/clipreverse/${folder}")
endforeach()

string(REPLACE ";" " " PC_MODULES "${CLIPREVERSE_FFMPEG_MODULES};spdlog;inih;libpng")
# Relative, so that an installed tree may be moved.
string(REGEX REPLACE "[^/]+" ".." PC_PREFIX "${PC_DIR}")
foreach(pc clipreverse clipreverse-c)
  configure_file(cmake/${pc}.pc.in ${pc}.pc @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${pc}.pc" DESTINATION "${PC_DIR}" COMPONENT development)
endforeach()

configure_file(cmake/clipreverse-config.cmake.in clipreverse-config.cmake @ONLY)
write_basic_package_version_file(clipreverse-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/clipreverse-config.cmake"
              "${PROJECT_BINARY_DIR}/clipreverse-config-version.cmake" cmake/FindLibyuv.cmake
        DESTINATION "${PACKAGE_DIR}" COMPONENT development)
foreach(targets clipreverse clipreverse-c)
  install(EXPORT ${targets} NAMESPACE clipreverse:: FILE ${targets}-targets.cmake
          DESTINATION "${PACKAGE_DIR}" COMPONENT development)
endforeach()
