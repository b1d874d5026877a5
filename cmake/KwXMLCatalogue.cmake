# kwxml_add_catalogue(<target> SCHEMAS <schema.xml>... [NAME <name>] [ALLOW <rule>...] [STRICT] [SHARED|STATIC])
#
# Compiles schema files into a library of message tables (SHARED by default). A program that links <target> uses its
# message systems, and includes its typed wrappers by system:
#
#   kwxml_add_catalogue(my_catalogue SCHEMAS Demo.xml Shop.xml)
#   target_link_libraries(my_program PRIVATE my_catalogue)      # the message library comes with it
#
#   #include <catalogue/Demo.h>
#
# All schemas of a catalogue are named in one call; references between them need no order. A change to a schema
# configures anew, since the schemas say which files are generated.
#
# NAME is the catalogue's name, by which wrappers ask for their tables: a C++ identifier. Without it, the target's name,
# each other character of which, and each row of them, becomes "_". Versions of one catalogue go by one name; so a plug-in
# that has another version than the program that opens it needs a name of its own, or to be opened with RTLD_DEEPBIND.
# Several STATIC catalogues go into one program where no two have a system of one name. ALLOW names rules of the compiler
# that it shall not warn of; with STRICT its other warnings are errors.

include(CheckLinkerFlag)

# What the compiler will write for schemas, and the command that writes it: sets <prefix>_SOURCES, <prefix>_HEADERS and
# <prefix>_INCLUDE_DIR for the caller.
function(_kwxml_compile_catalogue prefix target name schemas)
  set(files "")
  foreach(schema IN LISTS schemas)
    get_filename_component(schema "${schema}" ABSOLUTE)
    if(NOT EXISTS "${schema}")
      message(FATAL_ERROR "catalogue ${target}: no such schema: ${schema}")
    endif()
    list(APPEND files "${schema}")
  endforeach()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${files})
  set(include_dir "${CMAKE_CURRENT_BINARY_DIR}/${target}_catalogue")
  set(output_dir "${include_dir}/catalogue")
  set(compiler "${_KWXML_SCHEMA_COMPILER}")  # in the library's own build
  if(NOT compiler)
    get_target_property(compiler KwXMLMsgsBase::kwxml-catalogue LOCATION)
  endif()

  # Schemas with errors have no files. The build then says the errors, as it does for any other source.
  execute_process(COMMAND "${compiler}" --list-outputs -- ${files}
                  OUTPUT_VARIABLE outputs ERROR_QUIET RESULT_VARIABLE result OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT result MATCHES "^[01]$")
    message(FATAL_ERROR "catalogue ${target}: the schema compiler cannot be run: ${compiler}: ${result}")
  elseif(result)
    set(outputs "registry.cpp")
  endif()
  string(REPLACE "\n" ";" outputs "${outputs}")
  list(TRANSFORM outputs PREPEND "${output_dir}/")
  set(sources ${outputs})
  set(headers ${outputs})
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  list(FILTER headers INCLUDE REGEX "\\.h$")
  set(depends "${compiler}")
  if(TARGET _kwxml_schema_compiler)
    list(APPEND depends _kwxml_schema_compiler)
  else()  # another compiler may write other files
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${compiler}")
  endif()
  # What did not change keeps its time, so that nothing else is built again; that the compiler has run, the stamp says.
  set(stamp "${include_dir}/compiled")
  add_custom_command(
    OUTPUT "${stamp}"
    BYPRODUCTS ${outputs}
    COMMAND "${compiler}" --name "${name}" ${ARGN} -o "${output_dir}" -- ${files}
    COMMAND "${CMAKE_COMMAND}" -E touch "${stamp}"
    DEPENDS ${depends} ${files}
    COMMENT "Compiling catalogue ${target}"
    VERBATIM)
  set(${prefix}_SOURCES "${sources};${stamp}" PARENT_SCOPE)
  set(${prefix}_HEADERS "${headers}" PARENT_SCOPE)
  set(${prefix}_INCLUDE_DIR "${include_dir}" PARENT_SCOPE)
endfunction()

function(kwxml_add_catalogue target)
  cmake_parse_arguments(arg "SHARED;STATIC;STRICT" "NAME" "SCHEMAS;ALLOW" ${ARGN})
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kwxml_add_catalogue(${target}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT arg_SCHEMAS)
    message(FATAL_ERROR "kwxml_add_catalogue(${target}): SCHEMAS are missing")
  endif()
  if(arg_SHARED AND arg_STATIC)
    message(FATAL_ERROR "kwxml_add_catalogue(${target}): SHARED or STATIC, not both")
  endif()
  set(kind SHARED)
  if(arg_STATIC)
    set(kind STATIC)
  endif()
  if(NOT arg_NAME)
    string(MAKE_C_IDENTIFIER "${target}" arg_NAME)
    string(REGEX REPLACE "__+" "_" arg_NAME "${arg_NAME}")  # such names are the compiler's
    string(REGEX REPLACE "^_" "catalogue_" arg_NAME "${arg_NAME}")
  endif()
  set(options "")
  foreach(rule IN LISTS arg_ALLOW)
    list(APPEND options --allow "${rule}")
  endforeach()
  if(arg_STRICT)
    list(APPEND options --strict)
  endif()
  _kwxml_compile_catalogue(catalogue "${target}" "${arg_NAME}" "${arg_SCHEMAS}" ${options})

  add_library(${target} ${kind} ${catalogue_SOURCES} ${catalogue_HEADERS})
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_compile_features(${target} PUBLIC cxx_std_20)
  # The tables need the record formats alone, and nothing of the library's code.
  set(library KwXMLMsgsBase::KwXMLMsgsBase)
  target_include_directories(${target} PRIVATE "$<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>")
  target_include_directories(${target} PUBLIC "$<BUILD_INTERFACE:${catalogue_INCLUDE_DIR}>")
  target_link_libraries(${target} INTERFACE ${library})
  # Wrappers name their catalogue's object, but a program may use messages without wrappers: its catalogue must be
  # linked all the same.
  if(kind STREQUAL "SHARED")
    # The tables point into each other thousands of times; bound inside the library, none of that is looked up by
    # name at load, and two catalogues in one process do not mix. Packed, it takes a fiftieth of the space.
    target_link_options(${target} PRIVATE "LINKER:-Bsymbolic")
    check_linker_flag(CXX "LINKER:-z,pack-relative-relocs" KWXML_PACKS_RELOCATIONS)
    if(KWXML_PACKS_RELOCATIONS)
      target_link_options(${target} PRIVATE "LINKER:-z,pack-relative-relocs")
    endif()
    target_link_options(${target} INTERFACE "LINKER:--no-as-needed")
  else()
    target_link_options(${target} INTERFACE
                        "LINKER:--undefined=_ZN34XML_KWMessage_MessageSystemChooser9catalogueE")
  endif()
endfunction()
