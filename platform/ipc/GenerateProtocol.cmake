# quarry_protocol(TARGET XML)
#
# Generates NAME.h and NAME.cpp from NAME.xml at build time and adds them to TARGET. The header is included by the path
# that the file has from the root: platform/ipc/HaldenImExport.xml gives "platform/ipc/HaldenImExport.h".
function(quarry_protocol target xml)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(generator ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/generate_protocol.py)
  set(generated ${CMAKE_BINARY_DIR}/generated)
  get_filename_component(xml ${xml} ABSOLUTE)
  get_filename_component(name ${xml} NAME_WE)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set(output ${generated}/${folder})
  add_custom_command(
    OUTPUT ${output}/${name}.h ${output}/${name}.cpp
    COMMAND Python3::Interpreter ${generator} ${xml} ${output} ${folder}/
    DEPENDS ${xml} ${generator}
    COMMENT "Generating ${folder}/${name}.h"
    VERBATIM)
  target_sources(${target} PRIVATE ${output}/${name}.h ${output}/${name}.cpp)
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${generated}>)
endfunction()
