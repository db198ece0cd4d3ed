# Compares what a shared library exports with a list of demangled names, one a line, sorted.
#
#     cmake -D LIBRARY=<file> -D NM=<nm> -D EXPECTED=<list> [-D UPDATE=ON] -P check_exports.cmake
#
# With UPDATE the list is written instead.

execute_process(COMMAND ${NM} --dynamic --defined-only --demangle ${LIBRARY}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)

# A line is an address, a letter and a name. The several forms of a constructor or destructor have
# one name. Brackets and semicolons would be taken for list syntax.
string(REGEX REPLACE "[][;]" "_" symbols "${symbols}")
string(REGEX REPLACE "(^|\n)[0-9a-f]* [A-Za-z] " "\\1" symbols "${symbols}")
string(STRIP "${symbols}" symbols)
string(REPLACE "\n" ";" actual "${symbols}")
list(REMOVE_DUPLICATES actual)
list(SORT actual)

if(UPDATE)
    list(JOIN actual "\n" content)
    file(WRITE ${EXPECTED} "${content}\n")
    return()
endif()

file(STRINGS ${EXPECTED} expected)
set(added ${actual})
set(missing ${expected})
list(REMOVE_ITEM added ${expected})
list(REMOVE_ITEM missing ${actual})
if(added OR missing)
    list(JOIN added "\n  " added)
    list(JOIN missing "\n  " missing)
    message(FATAL_ERROR "The exported symbols have changed.\nnew:\n  ${added}\ngone:\n  ${missing}")
endif()
