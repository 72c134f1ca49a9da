# An executable of program files, of which the first gives the procedure to begin with:
#
#   tarnel_add_program(NAME [CGI] [FOLDER folder] files.prg...)
#
# CGI: it answers requests, and that procedure gets the environment, the form and the state object as arrays. Otherwise it
# runs on a console, and the procedure gets the words of the command line. Errors tell the names of files as they are given
# here; they lie in the folder, by default the one of the CMakeLists.txt that calls this.
function(tarnel_add_program name)
  cmake_parse_arguments(PARSE_ARGV 1 program "CGI" "FOLDER" "")
  get_filename_component(folder "${program_FOLDER}" ABSOLUTE)
  set(code ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  list(TRANSFORM program_UNPARSED_ARGUMENTS PREPEND ${folder}/ OUTPUT_VARIABLE files)
  add_custom_command(OUTPUT ${code} COMMAND Tarnel::tnc ${program_UNPARSED_ARGUMENTS} -o ${code}
                     DEPENDS Tarnel::tnc ${files} WORKING_DIRECTORY ${folder} VERBATIM)
  add_executable(${name} ${code})
  target_compile_features(${name} PRIVATE cxx_std_20)
  # A sum of many operands is nested as deeply.
  target_compile_options(${name} PRIVATE -fno-strict-aliasing $<$<CXX_COMPILER_ID:Clang>:-fbracket-depth=100000>)
  # The library can be optimised with the program, which takes half a minute: for who asks for it.
  target_link_options(${name} PRIVATE
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:${name},INTERPROCEDURAL_OPTIMIZATION>>>:-fno-lto>)
  target_link_libraries(${name} PRIVATE Tarnel::$<IF:$<BOOL:${program_CGI}>,cgi,console>_main)
endfunction()
