# What every target of the project is compiled with: link to cqapi_options.

option(CQAPI_COVERAGE "Record line coverage" OFF)
set(CQAPI_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(cqapi_options INTERFACE)
target_compile_features(cqapi_options INTERFACE cxx_std_20 c_std_99)

if(MSVC)
  target_compile_options(cqapi_options INTERFACE /W4 /bigobj /permissive- /utf-8 /fp:precise)
  target_compile_definitions(cqapi_options INTERFACE _CRT_SECURE_NO_WARNINGS NOMINMAX)
else()
  target_compile_options(cqapi_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    # Files that are compiled together count as headers, whose types must not use an unnamed namespace.
    $<$<AND:$<COMPILE_LANG_AND_ID:CXX,GNU>,$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wno-subobject-linkage>
    # A fused multiply-add would round the colour formulas differently from one machine to another.
    -ffp-contract=off)
endif()
# The commands of the project pass it on to each build that they start.
if("$ENV{CQAPI_WARNINGS_AS_ERRORS}")
  target_compile_options(cqapi_options INTERFACE $<IF:$<CXX_COMPILER_ID:MSVC>,/WX,-Werror>)
endif()

if(CQAPI_SANITIZE)
  target_compile_options(cqapi_options INTERFACE
    -fsanitize=${CQAPI_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(cqapi_options INTERFACE -fsanitize=${CQAPI_SANITIZE})
endif()
if(CQAPI_COVERAGE)
  # The counters are shared by threads.
  target_compile_options(cqapi_options INTERFACE --coverage -fprofile-update=atomic -O0)
  target_link_options(cqapi_options INTERFACE --coverage)
endif()

if(MINGW)
  # The compiler's run-time libraries are linked in: what is built needs system DLLs alone.
  target_link_options(cqapi_options INTERFACE -static)
  target_compile_definitions(cqapi_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN
    __USE_MINGW_ANSI_STDIO=1)
endif()

find_package(Threads REQUIRED)
target_link_libraries(cqapi_options INTERFACE Threads::Threads)
