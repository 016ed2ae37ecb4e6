# Turns the chart's reflectances into a C++ table: cmake -DCSV=... -DOUTPUT=... -P chart-table.cmake
file(STRINGS ${CSV} lines)
list(POP_FRONT lines header)
if(NOT header MATCHES "^patch,r400,r410,.*,r690,r700$")
  message(FATAL_ERROR "${CSV}: the first line must be patch,r400,r410 ... r700")
endif()

set(rows "")
foreach(line IN LISTS lines)
  if(NOT line MATCHES "^([^,]+),([0-9.,]+)$")
    message(FATAL_ERROR "${CSV}: no patch with its reflectances: ${line}")
  endif()
  set(name ${CMAKE_MATCH_1})
  string(REGEX REPLACE "([0-9.]+)" "\\1F" values "${CMAKE_MATCH_2}")
  string(APPEND rows "    {\"${name}\", {${values}}},\n")
endforeach()

file(WRITE ${OUTPUT} "// Generated from data/colorchecker24.csv by tools/cq/chart-table.cmake.
#include \"color/ChartPatches.h\"

namespace cqtool {

const std::array<ChartPatch, kChartPatchCount> kChartPatches{{
${rows}}};

}  // namespace cqtool
")
