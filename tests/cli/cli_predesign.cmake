# ovrin-cli predesign: every kind from its window's starting inputs writes a
# design whose on-axis spot, traced as written, lies inside the Airy disc; a
# refused or faulted calculation exits 2 and writes no file.
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
  "newtonian"
  "cassegrain --variant ritchey-chretien"
  "gregorian --variant aplanatic"
  "couder"
  "schmidt ${glass} --focal 800"
  "wright ${glass} --focal 500"
  "schmidt-cassegrain ${glass} --variant aspheric-both --f1 400"
  "schmidt-cassegrain-spherical ${glass} --f1 400"
  "baker ${glass} --efl 600 --f1 400"
  "monocentric ${glass} --efl 1000 --f1 400"
  "maksutov ${glass}"
  "maksutov-cassegrain ${glass}")
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
  message(STATUS "${entry}: RMS ${rms} mm, Airy radius ${airy} mm")
  if(NOT rms LESS airy)
    message(FATAL_ERROR "${entry}: RMS ${rms} not inside the Airy disc ${airy}")
  endif()
endforeach()

# The windows' own messages, and no file after a fault.
run_cli(2 out predesign schmidt --index 0.9 --out ${WORK}/bad.ovn)
string(JSON message GET "${out}" error)
if(NOT message STREQUAL "Invalid Index value!")
  message(FATAL_ERROR "index check: ${out}")
endif()
run_cli(2 out predesign schmidt --index 1.5 --neutral-zone 0.04 --out ${WORK}/bad.ovn)
string(JSON message GET "${out}" error)
if(NOT message STREQUAL "Min. value of Neutral Zone is 0.05")
  message(FATAL_ERROR "neutral zone check: ${out}")
endif()
run_cli(2 out predesign cassegrain --efl 600 --f1 600 --out ${WORK}/bad.ovn)
run_cli(2 out predesign newtonian --diameter "" --out ${WORK}/bad.ovn)
if(EXISTS ${WORK}/bad.ovn)
  message(FATAL_ERROR "a faulted calculation wrote its file")
endif()
run_cli(0 out predesign newtonian)
string(JSON d2 GET "${out}" results "D2 (minor axis)")
if(NOT d2 STREQUAL "38.50")
  message(FATAL_ERROR "newtonian D2: ${d2}")
endif()
