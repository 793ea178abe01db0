# Drives the cross build of the COM server (host/com, its own CMake project with
# the mingw-w64 toolchain) and registers its tests, which run under Wine.
include(ExternalProject)

set(VESSIK_COM_BINARY_DIR ${CMAKE_CURRENT_BINARY_DIR}/com)
ExternalProject_Add(halmor_cross
  SOURCE_DIR ${CMAKE_CURRENT_SOURCE_DIR}/com
  BINARY_DIR ${VESSIK_COM_BINARY_DIR}
  CMAKE_ARGS
    -DCMAKE_TOOLCHAIN_FILE=${CMAKE_CURRENT_SOURCE_DIR}/com/mingw-toolchain.cmake
    -DCMAKE_BUILD_TYPE=Release
    -DVESSIK_SOURCE_DIR=${PROJECT_SOURCE_DIR}
    -DVESSIK_WERROR=${VESSIK_WERROR}
  INSTALL_COMMAND ""
  BUILD_ALWAYS ON
  BUILD_BYPRODUCTS ${VESSIK_COM_BINARY_DIR}/Halmor.dll ${VESSIK_COM_BINARY_DIR}/com_client.exe)

if(VESSIK_BUILD_TESTS)
  find_program(VESSIK_MINGW_OBJDUMP x86_64-w64-mingw32-objdump)
  set(runner ${CMAKE_CURRENT_SOURCE_DIR}/com/tests/wine_test.sh)
  set(tests ${CMAKE_CURRENT_SOURCE_DIR}/com/tests)
  set(work ${CMAKE_CURRENT_BINARY_DIR}/com-test)
  set(env
    VESSIK_COM_DIR=${VESSIK_COM_BINARY_DIR}
    VESSIK_COM_WORK=${work}
    VESSIK_EXPECT=$<TARGET_FILE:vessik_expect>
    VESSIK_CORPUS_DIR=${VESSIK_CORPUS_DIR}
    VESSIK_HOST_DRAWINGS=${VESSIK_HOST_DRAWINGS}
    VESSIK_WINE=${VESSIK_WINE})
  if(VESSIK_SANITIZE)
    list(APPEND env ASAN_OPTIONS=detect_leaks=0)
  endif()

  add_test(NAME host_com_exports
           COMMAND ${tests}/check_exports.sh ${VESSIK_MINGW_OBJDUMP}
                   ${VESSIK_COM_BINARY_DIR}/Halmor.dll)
  add_test(NAME host_com_setup COMMAND ${runner} setup)
  add_test(NAME host_com_objects COMMAND ${runner} vbs ${tests}/objects.vbs)
  add_test(NAME host_com_parse COMMAND ${runner} vbs ${tests}/parse.vbs)
  add_test(NAME host_com_client COMMAND ${runner} exe com_client.exe)
  add_test(NAME host_com_unregister COMMAND ${runner} unregister ${tests}/unregistered.vbs)
  set_tests_properties(host_com_setup PROPERTIES FIXTURES_SETUP halmor_wine)
  set_tests_properties(host_com_objects host_com_parse host_com_client PROPERTIES
                       FIXTURES_REQUIRED halmor_wine)
  set_tests_properties(host_com_unregister PROPERTIES FIXTURES_CLEANUP halmor_wine)
  set_tests_properties(host_com_setup host_com_objects host_com_parse host_com_client
                       host_com_unregister PROPERTIES
                       ENVIRONMENT "${env}" TIMEOUT 300 RESOURCE_LOCK halmor_wine_prefix)
  set_tests_properties(host_com_setup host_com_parse PROPERTIES LABELS corpus)
endif()
