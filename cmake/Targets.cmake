# How a room's library is declared, and the precompiled headers of the test builds.

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
    kivra_precompile(${name} kivra_precompiled)
endfunction()

# kivra_add_test_library(NAME FILE...): a library of the tests, which benchmarks use too.
function(kivra_add_test_library name)
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    kivra_precompile(${name} kivra_precompiled_tests)
endfunction()

# kivra_precompile(TARGET PRECOMPILED): lets the target start from the headers of that library, where
# this build precompiles any.
function(kivra_precompile target precompiled)
    if(TARGET ${precompiled})
        target_precompile_headers(${target} REUSE_FROM ${precompiled})
    endif()
endfunction()

# kivra_add_precompiled(NAME HEADER...): what kivra_precompile() names. Parsing Qt's headers is most of a
# compilation; sources include what they need all the same, as other builds show. Qt's macros for its
# modules are left to the users of these headers, who do not all link the same modules.
function(kivra_add_precompiled name)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
    file(GENERATE OUTPUT ${source} CONTENT "")
    add_library(${name} OBJECT ${source})
    foreach(module Qt5::Multimedia Qt5::Widgets)
        target_include_directories(${name} SYSTEM PRIVATE
            $<TARGET_PROPERTY:${module},INTERFACE_INCLUDE_DIRECTORIES>)
    endforeach()
    target_link_libraries(${name} PRIVATE Qt5::Core)
    target_precompile_headers(${name} PRIVATE ${ARGN})
    set_target_properties(${name} PROPERTIES AUTOMOC OFF AUTOUIC OFF)
endfunction()

if(KIVRA_PRECOMPILE)
    kivra_add_precompiled(kivra_precompiled <QtMultimedia> <QtWidgets> <algorithm> <memory> <vector>)
endif()
