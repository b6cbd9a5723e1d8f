# Load-time statics with a constructor stand in one object of the library alone: no other has an initialiser section.
function(has_initialiser object result)
  execute_process(COMMAND ${READELF} --section-headers --wide "${object}" OUTPUT_VARIABLE sections COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCH "[.](init_array|ctors)" found "${sections}")
  set(${result} "${found}" PARENT_SCOPE)
endfunction()

foreach(object IN LISTS OBJECTS)
  has_initialiser("${object}" found)
  if(found)
    message(SEND_ERROR "${object} has a dynamic initialiser; they belong in orbuStatics.cpp")
  endif()
endforeach()

# The check checks itself: the one object that has them must show them.
has_initialiser("${STATICS}" found)
if(NOT found)
  message(SEND_ERROR "${STATICS} shows no initialiser: this check sees nothing")
endif()
