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

# The library. Until version 1 each minor release may change its interface.

set_target_properties(
  clipreverse PROPERTIES VERSION "${PROJECT_VERSION}"
                         SOVERSION "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")
install(TARGETS clipreverse EXPORT clipreverse COMPONENT development
        DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/clipreverse")

# All that an embedding program needs to reverse, read or write clips, and what these headers include.
foreach(header
        base/first_error.h
        base/log.h
        codec/decoder/clip_tags.h
        codec/decoder/decoder_options.h
        codec/decoder/ffmpeg_decoder.h
        codec/decoder/ffmpeg_decoder_impl2.h
        codec/decoder/first_failure.h
        codec/decoder/lost_pictures.h
        codec/decoder/media_info.h
        codec/decoder/open_failure.h
        codec/decoder/replay_policy.h
        codec/encoder/ffmpeg_encoder.h
        codec/encoder/media_encoder.h
        codec/encoder/media_encoder_impl.h
        codec/ffmpeg/log_bridge.h
        codec/ffmpeg/versions.h
        codec/format/media_format.h
        codec/utils/field_order.h
        codec/utils/frame_type.h
        codec/utils/picture_colors.h
        codec/writer/media_writer.h
        codec/writer/media_writer_factory.h
        reverse/account.h
        reverse/end_signal.h
        reverse/job_failure.h
        reverse/reverse.h)
  get_filename_component(folder "${header}" DIRECTORY)
  install(FILES "${header}" COMPONENT development
          DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/clipreverse/${folder}")
endforeach()

# Who links the static library links what it uses; in both files it says so.
if(BUILD_SHARED_LIBS)
  set(CLIPREVERSE_IS_STATIC OFF)
  set(PC_REQUIRES "Requires.private")
  set(PC_LIBS "\nLibs.private:")
  set_target_properties(clip-reverse PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
else()
  set(CLIPREVERSE_IS_STATIC ON)
  set(PC_REQUIRES "Requires")
  set(PC_LIBS "")
endif()
string(REPLACE ";" " " PC_MODULES "${CLIPREVERSE_FFMPEG_MODULES};spdlog;inih;libpng")
# Relative, so that an installed tree may be moved.
string(REGEX REPLACE "[^/]+" ".." PC_PREFIX "${PC_DIR}")
configure_file(cmake/clipreverse.pc.in clipreverse.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/clipreverse.pc" DESTINATION "${PC_DIR}" COMPONENT development)

configure_file(cmake/clipreverse-config.cmake.in clipreverse-config.cmake @ONLY)
write_basic_package_version_file(clipreverse-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/clipreverse-config.cmake"
              "${PROJECT_BINARY_DIR}/clipreverse-config-version.cmake" cmake/FindLibyuv.cmake
        DESTINATION "${PACKAGE_DIR}" COMPONENT development)
install(EXPORT clipreverse NAMESPACE clipreverse:: FILE clipreverse-targets.cmake
        DESTINATION "${PACKAGE_DIR}" COMPONENT development)
