# Helpers that keep every target's flags in one place.

add_library(cvb_options INTERFACE)
target_compile_options(cvb_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                             -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
                                             -Woverloaded-virtual)
if(CVB_WARNINGS_AS_ERRORS)
  target_compile_options(cvb_options INTERFACE -Werror)
endif()
target_include_directories(cvb_options INTERFACE ${PROJECT_SOURCE_DIR}/src
                                                 ${PROJECT_BINARY_DIR}/generated)
# A library no object of a program calls is not loaded: each costs memory at start.
target_link_options(cvb_options INTERFACE -Wl,--as-needed)
if(CVB_SANITIZE)
  target_compile_options(cvb_options INTERFACE -fsanitize=address,undefined
                                               -fno-sanitize-recover=undefined
                                               -fno-omit-frame-pointer)
  target_link_options(cvb_options INTERFACE -fsanitize=address,undefined)
endif()
if(CVB_FUZZ)
  target_compile_options(cvb_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined
                                               -fno-omit-frame-pointer)
  target_link_options(cvb_options INTERFACE -fsanitize=address,undefined)
endif()

# cvb_add_library(<name> SOURCES ... [DEPS ...]): a static library for one src/ folder.
function(cvb_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC cvb_options ${ARG_DEPS})
endfunction()

# cvb_add_app(<name> SOURCES ... DEPS ...): a program under apps/.
function(cvb_add_app name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE cvb_options ${ARG_DEPS})
  install(TARGETS ${name} RUNTIME DESTINATION bin)
endfunction()

# cvb_add_test(<name> SOURCES ... DEPS ...): one GoogleTest program, one CTest test. A process
# per case would cost more in sanitizer start-up than most cases take to run.
function(cvb_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE cvb_options ${ARG_DEPS} GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${name}
                             PRIVATE CVB_FIXTURES_DIR="${PROJECT_SOURCE_DIR}/tests/fixtures")
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  set_tests_properties(${name} PROPERTIES TIMEOUT 900)
endfunction()

# cvb_add_fuzzer(<name> SOURCES ... DEPS ...): a libFuzzer target (fuzz preset only).
function(cvb_add_fuzzer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE cvb_options ${ARG_DEPS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  # `make fuzz` builds only these, not the programs.
  if(NOT TARGET fuzzers)
    add_custom_target(fuzzers)
  endif()
  add_dependencies(fuzzers ${name})
endfunction()

# cvb_add_bench(<name> SOURCES ... DEPS ...): a Google Benchmark program.
function(cvb_add_bench name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE cvb_options ${ARG_DEPS} benchmark::benchmark)
  target_compile_definitions(${name}
                             PRIVATE CVB_FIXTURES_DIR="${PROJECT_SOURCE_DIR}/tests/fixtures")
endfunction()
