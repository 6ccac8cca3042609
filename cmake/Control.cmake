# The control is built by another compiler than the rest: MinGW's with the thread model "win32". That
# of "posix", which plexum.exe and the tests need for std::thread, brings a handler of all exceptions
# of the process, and functions that suspend threads, into every host. So the control has a build
# folder of its own, control/ in this one, with its own objects of core and platform.
include(ExternalProject)

# plexum_control_build(TARGET FILE): FILE in the top of the build folder, brought up to date by each
# build, as a target that others can depend on.
function(plexum_control_build target file)
  set(arguments)
  foreach(name CMAKE_BUILD_TYPE CMAKE_CXX_FLAGS_RELEASE CMAKE_CXX_COMPILER_LAUNCHER
               CMAKE_TOOLCHAIN_FILE CMAKE_GENERATOR)
    list(APPEND arguments "-D${name}:STRING=${${name}}")
  endforeach()
  ExternalProject_Add(${target}_build
    SOURCE_DIR ${PROJECT_SOURCE_DIR}
    BINARY_DIR ${PROJECT_BINARY_DIR}/control
    PREFIX ${PROJECT_BINARY_DIR}/control/steps
    CMAKE_ARGS ${arguments} -DPLEXUM_THREADS=win32 -DPLEXUM_CONTROL_ALONE=ON
               -DPLEXUM_CONTROL_FOLDER=${PROJECT_BINARY_DIR}
    BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> --target ${target}
    BUILD_ALWAYS ON
    BUILD_BYPRODUCTS ${PROJECT_BINARY_DIR}/${file}
    INSTALL_COMMAND "")
  add_library(${target} MODULE IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${PROJECT_BINARY_DIR}/${file})
  add_dependencies(${target} ${target}_build)
endfunction()
