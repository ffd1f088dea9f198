# What -version says beside the version. Outside of a checkout nobody knows the commit, unless
# TARNLEX_COMMIT says it.
set(TARNLEX_COMMIT "" CACHE STRING "The commit that is built; empty: asked of git")
set(TARNLEX_COMMIT_FOUND "${TARNLEX_COMMIT}")
if(NOT TARNLEX_COMMIT_FOUND AND EXISTS ${CMAKE_SOURCE_DIR}/.git)
  execute_process(COMMAND git -C ${CMAKE_SOURCE_DIR} rev-parse HEAD
    OUTPUT_VARIABLE TARNLEX_COMMIT_FOUND OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT TARNLEX_COMMIT_FOUND)
  set(TARNLEX_COMMIT_FOUND unknown)
endif()
set(TARNLEX_BUILD "${CMAKE_SYSTEM_NAME} ${CMAKE_SYSTEM_PROCESSOR}, ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}, ${CMAKE_BUILD_TYPE}")
configure_file(app/build_info.h.in build_info/build_info.h @ONLY)
set_source_files_properties(app/option_table.cpp PROPERTIES
  INCLUDE_DIRECTORIES ${CMAKE_BINARY_DIR}/build_info)
