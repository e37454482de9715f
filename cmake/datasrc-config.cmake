# find_package(datasrc 0.1) gives the target datasrc::datasrc, the shared library: it needs no other package. With
# COMPONENTS static, it also gives datasrc::datasrc_static.

include(${CMAKE_CURRENT_LIST_DIR}/datasrc-targets.cmake)

foreach(component ${datasrc_FIND_COMPONENTS})
  set(datasrc_${component}_FOUND FALSE)
endforeach()
if("static" IN_LIST datasrc_FIND_COMPONENTS AND EXISTS ${CMAKE_CURRENT_LIST_DIR}/datasrc-static-targets.cmake)
  include(CMakeFindDependencyMacro)
  find_dependency(ICU COMPONENTS uc i18n)
  find_dependency(OpenSSL 3.0 COMPONENTS Crypto)
  find_dependency(Threads)
  find_dependency(ZLIB)
  include(${CMAKE_CURRENT_LIST_DIR}/datasrc-static-targets.cmake)
  set(datasrc_static_FOUND TRUE)
endif()
foreach(component ${datasrc_FIND_COMPONENTS})
  if(datasrc_FIND_REQUIRED_${component} AND NOT datasrc_${component}_FOUND)
    set(datasrc_FOUND FALSE)
    set(datasrc_NOT_FOUND_MESSAGE "this build of libdatasrc has no component ${component}")
  endif()
endforeach()
