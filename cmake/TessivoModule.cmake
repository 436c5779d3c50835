# tessivo_module(NAME SOURCES ... DEPS ...)
# One static library per module of src/tessivo; DEPS name only the modules and
# libraries that the one-way dependency rule allows, so the build enforces layering.
function(tessivo_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(tessivo_${name} STATIC ${ARG_SOURCES})
  add_library(tessivo::${name} ALIAS tessivo_${name})
  target_include_directories(tessivo_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(tessivo_${name} PUBLIC ${ARG_DEPS})
endfunction()
