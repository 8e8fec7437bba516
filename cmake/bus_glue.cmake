# cfwk_bus_glue(target description): an interface library whose users include, as ROOM/NAME_adaptor.h and
# ROOM/NAME_proxy.h, the glue of both sides of the D-Bus interfaces that `description`, NAME.xml, describes. ROOM is the
# directory that calls this.
find_package(sdbus-c++ REQUIRED)
find_package(sdbus-c++-tools REQUIRED)

function(cfwk_bus_glue target description)
  cmake_path(GET description STEM name)
  cmake_path(ABSOLUTE_PATH description NORMALIZE)
  cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE room)
  set(glue ${CMAKE_BINARY_DIR}/generated/${room}/${name})
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/generated/${room})
  add_custom_command(OUTPUT ${glue}_adaptor.h ${glue}_proxy.h
    COMMAND SDBusCpp::sdbus-c++-xml2cpp --verbose ${description} --adaptor=${glue}_adaptor.h --proxy=${glue}_proxy.h
    DEPENDS ${description} VERBATIM)
  add_custom_target(${target}_glue DEPENDS ${glue}_adaptor.h ${glue}_proxy.h)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/generated)
  target_link_libraries(${target} INTERFACE SDBusCpp::sdbus-c++)
  add_dependencies(${target} ${target}_glue)
endfunction()
