# The JSON reader for the cross build. Its development package cannot stand beside that of another architecture, so the header
# is the build machine's, which is the same, and the library is the arm64 one by its full name.
find_path(simdjson_header simdjson.h REQUIRED)
find_library(simdjson_arm64 NAMES libsimdjson.so.14 PATHS /usr/lib/aarch64-linux-gnu REQUIRED NO_DEFAULT_PATH)
add_library(simdjson::simdjson SHARED IMPORTED)
set_target_properties(simdjson::simdjson PROPERTIES
  IMPORTED_LOCATION ${simdjson_arm64} INTERFACE_INCLUDE_DIRECTORIES ${simdjson_header})
