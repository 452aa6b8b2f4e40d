# The manual page and the completion for bash, made from the mode table.
add_executable(morvel-pages src/tools/pages/pages.cpp)
target_link_libraries(morvel-pages PRIVATE morvel-core)

function(make_page output template)
  add_custom_command(
    OUTPUT ${output}
    COMMAND morvel-pages ${CMAKE_CURRENT_SOURCE_DIR}/src/tools/pages/${template} ${output}
    DEPENDS morvel-pages src/tools/pages/${template}
    VERBATIM)
endfunction()
make_page(morvel.1 morvel.1.in)
make_page(morvel.bash morvel.bash.in)

# As Debian wants them: no name, no time.
find_program(GZIP gzip REQUIRED)
function(compress output source)
  add_custom_command(
    OUTPUT ${output}
    COMMAND sh -c "\"$1\" -9nc \"$2\" >\"$3\"" sh ${GZIP} ${source} ${output}
    DEPENDS ${source}
    VERBATIM)
endfunction()
compress(morvel.1.gz ${CMAKE_CURRENT_BINARY_DIR}/morvel.1)
compress(changelog.gz ${CMAKE_CURRENT_SOURCE_DIR}/packaging/changelog)
add_custom_target(pages ALL DEPENDS morvel.1.gz morvel.bash changelog.gz)
