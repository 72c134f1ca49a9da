# find_package(Tarnel): tarnel_add_program() makes executables of program files. Their compiler is the one that made the
# library, or a later one of its kind.
include(${CMAKE_CURRENT_LIST_DIR}/TarnelTargets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/TarnelAddProgram.cmake)
