# loam_precompile(target [OWN] [MORE <header>...]): parses the headers that nearly every source includes only once; they are the
# larger half of the time of a small source. Libraries share what loam_headers has parsed; those that want MORE or are compiled
# otherwise have an OWN set. Every source still includes what it uses: build with LOAM_PRECOMPILE=OFF to see that
# it does.
option(LOAM_PRECOMPILE "precompile the headers of the standard library and of fmt" ON)

set(loam_common_headers
  <algorithm> <array> <atomic> <bit> <charconv> <chrono> <compare> <concepts> <cstddef> <cstdint> <cstdio> <cstdlib>
  <cstring> <functional> <initializer_list> <map> <memory> <mutex> <optional> <span> <stdexcept> <string>
  <string_view> <tuple> <type_traits> <utility> <vector> <fmt/format.h> <boost/smart_ptr/intrusive_ptr.hpp>
  <absl/container/btree_map.h>)

# Compiled as our libraries are, and nothing else: what is defined for it has to be defined for all that use it.
if(LOAM_PRECOMPILE)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/loam_headers.cpp CONTENT "")
  add_library(loam_headers OBJECT ${CMAKE_BINARY_DIR}/loam_headers.cpp)
  target_link_libraries(loam_headers PRIVATE loam_options fmt::fmt Boost::headers absl::btree)
  target_precompile_headers(loam_headers PRIVATE ${loam_common_headers})
endif()

function(loam_precompile target)
  cmake_parse_arguments(PRECOMPILE "OWN" "" "MORE" ${ARGN})
  if(LOAM_PRECOMPILE AND (PRECOMPILE_OWN OR PRECOMPILE_MORE))
    target_precompile_headers(${target} PRIVATE ${loam_common_headers} ${PRECOMPILE_MORE})
  elseif(LOAM_PRECOMPILE)
    target_precompile_headers(${target} REUSE_FROM loam_headers)
  endif()
endfunction()
