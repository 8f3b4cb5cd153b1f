# Writes a source that defines assets() of host/live/Assets.h with the content of files.
#   cmake -D OUTPUT=Assets.cpp -D FILES=a.html,b.js -P EmbedFiles.cmake
cmake_policy(VERSION 3.25)
string(REPLACE "," ";" FILES "${FILES}")
set(.html "text/html; charset=utf-8")
set(.css "text/css; charset=utf-8")
set(.js "text/javascript; charset=utf-8")
set(.svg "image/svg+xml")

set(number 0)
foreach(file IN LISTS FILES)
  cmake_path(GET file FILENAME name)
  cmake_path(GET file EXTENSION LAST_ONLY extension)
  if(NOT DEFINED ${extension})
    message(FATAL_ERROR "${file}: no media type is known for '${extension}'")
  endif()
  set(path "/${name}")
  if(name STREQUAL "index.html")
    set(path "/")
  endif()
  file(READ ${file} content HEX)
  # An array, because compilers limit the length of string literals.
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," content "${content}")
  string(APPEND arrays "constexpr char file${number}[] = {${content}'\\0'};\n")
  string(APPEND rows "    {\"${path}\", \"${${extension}}\", {file${number}, sizeof file${number} - 1}},\n")
  math(EXPR number "${number} + 1")
endforeach()

file(WRITE ${OUTPUT} "// Made by EmbedFiles.cmake: change the files, not this.
#include \"host/live/Assets.h\"

namespace {

${arrays}
constexpr Asset files[] = {
${rows}};

}  // namespace

std::span<const Asset> assets()
{
  return files;
}
")
