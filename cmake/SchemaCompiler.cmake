# Which files the schema compiler will write, CMake must know when it configures, and asks the compiler itself. In this
# build that is to be built yet; so a build of its own makes it first, without the sanitizers and for the machine that
# builds. The targets of catalogues depend on _kwxml_schema_compiler, which keeps it up to date.
#
# Sets _KWXML_SCHEMA_COMPILER, the program's path, for kwxml_add_catalogue().
set(KWXML_SCHEMA_COMPILER "" CACHE FILEPATH
    "A schema compiler of this version that runs on the building machine; without it the build makes one first")
if(KWXML_SCHEMA_COMPILER)
  set(_KWXML_SCHEMA_COMPILER "${KWXML_SCHEMA_COMPILER}" CACHE INTERNAL "")
  add_custom_target(_kwxml_schema_compiler)
  return()
endif()

include(ProcessorCount)
ProcessorCount(cores)
if(cores EQUAL 0)
  set(cores 1)
endif()
set(folder "${PROJECT_BINARY_DIR}/schema-compiler")
set(settings "-DCMAKE_BUILD_TYPE=Release" "-DCMAKE_CXX_FLAGS_RELEASE=-O1"  # it runs for seconds
             "-DCMAKE_EXPORT_COMPILE_COMMANDS=OFF" "-DCMAKE_UNITY_BUILD=ON")
set(handed_on CMAKE_CXX_COMPILER_LAUNCHER CMAKE_PREFIX_PATH CMAKE_MAKE_PROGRAM XercesC_ROOT CLI11_DIR)
if(NOT CMAKE_CROSSCOMPILING)
  list(APPEND handed_on CMAKE_CXX_COMPILER CMAKE_TOOLCHAIN_FILE)
endif()
foreach(setting IN LISTS handed_on)
  if(${setting})
    string(REPLACE ";" "\\;" value "${${setting}}")
    list(APPEND settings "-D${setting}=${value}")
  endif()
endforeach()
set(build "${CMAKE_COMMAND}" --build "${folder}" --config Release --target kwxml-catalogue --parallel ${cores})
message(STATUS "Building the schema compiler")
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${PROJECT_SOURCE_DIR}/cmake/schema-compiler" -B "${folder}"
                        -G "${CMAKE_GENERATOR}" ${settings}
                OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
if(result EQUAL 0)
  execute_process(COMMAND ${build} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
endif()
if(NOT result EQUAL 0)
  message(FATAL_ERROR "The schema compiler cannot be built:\n${output}")
endif()
set(_KWXML_SCHEMA_COMPILER "${folder}/kwxml-catalogue${CMAKE_HOST_EXECUTABLE_SUFFIX}" CACHE INTERNAL "")
add_custom_target(_kwxml_schema_compiler COMMAND ${build} BYPRODUCTS "${_KWXML_SCHEMA_COMPILER}"
                  COMMENT "Building the schema compiler" VERBATIM)
