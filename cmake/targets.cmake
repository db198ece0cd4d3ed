# How each kind of target in this tree is made.

# The log prints a source path from "mvx" on, whatever the checkout is called.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}=)

# The library drops what only the tool uses of the folders that both are made of.
add_compile_options(-ffunction-sections -fdata-sections)

# mvx_object_library(<name> SOURCES <file>... LINK <target>...): one source folder.
function(mvx_object_library name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} OBJECT ${arg_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/mvx)
    target_link_libraries(${name} PUBLIC ${arg_LINK})
    mvx_enable_warnings(${name})
endfunction()
