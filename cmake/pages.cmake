# The manual page and the completion for bash, made from the index of modes; those of a companion from its verbs, and
# from the template of its manual page in its folder.
add_executable(morvel-pages src/tools/pages/pages.cpp)
target_link_libraries(morvel-pages PRIVATE morvel-core)

foreach(companion IN LISTS MORVEL_COMPANIONS)
  target_link_libraries(morvel-pages PRIVATE morvel-${companion}-core)
endforeach()

function(make_page program template output)
  add_custom_command(
    OUTPUT ${output}
    COMMAND morvel-pages ${program} ${CMAKE_CURRENT_SOURCE_DIR}/src/${template} ${output}
    DEPENDS morvel-pages src/${template}
    VERBATIM)
endfunction()

# As Debian wants them: no name, no time.
find_program(GZIP gzip REQUIRED)
function(compress output source)
  add_custom_command(
    OUTPUT ${output}
    COMMAND sh -c "\"$1\" -9nc \"$2\" >\"$3\"" sh ${GZIP} ${source} ${output}
    DEPENDS ${source}
    VERBATIM)
endfunction()
function(make_pages program manual completion)
  make_page(${program} ${manual} ${program}.1)
  make_page(${program} ${completion} ${program}.bash)
  compress(${program}.1.gz ${CMAKE_CURRENT_BINARY_DIR}/${program}.1)
endfunction()

make_pages(morvel tools/pages/morvel.1.in tools/pages/morvel.bash.in)
set(pages morvel.1.gz morvel.bash)
foreach(companion IN LISTS MORVEL_COMPANIONS)
  string(REPLACE src/ "" folder ${MORVEL_FOLDER_${companion}})
  make_pages(morvel-${companion} ${folder}/morvel-${companion}.1.in tools/pages/companion.bash.in)
  list(APPEND pages morvel-${companion}.1.gz morvel-${companion}.bash)
endforeach()
compress(changelog.gz ${CMAKE_CURRENT_SOURCE_DIR}/packaging/changelog)
add_custom_target(pages ALL DEPENDS ${pages} changelog.gz)
