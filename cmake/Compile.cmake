# How every target is compiled: C++20, with warnings, hidden symbols, and source paths relative to the checkout
# (assertions print them).

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Another compiler may warn of something new. That must not stop those who only want to build.
option(DATASRC_WERROR "Warnings are errors" OFF)

add_library(datasrc_compile INTERFACE)
target_compile_options(
  datasrc_compile INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
                            $<$<BOOL:${DATASRC_WERROR}>:-Werror> -fdebug-prefix-map=${PROJECT_SOURCE_DIR}/=
                            -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
# So that ccache knows a precompiled header again.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(datasrc_compile INTERFACE "SHELL:$<$<COMPILE_LANGUAGE:CXX>:-Xclang -fno-pch-timestamp>")
endif()
# Assertions print the path of a library source without its room: Datasource/src/datasrc.cpp. Debuggers and coverage
# reports keep the whole path. The last option that matches a path counts, so these come after the one above, and a room
# within a room after that room. ccache ignores the values of these options: clear its cache after a change of them.
foreach(room core dictionary sources casecodes storage systemfile systemfile/records views)
  target_compile_options(
    datasrc_compile INTERFACE -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/Datasource/src/${room}/=Datasource/src/)
endforeach()
target_include_directories(datasrc_compile INTERFACE ${PROJECT_SOURCE_DIR})

# The presets set DATASRC_SANITIZE to the value for -fsanitize.
set(DATASRC_SANITIZE "" CACHE STRING "Sanitizers of this build, for example address,undefined")
if(DATASRC_SANITIZE)
  add_compile_options(-fsanitize=${DATASRC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${DATASRC_SANITIZE})
  add_compile_definitions(DATASRC_SANITIZED)
endif()

# ---- What makes attacks harder: tests/architecture/check_hardening.py looks at the library and the tool ----

# Guards of arrays on the stack, and of jumps where the processor has them; calls of the C library that know the size of
# the memory they write to, which only optimised code has.
function(harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
    target_compile_options(${target} PRIVATE -fcf-protection)
  endif()
  if(NOT DATASRC_SANITIZE)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
  endif()
endfunction()

# Everything is position independent. Programs say so to the linker, too.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
# All addresses of other libraries are found at the start, so that their tables can become read-only.
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)

# The presets precompile the standard headers of the sources, and compile several sources at once, which saves most of
# their compile time. Without the option each source has only its own includes, so that a missing one is seen: wheels and
# packages are built so. Two sources of a target cannot have different things of one name in their unnamed namespaces.
option(DATASRC_QUICK_COMPILE "Compile several sources at once" OFF)
# g++ would collect the garbage of such long sources again and again.
if(DATASRC_QUICK_COMPILE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(--param=ggc-min-heapsize=262144)  # KiB
endif()
function(compile_quickly target)
  if(DATASRC_QUICK_COMPILE)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
    # Classes of one source have members with types of its unnamed namespace. That is no mistake where g++ sees it as a header.
    # Where a kernel calls its plain version, which g++ now sees, g++ leaves out vzeroupper if that changes few registers:
    # each return to other code then costs some 80 ns. -fno-ipa-ra keeps it from looking.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      target_compile_options(${target} PRIVATE -Wno-subobject-linkage -fno-ipa-ra)
    endif()
    target_precompile_headers(
      ${target} PRIVATE <algorithm> <array> <bit> <cstring> <filesystem> <functional> <map> <memory> <optional> <span>
                        <string> <string_view> <utility> <vector>)
  endif()
endfunction()

# ccache needs this sloppiness for precompiled headers. It does not hash the build folder, so that all build folders
# share the objects that they compile in the same way.
find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_NOHASHDIR=1
                                  ${CCACHE})
endif()
