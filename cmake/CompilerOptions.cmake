# Warnings and sanitizers that all of our own targets share.
option(CLIPREVERSE_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
option(CLIPREVERSE_PRECOMPILED_HEADERS "Compile the headers that all tests take only once" OFF)
set(CLIPREVERSE_SANITIZE "" CACHE STRING "Value for -fsanitize=, empty for none")

add_library(clipreverse_options INTERFACE)
target_compile_options(
  clipreverse_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wformat=2
                                -Wundef -Wold-style-cast -Wcast-qual)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # What base/lock.h says of locks is proven.
  target_compile_options(clipreverse_options INTERFACE -Wthread-safety -Wthread-safety-beta)
endif()
if(CLIPREVERSE_WARNINGS_AS_ERRORS)
  target_compile_options(clipreverse_options INTERFACE -Werror)
endif()
if(CLIPREVERSE_SANITIZE)
  add_compile_options(-fsanitize=${CLIPREVERSE_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${CLIPREVERSE_SANITIZE})
endif()
