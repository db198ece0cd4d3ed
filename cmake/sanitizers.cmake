# Sanitizers hold for the whole build: mixing instrumented and plain code gives false reports.
if(MORVANTIC_SANITIZE)
    add_compile_options(-fsanitize=${MORVANTIC_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${MORVANTIC_SANITIZE})
endif()
