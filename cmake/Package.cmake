# What `cpack -G DEB` packs in a build folder: the library, the files for developers, the tool.
#
#   libdatasrcABI    the shared library; several versions can be installed side by side
#   libdatasrc-dev   headers, the static library, the files for CMake and pkg-config
#   datasrc          the tool, its man pages and completions

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME datasrc)
set(CPACK_PACKAGE_VENDOR libdatasrc)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(package_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(CPACK_PACKAGE_CONTACT "libdatasrc maintainers <maintainers@example.org>"
    CACHE STRING "The maintainer of packages; whoever distributes them puts an own name here")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
                                                WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL library development tool)
# Before the packages are made, their files are brought into the form that Debian wants.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/debian/DebianFiles.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(library_package libdatasrc${DATASRC_ABI})
set(about "System files hold a dictionary of variables and the cases of a data\nset. libdatasrc reads and writes them, and appends to them.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "data sources and system files of a statistics package\n${about}")
# Which package a program needs that is linked with the library, and that the cache of libraries is to be renewed.
file(WRITE ${PROJECT_BINARY_DIR}/debian/shlibs "libdatasrc ${DATASRC_ABI} ${library_package} (>= ${PROJECT_VERSION})\n")
file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/shlibs ${PROJECT_BINARY_DIR}/debian/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libdatasrc-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${package_version})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libicu-dev, libssl-dev, zlib1g-dev, libdeflate-dev, libisal-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "development files of libdatasrc\n${about}\n\nHeaders, the static library, and the files for CMake and pkg-config. A\nprogram that is linked statically needs the suggested packages, too.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME datasrc)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} (= ${package_version})")
set(CPACK_DEBIAN_TOOL_DESCRIPTION
    "show, convert, check and append to system files\n${about}\n\nThe command datasrc shows dictionaries and cases, converts to and from\nCSV and JSON lines, checks and compares files, and prints figures and\ncode books.")

# Debian's changelog, with one entry. CHANGELOG.md goes along as the project's own.
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(packaging/debian/changelog.in debian/changelog.Debian @ONLY)
configure_file(packaging/debian/DebianFiles.cmake.in debian/DebianFiles.cmake @ONLY)

include(CPack)
