# Warnings and instrumentation, for every target of the tree.

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wdouble-promotion
                        -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-align
                        -Wformat=2)
    if(KIVRA_WARNINGS_AS_ERRORS)
        add_compile_options(-Werror)
    endif()
endif()
if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(KIVRA_CCACHE ccache)
    mark_as_advanced(KIVRA_CCACHE)
    if(KIVRA_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${KIVRA_CCACHE})
    endif()
endif()

# Paths inside the binaries would differ from one build folder to the next.
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)

# Text takes its meaning from where it stands: no silent conversion from bytes in another encoding,
# no implicit QString from a number, and iteration that cannot detach by accident.
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH
                        QT_STRICT_ITERATORS)

if(KIVRA_SANITIZE)
    add_compile_options(-fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined,float-cast-overflow)
endif()
if(KIVRA_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
