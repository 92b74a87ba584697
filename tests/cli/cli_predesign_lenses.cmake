# ovrin-cli predesign for the Houghton family and the lens objectives: each
# writes a design that traces as the calculator promised; the doublet gives
# its lens focal lengths and VA, VB; faults exit 2 and write no file.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

function(run_cli expect_code out_var)
  execute_process(COMMAND ${CLI} ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT code EQUAL expect_code)
    message(FATAL_ERROR "ovrin-cli ${ARGN}: exit ${code}, expected ${expect_code}\n${out}\n${err}")
  endif()
  set(${out_var} "${out}" PARENT_SCOPE)
endfunction()

set(glass "--catalog SCHOTT --glass N-BK7")
set(kinds
  "houghton ${glass} --focal 1250 --corrector-diameter 250 --corrector-distance 1100 --axis-to-focus 200 --field 20 --thickness 10"
  "houghton-aspheric --index 1.5187 --focal 1250 --corrector-diameter 250 --corrector-distance 1100 --axis-to-focus 200 --field 20 --thickness 10"
  "houghton-cassegrain ${glass} --efl 2500 --f1 1000 --diameter 250 --back-focus 200 --corrector-diameter 250 --corrector-distance 900 --field 20 --thickness 10"
  "houghton-cassegrain-aspheric ${glass} --efl 2500 --f1 1000 --diameter 250 --back-focus 200 --corrector-diameter 250 --corrector-distance 900 --field 20 --thickness 10"
  "doublet --focal 1000 --semi-diameter 50 --glass-a SCHOTT:N-BK7 --glass-b SCHOTT:N-F2"
  "doublet --focal 1000 --semi-diameter 50 --glass-a SCHOTT:N-BK7 --glass-b SCHOTT:N-F2 --air-spaced"
  "triplet --focal 900 --semi-diameter 60 --glass-a SCHOTT:N-FK51A --glass-b SCHOTT:N-KZFS2 --glass-c SCHOTT:N-PK51")
set(i 0)
foreach(entry ${kinds})
  separate_arguments(args UNIX_COMMAND "${entry}")
  list(GET args 0 kind)
  math(EXPR i "${i} + 1")
  set(file ${WORK}/${kind}_${i}.ovn)
  run_cli(0 out predesign ${args} --out ${file})
  string(JSON count GET "${out}" SurfCount)
  string(JSON rows LENGTH "${out}" rows)
  if(NOT count EQUAL rows OR NOT EXISTS ${file})
    message(FATAL_ERROR "${entry}: ${count} surfaces, ${rows} rows, file written: ${file}")
  endif()
  run_cli(0 spot spot ${file} --rays 1300)
  string(JSON rms GET "${spot}" RmsRadius)
  run_cli(0 update update ${file})
  string(JSON airy GET "${update}" AiryRadius)
  message(STATUS "${kind}: RMS ${rms} mm at wavelength 1, Airy radius ${airy} mm")
  if(NOT rms LESS airy)
    message(FATAL_ERROR "${entry}: RMS ${rms} not inside the Airy disc ${airy}")
  endif()
endforeach()

# The doublet's keys, worked by hand: VA = -50, VB = -30, 400 and -666.67 mm.
run_cli(0 out predesign doublet --focal 1000 --semi-diameter 40 --index-a 1.5,1.505,1.495 --index-b 1.6,1.61,1.59)
string(JSON fa GET "${out}" results "Focal length lens A")
string(JSON fb GET "${out}" results "Focal length lens B")
string(JSON va GET "${out}" VA)
string(JSON vb GET "${out}" VB)
if(NOT fa STREQUAL "400.00" OR NOT fb STREQUAL "-666.67" OR NOT va EQUAL -50 OR NOT vb EQUAL -30)
  message(FATAL_ERROR "doublet keys: ${fa} ${fb} ${va} ${vb}")
endif()
string(JSON count GET "${out}" SurfCount)
if(NOT count EQUAL 4)
  message(FATAL_ERROR "doublet rows: ${count}")
endif()

# Faults: the window's messages, no file.
run_cli(2 out predesign doublet --index-a 1.5,1.505,1.495 --index-b 1.5,1.505,1.495 --out ${WORK}/bad.ovn)
run_cli(2 out predesign doublet --index-a 1.5,1.5 --out ${WORK}/bad.ovn)
string(JSON message GET "${out}" error)
if(NOT message STREQUAL "Type one index per design wavelength: n1,n2,n3")
  message(FATAL_ERROR "index count: ${out}")
endif()
run_cli(2 out predesign houghton --index 0.9 --out ${WORK}/bad.ovn)
string(JSON message GET "${out}" error)
if(NOT message STREQUAL "Invalid Index value!")
  message(FATAL_ERROR "index check: ${out}")
endif()
run_cli(2 out predesign houghton --index 1.5 --corrector-distance 900 --out ${WORK}/bad.ovn)
string(JSON message GET "${out}" error)
if(NOT message STREQUAL "The corrector must stand in front of the diagonal: DP greater than F - E")
  message(FATAL_ERROR "corrector place: ${out}")
endif()
run_cli(2 out predesign triplet --glass-c SCHOTT:NOSUCH --out ${WORK}/bad.ovn)
if(EXISTS ${WORK}/bad.ovn)
  message(FATAL_ERROR "a failed calculation wrote a file")
endif()
