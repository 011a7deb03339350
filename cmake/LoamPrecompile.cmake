# loam_precompile(target [MORE <header>...]): parses the headers that nearly every source includes only once for a
# target; they are the larger half of the time of a small source. Every source still includes what it uses: build with
# LOAM_PRECOMPILE=OFF to see that it does.
option(LOAM_PRECOMPILE "precompile the headers of the standard library and of fmt" ON)

set(loam_common_headers
  <algorithm> <array> <atomic> <bit> <charconv> <chrono> <compare> <concepts> <cstddef> <cstdint> <cstdio> <cstdlib>
  <cstring> <functional> <initializer_list> <map> <memory> <mutex> <optional> <span> <stdexcept> <string>
  <string_view> <tuple> <type_traits> <utility> <vector> <fmt/format.h> <boost/smart_ptr/intrusive_ptr.hpp>
  <absl/container/btree_map.h>)

function(loam_precompile target)
  cmake_parse_arguments(PRECOMPILE "" "" "MORE" ${ARGN})
  if(LOAM_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE ${loam_common_headers} ${PRECOMPILE_MORE})
  endif()
endfunction()
