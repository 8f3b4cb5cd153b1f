# Fails unless the guide shows the example as it is compiled.
file(READ ${GUIDE} guide)
file(READ ${EXAMPLE} example)
string(FIND "${guide}" "```cpp\n${example}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${GUIDE} does not show ${EXAMPLE} as it is: copy it into the guide's block of code.")
endif()
