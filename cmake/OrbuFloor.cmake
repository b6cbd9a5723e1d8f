# A floor is one folder under libraries/. It is compiled once, as an object library, and sees its own headers and those
# of the floors below it: for every floor there is an include root of its own that holds a link to that floor alone, so
# that an upward include does not compile.

# orbu_floor(<name> [FLOORS <floors below>...] [LIBRARIES <targets>...] [WITHOUT <sources>...])
# WITHOUT leaves out a seam's sources for other platforms.
function(orbu_floor name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "FLOORS;LIBRARIES;WITHOUT")
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp")
  file(GLOB headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.h")

  list(TRANSFORM arg_WITHOUT PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/${name}/")
  list(REMOVE_ITEM sources ${arg_WITHOUT})

  if(NOT sources)
    return()
  endif()

  set(root "${PROJECT_BINARY_DIR}/floors/${name}")
  file(MAKE_DIRECTORY "${root}")
  file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}/${name}" "${root}/${name}" SYMBOLIC)

  add_library(${name} OBJECT ${sources} ${headers})
  target_include_directories(${name} PUBLIC "${root}")
  foreach(below IN LISTS arg_FLOORS)
    get_target_property(below_includes ${below} INTERFACE_INCLUDE_DIRECTORIES)
    target_include_directories(${name} PUBLIC ${below_includes})
  endforeach()
  target_link_libraries(${name} PUBLIC ${arg_LIBRARIES})
  set_property(GLOBAL APPEND PROPERTY ORBU_FLOORS ${name})

  install(DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}/${name}"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/orbu"
    FILES_MATCHING PATTERN "*.h" PATTERN "*Private.h" EXCLUDE)
endfunction()
