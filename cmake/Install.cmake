# What `cmake --install` installs: the library, the tool with its manual, the headers for callers, and the files with which
# CMake (find_package(datasrc)) and pkg-config find them. The installed tree may be moved to another place.

include(CMakePackageConfigHelpers)

set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/libdatasrc)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/datasrc)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The headers of Platform that public headers include; tests/install compiles each of them alone.
set(platform_headers
    AssertionsThrow.h
    Export.h
    cipher/PasswordCrypt.h
    messages/ErrorMonitor.h
    messages/ThrowError.h
    serial/VStream.h
    stream/ExtNameStr.h
    stream/QUAV_FileStream.h
    stream/QUAV_StrBaseIO.h
    tempdirs/QuavTempDirs.h
    text/QUAVMB.h
    threads/CriticalSection.h
    threads/QUAV_RefCntObject.h)

# ---- Library, headers and tool ----

target_compile_features(datasrc INTERFACE cxx_std_20)
install(TARGETS datasrc EXPORT datasrc_targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT library NAMELINK_COMPONENT development INCLUDES DESTINATION ${header_dir})
if(DATASRC_STATIC)
  install(TARGETS datasrc_static EXPORT datasrc_static_targets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT development INCLUDES DESTINATION ${header_dir})
endif()

install(DIRECTORY Datasource/include/datasrc Columns/include/datasrc DESTINATION ${header_dir} COMPONENT development
        FILES_MATCHING PATTERN *.h)
foreach(header ${platform_headers})
  cmake_path(GET header PARENT_PATH layer)
  install(FILES Platform/${header} DESTINATION ${header_dir}/Platform/${layer} COMPONENT development)
endforeach()

# The tool finds the library relative to its own place.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR}
           OUTPUT_VARIABLE library_from_tool)
set_target_properties(datasrc_tool PROPERTIES INSTALL_RPATH $ORIGIN/${library_from_tool})
install(TARGETS datasrc_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)

install(FILES tools/dictionary/info.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/datasrc COMPONENT tool)

# The build writes the man pages and completions (tools/CMakeLists.txt).
set(DATASRC_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE PATH "Where zsh finds completions")
install(DIRECTORY ${PROJECT_BINARY_DIR}/share/man/ DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT tool)
install(DIRECTORY ${PROJECT_BINARY_DIR}/share/zsh/site-functions/ DESTINATION ${DATASRC_ZSH_COMPLETIONS} COMPONENT tool)
install(DIRECTORY ${PROJECT_BINARY_DIR}/share/bash-completion ${PROJECT_BINARY_DIR}/share/fish
        DESTINATION ${CMAKE_INSTALL_DATADIR} COMPONENT tool)

# ---- For CMake ----

install(EXPORT datasrc_targets NAMESPACE datasrc:: FILE datasrc-targets.cmake DESTINATION ${package_dir}
        COMPONENT development)
if(DATASRC_STATIC)
  install(EXPORT datasrc_static_targets NAMESPACE datasrc:: FILE datasrc-static-targets.cmake DESTINATION ${package_dir}
          COMPONENT development)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/datasrc-config-version.cmake
                                 COMPATIBILITY ${DATASRC_COMPATIBILITY})
install(FILES ${PROJECT_BINARY_DIR}/datasrc-config-version.cmake cmake/datasrc-config.cmake DESTINATION ${package_dir}
        COMPONENT development)

# ---- For pkg-config ----

cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
           OUTPUT_VARIABLE prefix_from_pkgconfig)
# What a program needs beside the static library.
set(private_libraries "-licui18n -licuuc -lcrypto -lz -lpthread")
if(LIBDEFLATE_LIBRARY AND LIBDEFLATE_INCLUDE_DIR)
  string(APPEND private_libraries " -ldeflate")
endif()
if(ISAL_LIBRARY AND ISAL_INCLUDE_DIR)
  string(APPEND private_libraries " -lisal")
endif()
configure_file(cmake/datasrc.pc.in datasrc.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/datasrc.pc DESTINATION ${pkgconfig_dir} COMPONENT development)
