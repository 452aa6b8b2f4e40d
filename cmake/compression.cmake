# Libraries that read and write compressed files. zlib and libzstd come with Qt anyway; libdeflate is linked into the
# program where that can be, since one library more to load is a twentieth of the program's start. ISA-L is loaded by
# the program itself, and only when there is a gzip file to read: here it is needed for its header.
find_package(ZLIB REQUIRED)
find_path(ZSTD_INCLUDE zstd.h REQUIRED)
find_library(ZSTD_LIBRARY zstd REQUIRED)
find_path(DEFLATE_INCLUDE libdeflate.h REQUIRED)
find_library(DEFLATE_LIBRARY NAMES libdeflate.a deflate REQUIRED)
find_path(ISAL_INCLUDE isa-l/igzip_lib.h)
if(NOT ISAL_INCLUDE)
  message(STATUS "No ISA-L: gzip files are read by zlib, which takes three times as long")
endif()

add_library(morvel-compression INTERFACE)
target_include_directories(morvel-compression SYSTEM INTERFACE ${ZSTD_INCLUDE} ${DEFLATE_INCLUDE})
target_link_libraries(morvel-compression INTERFACE ZLIB::ZLIB ${ZSTD_LIBRARY} ${DEFLATE_LIBRARY} ${CMAKE_DL_LIBS})
if(ISAL_INCLUDE)
  target_include_directories(morvel-compression SYSTEM INTERFACE ${ISAL_INCLUDE})
  target_compile_definitions(morvel-compression INTERFACE MORVEL_ISAL)
endif()
