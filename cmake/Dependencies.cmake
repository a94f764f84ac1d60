# Finds the libraries that the program needs. If one is missing, stops with one sentence that names the Debian
# package to install.

function(kivra_missing what package)
    message(FATAL_ERROR "${what} is missing: install the Debian package ${package}.")
endfunction()

# QUIET, because Qt's own message for a missing module is a page long.
macro(kivra_find_qt module package)
    find_package(Qt5${module} 5.15 QUIET)
    if(NOT Qt5${module}_FOUND)
        kivra_missing("Qt 5.15 (${module})" ${package})
    endif()
endmacro()

kivra_find_qt(Core qtbase5-dev)
kivra_find_qt(Gui qtbase5-dev)
kivra_find_qt(Widgets qtbase5-dev)
kivra_find_qt(Multimedia qtmultimedia5-dev)
if(KIVRA_TESTS OR KIVRA_BENCHMARKS)
    kivra_find_qt(Test qtbase5-dev)
endif()

find_package(Threads REQUIRED)

# Debian has OpenCV's configuration file only in the full development package, which pulls in hundreds of
# packages that this program never uses; without that file, this finds the two modules.
function(kivra_find_opencv_module module package)
    if(TARGET opencv_${module})
        return()
    endif()
    find_path(KIVRA_OPENCV_${module}_INCLUDE_DIR opencv2/${module}.hpp PATH_SUFFIXES opencv4)
    find_library(KIVRA_OPENCV_${module}_LIBRARY opencv_${module})
    mark_as_advanced(KIVRA_OPENCV_${module}_INCLUDE_DIR KIVRA_OPENCV_${module}_LIBRARY)
    if(NOT KIVRA_OPENCV_${module}_INCLUDE_DIR OR NOT KIVRA_OPENCV_${module}_LIBRARY)
        kivra_missing("OpenCV 4 (${module})" ${package})
    endif()
    add_library(opencv_${module} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(opencv_${module} PROPERTIES
        IMPORTED_LOCATION ${KIVRA_OPENCV_${module}_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${KIVRA_OPENCV_${module}_INCLUDE_DIR})
endfunction()

find_package(OpenCV 4 QUIET COMPONENTS core imgproc)
kivra_find_opencv_module(core libopencv-core-dev)
kivra_find_opencv_module(imgproc libopencv-imgproc-dev)

# For libraries without a CMake configuration file: kivra_find_library(NAME HEADER PACKAGE) makes the target
# NAME.
function(kivra_find_library name header package)
    find_path(KIVRA_${name}_INCLUDE_DIR ${header})
    find_library(KIVRA_${name}_LIBRARY ${name})
    mark_as_advanced(KIVRA_${name}_INCLUDE_DIR KIVRA_${name}_LIBRARY)
    if(NOT KIVRA_${name}_INCLUDE_DIR OR NOT KIVRA_${name}_LIBRARY)
        kivra_missing("${header}" ${package})
    endif()
    add_library(${name} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(${name} PROPERTIES
        IMPORTED_LOCATION ${KIVRA_${name}_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${KIVRA_${name}_INCLUDE_DIR})
endfunction()

# For reading cameras on Linux, and for confining the decoder program.
if(CMAKE_SYSTEM_NAME STREQUAL Linux)
    kivra_find_library(seccomp seccomp.h libseccomp-dev)
    kivra_find_library(yuv libyuv/row.h libyuv-dev)
    kivra_find_library(jpeg jpeglib.h libjpeg62-turbo-dev)
    kivra_find_library(turbojpeg turbojpeg.h libturbojpeg0-dev)
endif()

# For kivra-rendu, where it is built: documents, and the notes in its pictures.
if(UNIX AND NOT APPLE)
    kivra_find_library(hpdf hpdf.h libhpdf-dev)
    kivra_find_library(z zlib.h zlib1g-dev)
endif()
