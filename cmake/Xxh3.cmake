# loam_xxh3: what the sources that include Vex/Xxh3.h are built with.
include(CheckLibraryExists)
find_path(XXHASH_INCLUDE_DIR xxhash.h REQUIRED)
find_path(XXHASH_DISPATCH_DIR xxh_x86dispatch.h)
find_library(XXHASH_LIBRARY xxhash REQUIRED)
check_library_exists(${XXHASH_LIBRARY} XXH3_64bits_dispatch "" LOAM_XXHASH_CHOOSES)

add_library(loam_xxh3 INTERFACE)
target_include_directories(loam_xxh3 INTERFACE ${XXHASH_INCLUDE_DIR})
if(XXHASH_DISPATCH_DIR AND LOAM_XXHASH_CHOOSES)
  target_link_libraries(loam_xxh3 INTERFACE ${XXHASH_LIBRARY})
  target_compile_definitions(loam_xxh3 INTERFACE LOAM_XXH3_DISPATCH)
endif()
