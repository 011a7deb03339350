# Installs the build in BUILD below WORK, builds the project in CLIENT, or that of PAGE, against the installed package, and
# runs RUN with the shell in the folder of the built project, where INLIF names the command of the build. Of a page the block of
# cmake is the project, and the block of C++ that begins with "// NAME ..." its source NAME.cpp. NAMES is what pkg-config is asked for.
# The prefix is emptied first, so that nothing of an earlier installation can help.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

# page_block(page fence begin RESULT): what stands in a page from a line that begins so, right behind its fence, to the next fence.
function(page_block page fence begin result)
  string(FIND "${page}" "\n```${fence}\n${begin}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${PAGE}: no block ${fence} that begins with \"${begin}\"")
  endif()
  string(LENGTH "\n```${fence}\n" fenced)
  math(EXPR at "${at} + ${fenced}")
  string(SUBSTRING "${page}" ${at} -1 text)
  string(FIND "${text}" "\n```" end)
  string(SUBSTRING "${text}" 0 ${end} text)
  set(${result} "${text}\n" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix --component package)
if(PAGE)
  set(CLIENT ${WORK}/client)
  file(READ ${PAGE} page)
  page_block("${page}" cmake "cmake_minimum_required" project)
  page_block("${page}" cpp "// ${NAME} " program)
  file(WRITE ${CLIENT}/CMakeLists.txt "${project}")
  file(WRITE ${CLIENT}/${NAME}.cpp "${program}")
endif()
run(${CMAKE_COMMAND} -G Ninja -S ${CLIENT} -B ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/prefix -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${CMAKE_COMMAND} -E chdir ${WORK}/build ${CMAKE_COMMAND} -E env INLIF=${BUILD}/bin/inlif sh -ec "${RUN}")

# What pkg-config tells of the package is enough to link with it.
find_program(pkg_config pkg-config)
if(NAMES AND pkg_config)
  file(GLOB_RECURSE found ${WORK}/prefix/*/pkgconfig/*.pc)
  list(GET found 0 first)
  get_filename_component(folder ${first} DIRECTORY)
  file(WRITE ${WORK}/linked.cpp "int main() {}\n")
  separate_arguments(NAMES)
  foreach(name ${NAMES})
    execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${folder} pkg-config --cflags --libs ${name}
      OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
    separate_arguments(flags)
    run(${CXX} ${WORK}/linked.cpp -o ${WORK}/linked -Wl,--no-as-needed ${flags})
  endforeach()
endif()
