# quarry_importer_bundle(NAME SOURCES file... INFO_PLIST file [LINK library...] [OUTPUT folder] [NO_INSTALL])
#
# The bundle NAME.mdimporter with Contents/Info.plist and the shared object Contents/Linux/NAME (target NAME_importer),
# in lib/quarry/Spotlight of the build tree, or in the folder OUTPUT. Only its factory, a function named make...,
# is visible.
function(quarry_importer_bundle name)
  cmake_parse_arguments(arg "NO_INSTALL" "INFO_PLIST;OUTPUT" "SOURCES;LINK" ${ARGN})
  if(NOT arg_OUTPUT)
    set(arg_OUTPUT ${QUARRY_BUILD_SPOTLIGHT})
  endif()
  set(contents ${arg_OUTPUT}/${name}.mdimporter/Contents)
  set(target ${name}_importer)
  add_library(${target} MODULE ${arg_SOURCES})
  quarry_target_defaults(${target})
  target_link_libraries(${target} PRIVATE quarry::sdk ${arg_LINK})
  target_link_options(${target} PRIVATE -Wl,--exclude-libs,ALL)
  set(exports ${PROJECT_SOURCE_DIR}/cmake/ImporterExports.map)
  target_link_options(${target} PRIVATE -Wl,--version-script=${exports})
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
  if(NOT QUARRY_SANITIZE)  # the sanitizers leave symbols to the program
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
  set_target_properties(${target} PROPERTIES PREFIX "" SUFFIX "" OUTPUT_NAME ${name}
                        LIBRARY_OUTPUT_DIRECTORY ${contents}/Linux)
  get_filename_component(info ${arg_INFO_PLIST} ABSOLUTE)
  add_custom_command(OUTPUT ${contents}/Info.plist
    COMMAND ${CMAKE_COMMAND} -E copy ${info} ${contents}/Info.plist
    DEPENDS ${info} VERBATIM)
  add_custom_target(${target}_info ALL DEPENDS ${contents}/Info.plist)
  add_dependencies(${target} ${target}_info)
  if(NOT arg_NO_INSTALL)
    install(TARGETS ${target} DESTINATION ${QUARRY_SPOTLIGHT_DIR}/${name}.mdimporter/Contents/Linux)
    install(FILES ${contents}/Info.plist DESTINATION ${QUARRY_SPOTLIGHT_DIR}/${name}.mdimporter/Contents)
  endif()
endfunction()
