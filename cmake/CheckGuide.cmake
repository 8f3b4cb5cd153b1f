# Fails unless the guide contains the example exactly as it is compiled.
file(READ ${GUIDE} guide)
file(READ ${EXAMPLE} example)
string(FIND "${guide}" "```cpp\n${example}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${GUIDE} does not contain the current ${EXAMPLE}: copy it into the guide's code block.")
endif()
