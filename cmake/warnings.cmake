# Warnings for our own targets only; errors where a preset asks for it, never in a plain build.
function(mvx_enable_warnings target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
        # When it optimises, GCC 12 sees an overlap in the library's own joining of strings.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
        $<$<BOOL:${MORVANTIC_WERROR}>:-Werror>)
endfunction()
