# How a room's library is declared.

# Every header is included with its room, such as "video/videosurface.h". Each must compile alone: a header
# with a source of the same name is included first there (scripts/lint checks that); the target
# all_verify_interface_header_sets compiles the others.
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

# kivra_precompile_qt(NAME LIBRARIES... FOLDERS... HEADERS...): precompiles these headers for all targets that
# have this folder's flags and link at least these libraries. Of FOLDERS, also libraries, only the include
# folders are used, so a target need not link them. Parsing Qt's headers is a third of the program's
# compilation and half of a test's. Only in builds with tests: sources must still include what they need,
# which the other builds and clang-tidy check.
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

# kivra_precompile(TARGET NAME): lets a target use those precompiled headers, if this build has them.
function(kivra_precompile target name)
    if(TARGET ${name})
        target_precompile_headers(${target} REUSE_FROM ${name})
    endif()
endfunction()

# kivra_add_test_library(NAME FILE...): a library for tests and benchmarks.
function(kivra_add_test_library name)
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    kivra_precompile(${name} kivra_precompiled_tests)
endfunction()
