# Warnings and instrumentation, for every target of the tree.

# The picture operations use GCC's and Clang's pragmas and attributes for vector code.
if(NOT CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    message(FATAL_ERROR "Kivra is compiled by GCC or Clang, on Windows too; this is another compiler.")
endif()
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wdouble-promotion
                    -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-align
                    -Wformat=2)
# In a unity build, GCC takes the included sources for headers.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_compile_options(-Wno-subobject-linkage)
endif()
if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(KIVRA_CCACHE ccache)
    mark_as_advanced(KIVRA_CCACHE)
    if(KIVRA_CCACHE)
        # Without the sloppiness, ccache does not cache sources that use precompiled headers. The compiler lists
        # the headers for Ninja anyway, so the preprocessor need not run for ccache too.
        set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_DEPEND=1
            CCACHE_SLOPPINESS=pch_defines,time_macros ${KIVRA_CCACHE})
        if(KIVRA_TESTS AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
            add_compile_options(-fpch-preprocess)
        endif()
    endif()
endif()

# What nobody ships, the tests and all that the sanitizers watch, is linked in a fifth of the time.
if(KIVRA_TESTS)
    find_program(KIVRA_MOLD mold)
    mark_as_advanced(KIVRA_MOLD)
    if(KIVRA_MOLD)
        set(KIVRA_QUICK_LINKER -fuse-ld=mold)
    endif()
endif()

# Without these, the binaries would contain the paths of the build folder. gcov must find what moc has made
# there; otherwise gcovr leaves out all sources that are compiled with it.
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(NOT KIVRA_COVERAGE)
    add_compile_options(-ffile-prefix-map=${CMAKE_BINARY_DIR}/=build/)
endif()

# What users run is hardened: a write past a buffer on the stack ends the program, tables of addresses are
# read-only, and the program is loaded at random addresses.
if(CMAKE_SYSTEM_NAME STREQUAL Linux)
    include(CheckPIESupported)
    check_pie_supported(LANGUAGES CXX)
    add_link_options(LINKER:-z,relro,-z,now)
    if(NOT KIVRA_SANITIZE)
        set(released $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
        list(APPEND KIVRA_PROGRAM_OPTIONS $<${released}:-fstack-protector-strong>
             $<${released}:-fstack-clash-protection> $<${released}:-D_FORTIFY_SOURCE=2>)
    endif()
endif()

# Text becomes bytes or a URL only where a source says so, and iterating over a container neither copies nor
# detaches it by accident.
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH
                        QT_STRICT_ITERATORS)

if(KIVRA_SANITIZE OR KIVRA_SANITIZE_THREADS)
    add_compile_options(-fno-omit-frame-pointer)
    add_link_options(${KIVRA_QUICK_LINKER})
endif()
if(KIVRA_SANITIZE)
    list(APPEND KIVRA_PROGRAM_OPTIONS -fsanitize=address,undefined,float-cast-overflow
         -fno-sanitize-recover=all)
    add_link_options(-fsanitize=address,undefined,float-cast-overflow)
endif()
if(KIVRA_SANITIZE_THREADS)
    add_compile_options(-fsanitize=thread)
    add_link_options(-fsanitize=thread)
endif()
if(KIVRA_COVERAGE)
    list(APPEND KIVRA_PROGRAM_OPTIONS --coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()

# Not for the tests (tests/CMakeLists.txt).
add_compile_options(${KIVRA_PROGRAM_OPTIONS})
