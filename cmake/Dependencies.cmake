# Everything that is installed rather than written here.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(spdlog REQUIRED)
find_package(PNG REQUIRED)
find_package(Libyuv REQUIRED)
set(CLIPREVERSE_FFMPEG_MODULES libavformat libavcodec libavutil libswresample libswscale)
pkg_check_modules(CLIPREVERSE_FFMPEG REQUIRED IMPORTED_TARGET ${CLIPREVERSE_FFMPEG_MODULES})
pkg_check_modules(CLIPREVERSE_INIH REQUIRED IMPORTED_TARGET inih)
