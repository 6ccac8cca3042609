# What every target of the project shares: the language level, the warnings (all of them errors)
# and the include roots: the core's files are included by their path below src/
# ("control/plexum_link.h"), all others by their path below the project ("sim/plc.h").
# Which folder may include which is held by tests/include_directions.

add_library(plexum_options INTERFACE)
target_compile_features(plexum_options INTERFACE cxx_std_20)
target_include_directories(plexum_options INTERFACE ${PROJECT_SOURCE_DIR}/src
                           ${PROJECT_SOURCE_DIR})
target_compile_options(plexum_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-align -Wunused -Wformat=2
  # g++ 12 sees overlapping copies in std::string's own assignment where there are none.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  # With the sanitizers' code in between g++ takes parts of std::regex for uninitialised.
  target_compile_options(plexum_options INTERFACE
                         $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# Hardening, which tests/hardening_test.py reads off the built files: a stack that tells when it is
# overwritten and holds no code, code at any address, nothing left to be bound when it runs.
target_compile_options(plexum_options INTERFACE -fstack-protector-strong)
if(WIN32)
  target_link_options(plexum_options INTERFACE -fstack-protector-strong
                      -Wl,--nxcompat -Wl,--dynamicbase)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    target_link_options(plexum_options INTERFACE -Wl,--high-entropy-va)
  endif()
else()
  # Without optimisation the checked functions would only warn of that.
  target_compile_options(plexum_options INTERFACE
    "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  target_link_options(plexum_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
  include(CheckPIESupported)
  check_pie_supported()
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()

# Symbols, for whoever reads a crash of a release: functions and lines. They name sources by their path
# in the project.
set(PLEXUM_SYMBOLS -fdebug-prefix-map=${PROJECT_SOURCE_DIR}=.)
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  list(APPEND PLEXUM_SYMBOLS -g1)
endif()

# plexum_symbols(TARGET): users get a stripped file; FILE.debug beside it has its symbols. (On Linux the
# package strips.)
function(plexum_symbols target)
  target_compile_options(${target} PRIVATE ${PLEXUM_SYMBOLS})
  if(WIN32)
    set(file $<TARGET_FILE:${target}>)
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM
      # The stripped file is the one that the linker makes by -s: -p keeps the header's date, which is
      # none, and names of sections have eight letters.
      COMMAND ${CMAKE_OBJCOPY} -p --only-keep-debug ${file} ${file}.debug
      COMMAND ${CMAKE_OBJCOPY} -p --strip-all --rename-section .eh_frame=.eh_fram ${file})
  endif()
endfunction()

# plexum_library(NAME FILE...): one static library for the current folder.
function(plexum_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PUBLIC plexum_options)
  target_compile_options(${name} PRIVATE ${PLEXUM_SYMBOLS})
endfunction()

# plexum_program(NAME FILE...): a program, left in the top of the build folder.
function(plexum_program name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE plexum_options)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endfunction()

# The header-only libraries of the command. Debian installs them among the system's own headers,
# which no other target may see: it gets a folder with links to these alone.
macro(plexum_find_header_libraries)
  if(WIN32)
    if(NOT TARGET CLI11::CLI11)
      set(headers ${PROJECT_BINARY_DIR}/header_libraries)
      file(MAKE_DIRECTORY ${headers})
      foreach(library CLI nlohmann)
        if(NOT EXISTS /usr/include/${library})
          message(FATAL_ERROR "/usr/include/${library} is missing; run script/bootstrap")
        endif()
        file(CREATE_LINK /usr/include/${library} ${headers}/${library} SYMBOLIC)
      endforeach()
      foreach(library CLI11::CLI11 nlohmann_json::nlohmann_json)
        add_library(${library} INTERFACE IMPORTED GLOBAL)
        target_include_directories(${library} SYSTEM INTERFACE ${headers})
      endforeach()
    endif()
  else()
    find_package(CLI11 REQUIRED)
    find_package(nlohmann_json REQUIRED)
  endif()
endmacro()

# GoogleTest: Debian's library, or its sources where the target is Windows.
macro(plexum_find_googletest)
  if(WIN32)
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  else()
    find_package(GTest REQUIRED)
  endif()
  include(GoogleTest)
endmacro()

# plexum_test(NAME [ONE_RUN_UNDER_WINE] FILE...): one GoogleTest program; every test in it is a CTest
# test, unless what is not about Windows itself runs there only as a whole.
function(plexum_test name)
  cmake_parse_arguments(PARSE_ARGV 1 test "ONE_RUN_UNDER_WINE" "" "")
  add_executable(${name} ${test_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE plexum_options plexum_portable GTest::gtest_main GTest::gmock)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  if(WIN32 AND test_ONE_RUN_UNDER_WINE)
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
    set_tests_properties(${name} PROPERTIES TIMEOUT 120)
  else()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
  endif()
endfunction()

# plexum_member_table(FORM FILE): rows of a C++ array from docs/members.toml; the forms stand in
# docs/generator/members.py.
find_package(Python3 3.11 COMPONENTS Interpreter REQUIRED)
function(plexum_member_table form file)
  set(docs ${PROJECT_SOURCE_DIR}/docs)
  add_custom_command(
    OUTPUT ${file}
    COMMAND ${Python3_EXECUTABLE} -B ${docs}/generator/members.py ${form} ${file}
    DEPENDS ${docs}/members.toml ${docs}/generator/members.py VERBATIM)
endfunction()
