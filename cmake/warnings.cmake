# Warnings for our own targets only; errors where a preset asks for it, never in a plain build.
function(mvx_enable_warnings target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
        $<$<BOOL:${MORVANTIC_WERROR}>:-Werror>)
endfunction()
