# INTERFACE targets that every target of the project links: `project_options` (include root, warnings, sanitizers) and
# `hardening` (what ships).

add_library(project_options INTERFACE)
target_include_directories(project_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wconversion -Wimplicit-fallthrough
  "$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual;-Wold-style-cast;-Wextra-semi>"
  # A value's payload word is viewed as whatever its tag names.
  -fno-strict-aliasing)
target_link_libraries(project_options INTERFACE Threads::Threads)

if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(project_options INTERFACE -Wthread-safety)
else()
  # Unique symbols would keep a closed plug-in in the process.
  target_compile_options(project_options INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>" -Wshadow=local)
endif()

if(SANITIZE)
  target_compile_options(project_options INTERFACE
    -fsanitize=${SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # What the sanitizers add confuses g++'s flow analysis, in the standard library's own headers too.
    "$<$<CXX_COMPILER_ID:GNU>:-Wno-error=maybe-uninitialized>")
  target_link_options(project_options INTERFACE -fsanitize=${SANITIZE})
endif()

add_library(hardening INTERFACE)
# All symbols are bound at the start, so calls of other libraries need no stubs.
target_compile_options(hardening INTERFACE -fstack-protector-strong -fno-plt)
target_compile_definitions(hardening INTERFACE "$<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>")
target_link_options(hardening INTERFACE -Wl,-z,relro -Wl,-z,now)
