# A companion NAME is the program morvel-NAME: the entry point in src/tools/NAME/main.cpp, and the rest of that folder as
# a library, so that its tests and the maker of pages link what ships. It takes what it needs of the core and no more:
# --as-needed keeps libraries out that only the program itself uses, and their time to start.
function(add_companion name)
  file(GLOB sources CONFIGURE_DEPENDS src/tools/${name}/*.cpp)
  list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/src/tools/${name}/main.cpp)
  add_library(morvel-${name}-core STATIC ${sources})
  target_link_libraries(morvel-${name}-core PUBLIC morvel-core)
  add_executable(morvel-${name} src/tools/${name}/main.cpp)
  target_link_libraries(morvel-${name} PRIVATE morvel-${name}-core)
  list(APPEND MORVEL_COMPANIONS ${name})
  set(MORVEL_COMPANIONS ${MORVEL_COMPANIONS} PARENT_SCOPE)
  target_link_options(morvel-${name} PRIVATE LINKER:--as-needed)
endfunction()
