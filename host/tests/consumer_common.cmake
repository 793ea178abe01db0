# What both consumer tests share: a fresh WORK_DIR with a one-line drawing in
# DRAWING, and run(), which runs a command, stops the script if it fails, and
# leaves what it printed in out.
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
