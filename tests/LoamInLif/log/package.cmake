# Installs the build in BUILD below WORK, builds the client in CLIENT against the installed package, and runs it.
# The prefix is emptied first, so that nothing of an earlier installation can help.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix --component package)
run(${CMAKE_COMMAND} -S ${CLIENT} -B ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/prefix -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${WORK}/build/client)
