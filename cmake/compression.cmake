# Libraries that read and write compressed files. libdeflate and libzstd are linked into the program where that can be, since
# shared ones would make its start longer. ISA-L and zlib, one of which reads gzip files, are loaded by the program itself
# when there is such a file: here they are needed for their headers.
set(compression_libraries)
foreach(name zstd deflate)
  find_library(COMPRESSION_${name} NAMES lib${name}.a ${name} REQUIRED)
  list(APPEND compression_libraries ${COMPRESSION_${name}})
endforeach()
find_package(ZLIB REQUIRED)
find_path(COMPRESSION_INCLUDE zstd.h REQUIRED)
find_path(ISAL_INCLUDE isa-l/igzip_lib.h)
if(NOT ISAL_INCLUDE)
  message(STATUS "No ISA-L: gzip files are read by zlib, which takes three times as long")
endif()

add_library(morvel-compression INTERFACE)
target_include_directories(morvel-compression SYSTEM INTERFACE ${COMPRESSION_INCLUDE} ${ZLIB_INCLUDE_DIRS})
target_link_libraries(morvel-compression INTERFACE ${compression_libraries} ${CMAKE_DL_LIBS})
if(ISAL_INCLUDE)
  target_include_directories(morvel-compression SYSTEM INTERFACE ${ISAL_INCLUDE})
  target_compile_definitions(morvel-compression INTERFACE MORVEL_ISAL)
endif()
