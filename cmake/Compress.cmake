find_program(KIVRA_GZIP gzip)
mark_as_advanced(KIVRA_GZIP)
if(NOT KIVRA_GZIP)
    kivra_missing(gzip gzip)
endif()

# kivra_compress(SOURCE TARGET): compresses SOURCE into TARGET while CMake configures. Stores neither name nor
# time, so the same content gives the same bytes.
function(kivra_compress source target)
    execute_process(COMMAND ${KIVRA_GZIP} -9 -n -c ${source} OUTPUT_FILE ${target}
        RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "gzip fails on ${source}.")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
endfunction()
