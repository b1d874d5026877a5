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
# configures anew, since the number of generated files depends on the schemas.
#
# NAME is the catalogue's name, by which wrappers ask for their tables: a C++ identifier. Without it, the target's name,
# each other character of which becomes "_". Versions of one catalogue go by one name. ALLOW names rules of the compiler
# that it shall not warn of; with STRICT its other warnings are errors.

include(CheckLinkerFlag)

# The text of a schema without its comments and without the characters that mean something in a CMake list.
function(_kwxml_schema_text schema result)
  file(READ "${schema}" text)
  string(REGEX REPLACE "[][;]" " " text "${text}")
  set(kept "")
  while(TRUE)
    string(FIND "${text}" "<!--" start)
    if(start EQUAL -1)
      break()
    endif()
    string(SUBSTRING "${text}" 0 ${start} before)
    string(APPEND kept "${before}")
    string(SUBSTRING "${text}" ${start} -1 text)
    string(FIND "${text}" "-->" end)
    if(end EQUAL -1)  # not well-formed; the compiler says so
      set(text "")
      break()
    endif()
    math(EXPR end "${end} + 3")
    string(SUBSTRING "${text}" ${end} -1 text)
  endwhile()
  set(${result} "${kept}${text}" PARENT_SCOPE)
endfunction()

# What the compiler will write for schemas, and the command that writes it: sets <prefix>_SOURCES, <prefix>_HEADERS and
# <prefix>_INCLUDE_DIR for the caller.
function(_kwxml_compile_catalogue prefix target name schemas)
  # What the compiler will write must be known now: one table file per 256 classes, a header per system.
  set(classes 0)
  set(files "")
  set(headers "")
  set(include_dir "${CMAKE_CURRENT_BINARY_DIR}/${target}_catalogue")
  set(output_dir "${include_dir}/catalogue")
  foreach(schema IN LISTS schemas)
    get_filename_component(schema "${schema}" ABSOLUTE)
    if(NOT EXISTS "${schema}")
      message(FATAL_ERROR "catalogue ${target}: no such schema: ${schema}")
    endif()
    list(APPEND files "${schema}")
    _kwxml_schema_text("${schema}" text)
    string(REGEX MATCHALL "<(message|enum)[ \t\r\n]" found "${text}")
    list(LENGTH found count)
    math(EXPR classes "${classes} + ${count}")
    string(REGEX MATCHALL "<system[ \t\r\n][^>]*>" systems "${text}")
    foreach(system IN LISTS systems)
      if(system MATCHES "[ \t\r\n]name[ \t\r\n]*=[ \t\r\n]*[\"']([A-Za-z][A-Za-z0-9]*)[\"']")
        list(APPEND headers "${output_dir}/${CMAKE_MATCH_1}.h")
      endif()
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES headers)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${files})
  math(EXPR shards "${classes} / 256 + 1")
  set(sources "${output_dir}/registry.cpp" "${output_dir}/classes.cpp" "${output_dir}/lists.cpp")
  math(EXPR last "${shards} - 1")
  foreach(i RANGE ${last})
    set(number "${i}")
    while(number MATCHES "^..?$")
      set(number "0${number}")
    endwhile()
    list(APPEND sources "${output_dir}/tables_${number}.cpp")
  endforeach()

  add_custom_command(
    OUTPUT ${sources} ${headers}
    COMMAND "$<TARGET_FILE:KwXMLMsgsBase::kwxml-catalogue>" --name "${name}" ${ARGN} --shards ${shards} -o "${output_dir}" -- ${files}
    DEPENDS "$<TARGET_FILE:KwXMLMsgsBase::kwxml-catalogue>" ${files}
    COMMENT "Compiling catalogue ${target}"
    VERBATIM)
  set(${prefix}_SOURCES "${sources}" PARENT_SCOPE)
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
