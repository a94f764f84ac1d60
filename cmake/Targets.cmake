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

# kivra_precompile_qt(NAME LIBRARIES... FOLDERS... HEADERS...): these headers, precompiled for all that is
# compiled with the flags of this folder and links at least these libraries; FOLDERS are libraries of which
# only the headers are found, for targets that link them and targets that do not. Parsing Qt's headers is a
# third of the program's compilation and half of a test's. In builds with tests only: sources include what
# they need all the same, as the other builds and clang-tidy show.
function(kivra_precompile_qt name)
    if(NOT KIVRA_TESTS OR KIVRA_FUZZERS)
        return()
    endif()
    cmake_parse_arguments(ARG "" "" "LIBRARIES;FOLDERS;HEADERS" ${ARGN})
    file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp CONTENT "")
    add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp)
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES})
    foreach(library ${ARG_FOLDERS})
        target_include_directories(${name} SYSTEM PRIVATE
            $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
    endforeach()
    target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
endfunction()

# kivra_precompile(TARGET NAME): lets a target start from those headers, where this build has them.
function(kivra_precompile target name)
    if(TARGET ${name})
        target_precompile_headers(${target} REUSE_FROM ${name})
    endif()
endfunction()

# kivra_add_test_library(NAME FILE...): a library of the tests, which the benchmarks use too.
function(kivra_add_test_library name)
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    kivra_precompile(${name} kivra_precompiled_tests)
endfunction()
