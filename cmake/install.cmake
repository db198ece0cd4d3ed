# What is installed, where, and in which component: "library" is what hosts run with, "development"
# what they are built with, "tool" what authors of scripts use.
include(CMakePackageConfigHelpers)

set(morvantic_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/morvantic)

install(TARGETS morvantic EXPORT morvanticTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT library NAMELINK_COMPONENT development
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT morvanticTargets NAMESPACE morvantic:: DESTINATION ${morvantic_package_dir}
    COMPONENT development)

configure_package_config_file(cmake/morvanticConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/morvanticConfig.cmake
    INSTALL_DESTINATION ${morvantic_package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/morvanticConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/morvanticConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/morvanticConfigVersion.cmake
        DESTINATION ${morvantic_package_dir} COMPONENT development)

# The prefix is told from where the file lies, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc
    /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/morvantic.pc.in ${CMAKE_CURRENT_BINARY_DIR}/morvantic.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/morvantic.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# Each page goes with the people it is for: what is not for authors of scripts is for developers.
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT development
    FILES_MATCHING PATTERN "*.md"
    PATTERN language.md EXCLUDE
    PATTERN package-format.md EXCLUDE)
install(FILES CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
    COMPONENT development)
install(DIRECTORY examples/host examples/recorder DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
    COMPONENT development)
if(TARGET api_reference) # made on demand, so it goes into the package alone
    get_target_property(html_folder api_reference HTML_FOLDER)
    install(DIRECTORY ${html_folder} DESTINATION ${CMAKE_INSTALL_DOCDIR}/api
        COMPONENT development EXCLUDE_FROM_ALL)
endif()

if(TARGET morvantic_tool)
    install(TARGETS morvantic_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
    get_target_property(man_pages man_pages MAN_PAGES)
    install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
endif()
install(FILES README.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool)
install(FILES docs/language.md docs/package-format.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT tool)
install(DIRECTORY examples/apps DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT tool)
install(FILES examples/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT tool)
install(DIRECTORY editors/vim editors/vscode DESTINATION ${CMAKE_INSTALL_DOCDIR}/editors
    COMPONENT tool)
install(FILES editors/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/editors COMPONENT tool)
