# Configures host/tests/subproject, which takes the source tree in with
# add_subdirectory; checks that the build knows no target of Vessik's but the
# library (no tests, tool, benchmarks or hosts), builds it, and runs the consumer:
#
#   cmake -DVESSIK_SOURCE_DIR=... -DWORK_DIR=... -DSOURCE_DIR=... -DGENERATOR=...
#         [-DLINK_FLAGS=...] -P subproject_test.cmake
file(REMOVE_RECURSE ${WORK_DIR})
set(DRAWING ${WORK_DIR}/line.dxf)
string(REPLACE ";" "\n" text "0;SECTION;2;ENTITIES;0;LINE;5;1F;8;WALLS;10;0;20;0;30;0;11;10;21;5;\
31;0;0;ENDSEC;0;EOF;")
file(WRITE ${DRAWING} "${text}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -DVESSIK_SOURCE_DIR=${VESSIK_SOURCE_DIR} -DCMAKE_BUILD_TYPE=Release
    "-DCMAKE_EXE_LINKER_FLAGS=${LINK_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build --target help)
set(targets "${out}")
foreach(unwanted test_ vessik_cli vessik_bench vessik_gen_drawing vessik_c vessik_expect
                 vessik_python Halmor halmor_cross gtest)
  if(targets MATCHES "${unwanted}")
    message(FATAL_ERROR "the subproject build has a target ${unwanted}:\n${targets}")
  endif()
endforeach()
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/consumer_cpp ${DRAWING})
if(NOT out MATCHES "31\t83\tWALLS\t0\t16777215\t0\t0\t0\t10\t5\t0\t")
  message(FATAL_ERROR "unexpected output of the consumer:\n${out}")
endif()
message(STATUS "consumer_cpp: ${out}")
message(STATUS "1 passed, 0 failed")
