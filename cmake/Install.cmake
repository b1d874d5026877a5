# What an installation holds: the libraries, the two programs, the headers, the packages for CMake and pkg-config by
# which other builds find them, and the grammar of schema files. Nothing in it names the prefix, so that it may be moved as a whole.
include(CMakePackageConfigHelpers)

set(KWXML_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/KwXMLMsgsBase")

# The wrappers of the library's own catalogue, or else those of the sample, are installed as <catalogue/System.h>.
set(wrappers ${KWXML_BUILTIN_HEADERS})
if(NOT wrappers)
  target_include_directories(KwXMLSample INTERFACE "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  get_target_property(wrappers KwXMLSample SOURCES)
  list(FILTER wrappers INCLUDE REGEX "/catalogue/[^/]*\\.h$")
endif()
install(FILES ${wrappers} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/catalogue")

include("${CMAKE_CURRENT_LIST_DIR}/PublicHeaders.cmake")
kwxml_public_headers(headers "${PROJECT_SOURCE_DIR}")
foreach(header IN LISTS headers)
  get_filename_component(folder "${header}" DIRECTORY)
  if((NOT folder STREQUAL "platform" OR KWXML_PLATFORM STREQUAL "standin") AND (NOT folder STREQUAL "nats" OR KWXML_NATS))
    install(FILES "${PROJECT_SOURCE_DIR}/src/kwxml/${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kwxml/${folder}")
  endif()
endforeach()

# For editors of schema files.
install(FILES "${PROJECT_SOURCE_DIR}/catalogue/catalogue.xsd" "${PROJECT_SOURCE_DIR}/cmake/catalog.xml"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/kwxml")

# Completion in shells, which look for a script by the name of the program.
set(completions "${PROJECT_SOURCE_DIR}/tools/completions")
foreach(program kwxml kwxml-catalogue)
  install(FILES "${completions}/kwxml.bash" RENAME ${program}
          DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
  install(FILES "${completions}/kwxml.fish" RENAME ${program}.fish
          DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
endforeach()
install(FILES "${completions}/_kwxml" DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions")

# gdb looks for what shows a library's objects by the library's whole path, in its own folder of data: it loads this by
# itself where the prefix is gdb's own, mostly /usr. The prefix is known when the files are installed.
if(KWXML_LIBRARY_TYPE STREQUAL "SHARED")
  set(libdir "${CMAKE_INSTALL_LIBDIR}")
  if(NOT IS_ABSOLUTE "${libdir}")
    set(libdir "\${CMAKE_INSTALL_PREFIX}/${libdir}")
  endif()
  install(FILES "${PROJECT_SOURCE_DIR}/tools/gdb/printers.py" COMPONENT gdb
          DESTINATION "${CMAKE_INSTALL_DATADIR}/gdb/auto-load${libdir}" RENAME "$<TARGET_FILE_NAME:KwXMLMsgsBase>-gdb.py")
endif()

set(installed_targets KwXMLMsgsBase kwxml kwxml-catalogue)
if(NOT KWXML_CATALOGUE_DIR)
  list(APPEND installed_targets KwXMLSample)
endif()
if(TARGET KwPlatform)
  list(APPEND installed_targets KwPlatform)
endif()
install(TARGETS ${installed_targets} EXPORT KwXMLMsgsBaseTargets
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(EXPORT KwXMLMsgsBaseTargets NAMESPACE KwXMLMsgsBase:: DESTINATION "${KWXML_PACKAGE_DIR}")

# An installation may lack this one: it comes apart, with a file of its own.
if(KWXML_NATS)
  install(TARGETS KwXMLNats EXPORT KwXMLNatsTargets COMPONENT nats
          LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  install(EXPORT KwXMLNatsTargets COMPONENT nats NAMESPACE KwXMLMsgsBase:: DESTINATION "${KWXML_PACKAGE_DIR}")
endif()

configure_package_config_file(cmake/KwXMLMsgsBaseConfig.cmake.in "${PROJECT_BINARY_DIR}/KwXMLMsgsBaseConfig.cmake"
                              INSTALL_DESTINATION "${KWXML_PACKAGE_DIR}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KwXMLMsgsBaseConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KwXMLMsgsBaseConfig.cmake" "${PROJECT_BINARY_DIR}/KwXMLMsgsBaseConfigVersion.cmake"
              "${PROJECT_SOURCE_DIR}/cmake/KwXMLCatalogue.cmake"
        DESTINATION "${KWXML_PACKAGE_DIR}")

# Whoever links the library calls the platform's functions too, by headers that call them.
set(KWXML_PC_LIBS "-lKwXMLMsgsBase")
if(TARGET KwPlatform)
  string(APPEND KWXML_PC_LIBS " -lKwPlatform")
endif()
if(KWXML_LIBRARY_TYPE STREQUAL "STATIC")  # an archive names nothing that it needs
  set(KWXML_PC_REQUIRES "Requires: xerces-c spdlog libcrypto inih")
  string(APPEND KWXML_PC_LIBS " -ldl -pthread")
endif()
file(RELATIVE_PATH KWXML_PREFIX_FROM_PC "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" KWXML_PREFIX_FROM_PC "${KWXML_PREFIX_FROM_PC}")
set(KWXML_PC_NAME KwXMLMsgsBase)
set(KWXML_PC_DESCRIPTION "${PROJECT_DESCRIPTION}")
configure_file(cmake/KwXMLMsgsBase.pc.in "${PROJECT_BINARY_DIR}/KwXMLMsgsBase.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/KwXMLMsgsBase.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(KWXML_NATS)
  set(KWXML_PC_NAME KwXMLNats)
  set(KWXML_PC_DESCRIPTION "Messages over NATS JetStream")
  set(KWXML_PC_REQUIRES "Requires: KwXMLMsgsBase")
  if(KWXML_LIBRARY_TYPE STREQUAL "STATIC")
    string(APPEND KWXML_PC_REQUIRES " libnats")
  endif()
  set(KWXML_PC_LIBS "-lKwXMLNats")
  configure_file(cmake/KwXMLMsgsBase.pc.in "${PROJECT_BINARY_DIR}/KwXMLNats.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/KwXMLNats.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT nats)
endif()
