# The libraries that the library calls. docs/dependencies.md gives the reasons.

find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(OpenSSL 3.0 REQUIRED COMPONENTS Crypto)
find_package(Threads REQUIRED)
find_package(ZLIB REQUIRED)

# The messages of Arrow files. Only the compiler of schemas and headers are needed.
find_program(FLATC flatc REQUIRED)
find_path(FLATBUFFERS_INCLUDE_DIR flatbuffers/flatbuffers.h REQUIRED)
mark_as_advanced(FLATC FLATBUFFERS_INCLUDE_DIR)

# Faster libraries for blocks in the zlib format. Without them zlib does all the work.
find_library(LIBDEFLATE_LIBRARY deflate)
find_path(LIBDEFLATE_INCLUDE_DIR libdeflate.h)
find_library(ISAL_LIBRARY isal)
find_path(ISAL_INCLUDE_DIR isa-l/igzip_lib.h)
mark_as_advanced(LIBDEFLATE_LIBRARY LIBDEFLATE_INCLUDE_DIR ISAL_LIBRARY ISAL_INCLUDE_DIR)

add_library(datasrc_deflate INTERFACE)
target_link_libraries(datasrc_deflate INTERFACE ZLIB::ZLIB)
if(LIBDEFLATE_LIBRARY AND LIBDEFLATE_INCLUDE_DIR)
  target_compile_definitions(datasrc_deflate INTERFACE DATASRC_HAS_LIBDEFLATE)
  target_include_directories(datasrc_deflate SYSTEM INTERFACE ${LIBDEFLATE_INCLUDE_DIR})
  target_link_libraries(datasrc_deflate INTERFACE ${LIBDEFLATE_LIBRARY})
endif()
if(ISAL_LIBRARY AND ISAL_INCLUDE_DIR)
  target_compile_definitions(datasrc_deflate INTERFACE DATASRC_HAS_ISAL)
  target_include_directories(datasrc_deflate SYSTEM INTERFACE ${ISAL_INCLUDE_DIR})
  target_link_libraries(datasrc_deflate INTERFACE ${ISAL_LIBRARY})
endif()
