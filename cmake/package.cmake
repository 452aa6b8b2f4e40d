# What is installed, and the Debian package of it: cpack -G DEB
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
install(TARGETS morvel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS morvel-decoder LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/morvel/modules)  # any higher, and CPack would call ldconfig
install(FILES ${CMAKE_BINARY_DIR}/morvel.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_BINARY_DIR}/morvel.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME morvel)
foreach(companion IN LISTS MORVEL_COMPANIONS)
  set(program morvel-${companion})
  install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${CMAKE_BINARY_DIR}/${program}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${CMAKE_BINARY_DIR}/${program}.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME ${program})
endforeach()

# Where they are installed the pages lie side by side, and some stay in the source: their links are made to fit.
foreach(page README.md CHANGELOG.md)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${page})
  file(READ ${page} text)
  string(REGEX REPLACE "\\]\\(docs/(usage|recipes|performance|gallery|scale)\\.md" "](\\1.md" text "${text}")
  string(REPLACE "](docs/example.svg" "](example.svg" text "${text}")
  string(REGEX REPLACE "\\[[^]]*\\]\\((docs/[a-z]+\\.md|CONTRIBUTING\\.md)\\)" "\\1 of the source" text "${text}")
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/installed/${page} CONTENT "${text}" @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/installed/${page} DESTINATION ${CMAKE_INSTALL_DOCDIR})
endforeach()
install(FILES docs/usage.md docs/recipes.md docs/gallery.md docs/example.svg docs/performance.md docs/scale.md packaging/copyright
              ${CMAKE_BINARY_DIR}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES examples/example.gen examples/example.pheno examples/region.gen DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
install(DIRECTORY workflow DESTINATION ${CMAKE_INSTALL_DATADIR}/morvel USE_SOURCE_PERMISSIONS
        PATTERN __pycache__ EXCLUDE)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "MORVEL developers <support@morvel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "toolbox for genetic-association data")
set(CPACK_PACKAGE_DESCRIPTION
    "MORVEL turns imputed genotype probabilities into dosages or hard calls, scans
many traits against many markers, and summarises the results: peaks, pruning,
families and related individuals, mixtures of reference populations. It reads
and writes plain text tables and runs one analysis per call.")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What morvel-plot draws with, and what the workflow runs on and packs with; everything else works without.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnuplot-nox, snakemake, tabix")
# Loaded while the program runs.
set(CPACK_DEBIAN_PACKAGE_DEPENDS zlib1g)
if(ISAL_INCLUDE)
  string(APPEND CPACK_DEBIAN_PACKAGE_RECOMMENDS ", libisal2")
endif()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
