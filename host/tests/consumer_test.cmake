# Installs the build into a folder, builds the consumer project against it with
# find_package(vessik), and runs both consumers on a drawing:
#
#   cmake -DBUILD_DIR=... -DWORK_DIR=... -DSOURCE_DIR=... -DGENERATOR=...
#         [-DLINK_FLAGS=...] -P consumer_test.cmake
set(prefix ${WORK_DIR}/prefix)
include(${CMAKE_CURRENT_LIST_DIR}/consumer_common.cmake)

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
