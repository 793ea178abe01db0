# Installs the build into a folder, builds the consumer project against it with
# find_package(vessik), and runs both consumers on a drawing:
#
#   cmake -DBUILD_DIR=... -DWORK_DIR=... -DSOURCE_DIR=... -DGENERATOR=...
#         [-DLINK_FLAGS=...] -P consumer_test.cmake
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
set(DRAWING ${WORK_DIR}/line.dxf)
string(REPLACE ";" "\n" text "0;SECTION;2;TABLES;0;TABLE;2;LAYER;0;LAYER;2;WALLS;62;3;0;ENDTAB;\
0;ENDSEC;0;SECTION;2;ENTITIES;0;LINE;5;1F;8;WALLS;10;0;20;0;30;0;11;10;21;5;31;0;0;ENDSEC;0;EOF;")
file(WRITE ${DRAWING} "${text}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
    "-DCMAKE_EXE_LINKER_FLAGS=${LINK_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
set(passed 0)
foreach(program consumer_cpp consumer_c)
  run(${WORK_DIR}/build/${program} ${DRAWING})
  message(STATUS "${program}: ${out}")
  math(EXPR passed "${passed} + 1")
endforeach()
message(STATUS "${passed} passed, 0 failed")
