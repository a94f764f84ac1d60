# How a room's library is declared.

# Folders of headers are those of the targets: every header is included by its room, such as
# "video/videosurface.h". A header with a source of its name is proven to need nothing else by that
# source, which includes it first (scripts/lint checks the order); the others are compiled alone by the
# target all_verify_interface_header_sets.
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)

# kivra_add_library(NAME KIND FILE...): a library of this kind (STATIC, OBJECT) from sources and headers.
function(kivra_add_library name kind)
    add_library(${name} ${kind} ${ARGN})
    set(alone ${ARGN})
    list(FILTER alone INCLUDE REGEX "\\.h$")
    foreach(header ${alone})
        string(REGEX REPLACE "\\.h$" ".cpp" source ${header})
        if(source IN_LIST ARGN)
            list(REMOVE_ITEM alone ${header})
        endif()
    endforeach()
    if(alone)
        target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${alone})
    endif()
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
endfunction()

# kivra_precompile(TARGET): lets a target of the tests start from precompiled headers, where this
# build has any (tests/CMakeLists.txt).
function(kivra_precompile target)
    if(TARGET kivra_precompiled)
        target_precompile_headers(${target} REUSE_FROM kivra_precompiled)
    endif()
endfunction()

# kivra_add_test_library(NAME FILE...): a library of the tests, which the benchmarks use too.
function(kivra_add_test_library name)
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    kivra_precompile(${name})
endfunction()
