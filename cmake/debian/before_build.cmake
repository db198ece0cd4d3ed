# Run by CPack when the files of the packages are in place, before it takes their sums. Debian has
# binaries without all that is not needed to run them, and man pages and changelogs compressed.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*)

set(binaries ${files})
list(FILTER binaries INCLUDE REGEX "/bin/morvantic$|/libmorvantic\\.so\\.[0-9]+\\.[0-9]+\\.[0-9]+$")
execute_process(COMMAND strip --strip-unneeded --remove-section=.comment ${binaries}
    COMMAND_ERROR_IS_FATAL ANY)

set(texts ${files})
list(FILTER texts INCLUDE REGEX "/man1/[^/]*\\.1$|/changelog(\\.Debian)?$")
execute_process(COMMAND gzip -9n ${texts} COMMAND_ERROR_IS_FATAL ANY)
