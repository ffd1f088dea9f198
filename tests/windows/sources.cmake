# The Windows program under Wine, compared with the one built here. Needs a compiler and Wine; without
# them there is nothing to test, unless TARNLEX_WINDOWS_TESTS insists.
find_program(TARNLEX_MINGW x86_64-w64-mingw32-g++-posix)
find_program(TARNLEX_WINE NAMES wine64 PATHS /usr/lib/wine)
find_program(TARNLEX_WINESERVER NAMES wineserver64 wineserver PATHS /usr/lib/wine)
find_program(TARNLEX_SCRIPT script)

if(TARNLEX_MINGW AND TARNLEX_WINE AND TARNLEX_WINESERVER AND TARNLEX_SCRIPT)
  add_executable(tarnlex_windows_tests
    ${CMAKE_CURRENT_SOURCE_DIR}/windows/both_programs.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/windows/same_output_test.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/windows/sample_logs.cpp
    ${CMAKE_CURRENT_SOURCE_DIR}/windows/windows_only_test.cpp
  )
  add_dependencies(tarnlex_windows_tests tarnlex make_sample_log)
  target_link_libraries(tarnlex_windows_tests PRIVATE tarnlex_support GTest::gtest_main)
  target_compile_definitions(tarnlex_windows_tests PRIVATE
    TARNLEX_PROGRAM="$<TARGET_FILE:tarnlex>"
    TARNLEX_MAKE_SAMPLE_LOG="$<TARGET_FILE:make_sample_log>"
    TARNLEX_WINDOWS_BUILD="${CMAKE_SOURCE_DIR}/build/windows"
    TARNLEX_WINDOWS_PLACE="${CMAKE_BINARY_DIR}/windows_tests"
    TARNLEX_WINE="${TARNLEX_WINE}"
    TARNLEX_WINESERVER="${TARNLEX_WINESERVER}"
  )
  add_test(NAME windows_build WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
    COMMAND sh -c "cmake --preset windows -DTARNLEX_WERROR=${TARNLEX_WERROR} && cmake --build --preset windows")
  set_tests_properties(windows_build PROPERTIES FIXTURES_SETUP windows TIMEOUT 900)
  add_test(NAME tarnlex_windows_tests COMMAND tarnlex_windows_tests)
  set_tests_properties(tarnlex_windows_tests PROPERTIES FIXTURES_REQUIRED windows TIMEOUT 900)
elseif(TARNLEX_WINDOWS_TESTS STREQUAL "REQUIRED")
  message(FATAL_ERROR "The Windows tests need g++-mingw-w64-x86-64-posix, wine64 and script")
else()
  message(STATUS "No tests of the Windows program: mingw or wine64 is missing")
endif()
