# How every target is compiled: C++20, warnings as errors, hidden symbols, and source paths that do not tell where the
# checkout stands (assertions print them).

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(datasrc_compile INTERFACE)
target_compile_options(
  datasrc_compile INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
                            -Werror -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
target_include_directories(datasrc_compile INTERFACE ${PROJECT_SOURCE_DIR})

# Presets name the sanitizers in DATASRC_SANITIZE, as -fsanitize takes them.
set(DATASRC_SANITIZE "" CACHE STRING "Sanitizers of this build, for example address,undefined")
if(DATASRC_SANITIZE)
  add_compile_options(-fsanitize=${DATASRC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${DATASRC_SANITIZE})
  add_compile_definitions(DATASRC_SANITIZED)
endif()

# Sloppy only about what precompiled headers need; build folders share what they compile alike.
find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_NOHASHDIR=1
                                  ${CCACHE})
endif()
