# Carried by every target of the project, and by none of its users.
add_library(zevrin_warnings INTERFACE)
target_compile_options(zevrin_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(ZEVRIN_WERROR)
    target_compile_options(zevrin_warnings INTERFACE -Werror)
endif()
