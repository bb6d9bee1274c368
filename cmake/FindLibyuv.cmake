# Finds libyuv and makes the target Libyuv::Libyuv: no release of it brings a pkg-config or CMake file.
# Installed with the library, because programs that link it statically need it too.
include(FindPackageHandleStandardArgs)
find_path(LIBYUV_INCLUDE_DIR libyuv.h)
find_library(LIBYUV_LIBRARY yuv)
mark_as_advanced(LIBYUV_INCLUDE_DIR LIBYUV_LIBRARY)
find_package_handle_standard_args(Libyuv REQUIRED_VARS LIBYUV_LIBRARY LIBYUV_INCLUDE_DIR)
if(Libyuv_FOUND AND NOT TARGET Libyuv::Libyuv)
  add_library(Libyuv::Libyuv UNKNOWN IMPORTED)
  set_target_properties(
    Libyuv::Libyuv PROPERTIES IMPORTED_LOCATION "${LIBYUV_LIBRARY}"
                              INTERFACE_INCLUDE_DIRECTORIES "${LIBYUV_INCLUDE_DIR}")
endif()
