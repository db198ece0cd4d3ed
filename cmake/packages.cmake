# Debian packages, one for each component that is installed:
#
#     dev/package
set(debian ${CMAKE_CURRENT_LIST_DIR}/debian)
set(changelog ${debian}/changelog)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${changelog})
file(STRINGS ${changelog} latest LIMIT_COUNT 1)
if(NOT latest MATCHES "^morvantic \\(${PROJECT_VERSION}-([0-9]+)\\)")
    message(FATAL_ERROR "${changelog} does not begin with version ${PROJECT_VERSION}.")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME morvantic)
set(CPACK_PACKAGE_CONTACT "The Morvantic engineers <engineers@morvantic.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${debian}/before_build.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${debian}/after_build.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE morvantic)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Packages of one build go together: a host is linked against the very library that it is built
# with, and the tool knows the engine's messages.
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_TOOL_DEPENDS library)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/mvx/morvantic)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libmorvantic${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "script engine for the analysis of mobile devices
Software that analyses mobile devices loads this library to learn, from small
text scripts, which apps the scripts are for and how the data of those apps are
to be read. The scripts come in packages, and the engine takes only packages
with a sound signature.
.
This package contains the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libmorvantic-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "morvantic")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS
    "cmake, pkg-config, libsqlite3-dev, libplist-dev, nlohmann-json3-dev, python3")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "script engine for the analysis of mobile devices - headers
The library tells software that analyses mobile devices, from small text
scripts, which apps the scripts are for and how the data of those apps are to
be read.
.
This package contains what is needed to build such software in C++: headers,
files for CMake and pkg-config, the reference of the interface, a guide and
examples.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME morvantic)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "makes, examines and reads packages of scripts
Scripts tell software that analyses mobile devices how the data of apps are to
be read. This command is for their authors and publishers: it finds mistakes in
scripts, formats and tests them, makes signed packages of them and shows what
software will be told by a package.
.
This package also contains the reference of the script language, example
scripts, and colours for editors.")

# What Debian wants of packages, beside what "cmake --install" installs.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(name ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    set(doc_folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${name})
    set(for_package COMPONENT ${component} EXCLUDE_FROM_ALL)
    install(FILES ${debian}/copyright DESTINATION ${doc_folder} ${for_package})
    install(FILES ${changelog} DESTINATION ${doc_folder} RENAME changelog.Debian ${for_package})
    install(FILES CHANGELOG.md DESTINATION ${doc_folder} RENAME changelog ${for_package})
    install(FILES ${debian}/overrides.${component} RENAME ${name}
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides ${for_package})
endforeach()
if(TARGET api_reference)
    install(FILES ${debian}/doc-base RENAME libmorvantic-dev.morvantic-api
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc-base COMPONENT development EXCLUDE_FROM_ALL)
endif()

include(CPack)
