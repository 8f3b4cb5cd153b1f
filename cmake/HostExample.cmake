# Takes the program out of docs/host-guide.md, so that what people read is what the tests run.
file(READ ${CMAKE_SOURCE_DIR}/docs/host-guide.md guide)
string(FIND "${guide}" "```cpp\n" begin)
math(EXPR begin "${begin} + 7")
string(SUBSTRING "${guide}" ${begin} -1 program)
string(FIND "${program}" "```\n" end)
string(SUBSTRING "${program}" 0 ${end} program)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/host-example.cpp CONTENT "${program}" @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/host-guide.md)
