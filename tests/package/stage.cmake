# Installs BUILD into STAGE, from nothing, so that a file that is no longer installed is not found there either.
file(REMOVE_RECURSE "${STAGE}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD}" --prefix "${STAGE}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
