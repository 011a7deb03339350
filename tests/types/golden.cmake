# Compares what `inlif types` says with types.txt beside this file: every module, and each kind of class of one instance row by
# row. Other programs know classes by these names, hashes and ids, so a change must be meant; then the file that is
# named takes the place of types.txt.
#   cmake -DINLIF=PROGRAM -DWORK=DIRECTORY -P golden.cmake
set(said "")
foreach(name "" InLif1SwTable::EntryHandle InLif1SwTable::SwTableEntries_py InLif1SwTable InLif1SwTableIteratorState
    InLif1SwTableHelperBase InLif1EntryWrapper InLif1ResolverEntry InLif1EntryLog InLif1Interface InLif1QosProfileLinkage
    InLif1QosProfileLinkage::LocalUsageUpdateSm)
  execute_process(COMMAND ${INLIF} types ${name} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(APPEND said "${text}")
endforeach()
file(WRITE ${WORK}/types.txt "${said}")
file(READ ${CMAKE_CURRENT_LIST_DIR}/types.txt expected)
if(NOT said STREQUAL expected)
  execute_process(COMMAND diff -u ${CMAKE_CURRENT_LIST_DIR}/types.txt ${WORK}/types.txt)
  message(FATAL_ERROR "the classes changed: ${WORK}/types.txt is not tests/types/types.txt")
endif()
