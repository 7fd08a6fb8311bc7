# quarry_protocol(TARGET XML)
#
# Generates NAME.h and NAME.cpp from NAME.xml at build time and adds them to TARGET. The header is included by the path
# that the file has from the root: platform/ipc/HaldenImExport.xml gives "platform/ipc/HaldenImExport.h".
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(QUARRY_PROTOCOL_GENERATOR ${CMAKE_CURRENT_LIST_DIR}/generate_protocol.py)
set(QUARRY_GENERATED_DIR ${CMAKE_BINARY_DIR}/generated)

function(quarry_protocol target xml)
  get_filename_component(xml ${xml} ABSOLUTE)
  get_filename_component(name ${xml} NAME_WE)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set(output ${QUARRY_GENERATED_DIR}/${folder})
  add_custom_command(
    OUTPUT ${output}/${name}.h ${output}/${name}.cpp
    COMMAND Python3::Interpreter ${QUARRY_PROTOCOL_GENERATOR} ${xml} ${output} ${folder}/
    DEPENDS ${xml} ${QUARRY_PROTOCOL_GENERATOR}
    COMMENT "Generating ${folder}/${name}.h"
    VERBATIM)
  target_sources(${target} PRIVATE ${output}/${name}.h ${output}/${name}.cpp)
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${QUARRY_GENERATED_DIR}>)
endfunction()
