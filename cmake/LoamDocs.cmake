# What `./run docs` needs of a configured build: the settings of doxygen, and which headers are public, in its folder docs. No
# target comes of it.
function(loam_docs)
  loam_public_headers(documented)
  # It adds to the classes of the formatting library, which doxygen does not know.
  list(REMOVE_ITEM documented framework/Vex/Text.h)
  list(JOIN documented "\n" lines)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/docs/headers.txt CONTENT "${lines}\n" @ONLY)
  configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/docs/Doxyfile @ONLY)
endfunction()
