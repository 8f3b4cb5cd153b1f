# Fails unless the library exports exactly the functions of the list, all of one version, and the header declares them.
file(STRINGS ${LIST} listed)
list(TRANSFORM listed APPEND @@TESSEL_1 OUTPUT_VARIABLE expected)
list(SORT expected)

execute_process(COMMAND ${NM} --dynamic --defined-only --format=just-symbols ${LIBRARY}
                OUTPUT_VARIABLE exported OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" exported "${exported}")
list(FILTER exported EXCLUDE REGEX "^TESSEL_1")  # the version itself
list(SORT exported)
if(NOT exported STREQUAL expected)
  message(FATAL_ERROR "${LIBRARY} exports\n  ${exported}\nbut ${LIST} lists\n  ${expected}")
endif()

file(READ ${HEADER} text)
string(REGEX MATCHALL "TESSEL_API [^(;]*[( ]tessel_[a-z_]+\\(" declared "${text}")
list(TRANSFORM declared REPLACE ".*[ *](tessel_[a-z_]+)\\($" "\\1")
list(SORT declared)
list(SORT listed)
if(NOT declared STREQUAL listed)
  message(FATAL_ERROR "${HEADER} declares\n  ${declared}\nbut ${LIST} lists\n  ${listed}")
endif()
