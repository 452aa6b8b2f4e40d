# A companion NAME is the program morvel-NAME: the entry point in main.cpp of its folder, and the rest of that folder as
# a library, so that its tests and the maker of pages link what ships. It takes what it needs of the core and no more:
# --as-needed keeps libraries out that only the program itself uses, and their time to start.
function(add_companion name folder)
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
  list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/main.cpp)
  add_library(morvel-${name}-core STATIC ${sources})
  target_link_libraries(morvel-${name}-core PUBLIC morvel-core)
  add_executable(morvel-${name} ${folder}/main.cpp)
  target_link_libraries(morvel-${name} PRIVATE morvel-${name}-core)
  set(MORVEL_FOLDER_${name} ${folder} PARENT_SCOPE)
  list(APPEND MORVEL_COMPANIONS ${name})
  set(MORVEL_COMPANIONS ${MORVEL_COMPANIONS} PARENT_SCOPE)
  target_link_options(morvel-${name} PRIVATE LINKER:--as-needed)
endfunction()
