# Library, public headers, tool with its man pages, CMake package and pkg-config file, in the usual places.
include(CMakePackageConfigHelpers)

set(morvantic_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/morvantic)

install(TARGETS morvantic EXPORT morvanticTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT morvanticTargets NAMESPACE morvantic:: DESTINATION ${morvantic_package_dir})

configure_package_config_file(cmake/morvanticConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/morvanticConfig.cmake
    INSTALL_DESTINATION ${morvantic_package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/morvanticConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/morvanticConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/morvanticConfigVersion.cmake
        DESTINATION ${morvantic_package_dir})

# The prefix is told from where the file lies, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc
    /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/morvantic.pc.in ${CMAKE_CURRENT_BINARY_DIR}/morvantic.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/morvantic.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARGET morvantic_tool)
    install(TARGETS morvantic_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    get_target_property(man_pages man_pages MAN_PAGES)
    install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs FILES_MATCHING PATTERN "*.md")
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME morvantic)
set(CPACK_PACKAGE_CONTACT "The Morvantic engineers <engineers@morvantic.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
include(CPack)
