# Run by CPack when the packages are made. It writes scripts that call ldconfig where Debian has a
# trigger, and knows no field for libraries of several architectures side by side.
set(folder ${CPACK_TEMPORARY_DIRECTORY}/control)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    if(NOT package MATCHES "/libmorvantic")
        continue()
    endif()
    file(REMOVE_RECURSE ${folder})
    execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
    file(READ ${folder}/DEBIAN/control fields)
    string(STRIP "${fields}" fields)
    file(WRITE ${folder}/DEBIAN/control "${fields}\nMulti-Arch: same\n")
    if(EXISTS ${folder}/DEBIAN/shlibs)
        file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
        file(WRITE ${folder}/DEBIAN/triggers "activate-noawait ldconfig\n")
    endif()
    execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${package}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
