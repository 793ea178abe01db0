# Configures host/tests/subproject, which takes the source tree in with
# add_subdirectory; checks that the build knows no target of Vessik's but the
# library (no tests, tool, benchmarks or hosts), builds it, and runs the consumer:
#
#   cmake -DVESSIK_SOURCE_DIR=... -DWORK_DIR=... -DSOURCE_DIR=... -DGENERATOR=...
#         [-DLINK_FLAGS=...] -P subproject_test.cmake
include(${CMAKE_CURRENT_LIST_DIR}/consumer_common.cmake)

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
if(NOT out MATCHES "31\t83\tWALLS\t0\t65280\t0\t0\t0\t10\t5\t0\t")
  message(FATAL_ERROR "unexpected output of the consumer:\n${out}")
endif()
message(STATUS "consumer_cpp: ${out}")
message(STATUS "1 passed, 0 failed")
