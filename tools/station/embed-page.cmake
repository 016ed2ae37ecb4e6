# Writes the page's files as a C++ source: cmake -DFOLDER=... -DOUTPUT=... -P embed-page.cmake
set(types_html "text/html; charset=utf-8")
set(types_css "text/css; charset=utf-8")
set(types_js "text/javascript; charset=utf-8")
set(types_svg "image/svg+xml")

file(GLOB files RELATIVE ${FOLDER} ${FOLDER}/*)
list(SORT files)
set(table "")
foreach(name IN LISTS files)
  file(READ ${FOLDER}/${name} content HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${content}")
  string(MAKE_C_IDENTIFIER ${name} variable)
  get_filename_component(extension ${name} EXT)
  string(SUBSTRING ${extension} 1 -1 extension)
  if(name STREQUAL "index.html")
    set(path "/")
  else()
    set(path "/${name}")
  endif()
  string(APPEND arrays "const unsigned char ${variable}[] = {${bytes}};\n")
  string(APPEND table "    {\"${path}\", \"${types_${extension}}\",\n"
    "     {reinterpret_cast<const char*>(${variable}), sizeof ${variable}}},\n")
endforeach()
file(WRITE ${OUTPUT} "// Made by embed-page.cmake.
#include \"PageFiles.h\"

namespace station {
namespace {

${arrays}
const PageFile kFiles[] = {
${table}};

}  // namespace

const PageFile* pageFile(std::string_view path) {
    for (const PageFile& file : kFiles) {
        if (file.path == path) {
            return &file;
        }
    }
    return nullptr;
}

}  // namespace station
")
