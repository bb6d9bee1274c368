# Everything that is installed rather than written here.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(spdlog REQUIRED)
find_package(PNG REQUIRED)
pkg_check_modules(FFMPEG REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil libswresample
                  libswscale)
pkg_check_modules(INIH REQUIRED IMPORTED_TARGET inih)

# No release of libyuv brings a pkg-config or CMake file.
find_path(LIBYUV_INCLUDE_DIR libyuv.h REQUIRED)
find_library(LIBYUV_LIBRARY yuv REQUIRED)
mark_as_advanced(LIBYUV_INCLUDE_DIR LIBYUV_LIBRARY)
add_library(Libyuv::Libyuv UNKNOWN IMPORTED)
set_target_properties(
  Libyuv::Libyuv PROPERTIES IMPORTED_LOCATION "${LIBYUV_LIBRARY}"
                            INTERFACE_INCLUDE_DIRECTORIES "${LIBYUV_INCLUDE_DIR}")
