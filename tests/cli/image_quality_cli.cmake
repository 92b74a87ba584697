# Runs diffraction-energy, colour-image, multi-analysis and ghosts on every
# example: the energy rises to near 1 and the perfect curve passes 83.8 % at
# the first dark ring, the colour image has its layers, the sheet has its
# numbers, and the ghost count is that of the pairs of refracting surfaces.
# One example draws each picture; a bad wavelength ends with exit 2.
file(GLOB examples ${EXAMPLES}/*.ovn)
file(MAKE_DIRECTORY ${WORK})

function(run_cli expect_code out_var)
  execute_process(COMMAND ${CLI} ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT code EQUAL expect_code)
    message(FATAL_ERROR "ovrin-cli ${ARGN}: exit ${code}, expected ${expect_code}\n${out}\n${err}")
  endif()
  set(${out_var} "${out}" PARENT_SCOPE)
endfunction()

foreach(ex ${examples})
  get_filename_component(name ${ex} NAME_WE)

  run_cli(0 out diffraction-energy ${ex} --grid 32 --points 20 --rings 6)
  string(JSON perfect GET "${out}" PerfectAtDarkRing)
  string(JSON at GET "${out}" AtDarkRing)
  string(JSON n LENGTH "${out}" Energy)
  string(JSON e0 GET "${out}" Energy 0)
  string(JSON last GET "${out}" Energy 20)
  if(NOT n EQUAL 21 OR NOT e0 EQUAL 0 OR perfect LESS 0.837 OR perfect GREATER 0.839)
    message(FATAL_ERROR "${name}: diffraction-energy ${out}")
  endif()
  # No design puts more light in the first ring than a perfect aperture.
  if(at GREATER 0.85 OR last LESS 0.3 OR last GREATER 1.01)
    message(FATAL_ERROR "${name}: diffraction-energy ring ${at}, last ${last}")
  endif()

  run_cli(0 out colour-image ${ex} --pixels 32 --grid 32)
  string(JSON px GET "${out}" Pixels)
  string(JSON nl LENGTH "${out}" layers)
  string(JSON nt LENGTH "${out}" text)
  math(EXPR lines "${nl} + 2")
  if(NOT px EQUAL 32 OR nl LESS 1 OR NOT nt EQUAL lines)
    message(FATAL_ERROR "${name}: colour-image ${out}")
  endif()

  run_cli(0 out multi-analysis ${ex} --rays 128)
  string(JSON lines LENGTH "${out}" text)
  string(JSON layout GET "${out}" Layout)
  string(JSON spot GET "${out}" spots 0 Part)
  string(JSON wave GET "${out}" waves 0 Part)
  if(lines LESS 7 OR NOT layout STREQUAL "ok" OR NOT spot STREQUAL "ok" OR NOT wave STREQUAL "ok")
    message(FATAL_ERROR "${name}: multi-analysis ${out}")
  endif()

  run_cli(0 out ghosts ${ex})
  string(JSON k GET "${out}" Refracting)
  string(JSON ng LENGTH "${out}" ghosts)
  math(EXPR pairs "${k} * (${k} - 1) / 2")
  if(NOT ng EQUAL pairs)
    message(FATAL_ERROR "${name}: ${ng} ghosts of ${k} refracting surfaces")
  endif()
endforeach()

# The Schmidt camera's corrector plate: one ghost, a little before the image.
run_cli(0 out ghosts ${EXAMPLES}/schmidt_camera_200_f3.ovn)
string(JSON first GET "${out}" ghosts 0 Surfaces 0)
string(JSON second GET "${out}" ghosts 0 Surfaces 1)
if(NOT first EQUAL 2 OR NOT second EQUAL 1)
  message(FATAL_ERROR "schmidt ghosts ${out}")
endif()

set(first ${EXAMPLES}/achromat_80_f12_schott.ovn)
run_cli(0 out diffraction-energy ${first} --grid 32 --png ${WORK}/energy.png)
run_cli(0 out colour-image ${first} --pixels 64 --grid 32 --png ${WORK}/colour.png)
run_cli(0 out multi-analysis ${first} --rays 128 --svg ${WORK}/multi.svg)
run_cli(0 out ghosts ${first} --png ${WORK}/ghosts.png)
foreach(pic energy.png colour.png multi.svg ghosts.png)
  if(NOT EXISTS ${WORK}/${pic})
    message(FATAL_ERROR "no picture ${pic}")
  endif()
endforeach()

run_cli(2 out diffraction-energy ${first} --wl 6)
run_cli(2 out ghosts ${first} --wl 5)
run_cli(2 out colour-image ${first} --wls 6)
run_cli(2 out multi-analysis ${first} --wl 4)
