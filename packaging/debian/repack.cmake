# Runs after CPack, whose Installed-Size counts folders as the build's file system stores them, so packages of
# the same content would differ. Packs each again with the size that Debian's policy defines: every file
# rounded up to a KiB, and a KiB for anything else.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    set(tree ${CPACK_TEMPORARY_DIRECTORY}/repacked)
    file(REMOVE_RECURSE ${tree})
    execute_process(COMMAND dpkg-deb --raw-extract ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)

    set(size 0)
    file(GLOB_RECURSE entries LIST_DIRECTORIES true ${tree}/usr/*)
    foreach(entry IN LISTS entries)
        set(bytes 1)
        if(NOT IS_DIRECTORY ${entry} AND NOT IS_SYMLINK ${entry})
            file(SIZE ${entry} bytes)
        endif()
        math(EXPR size "${size} + (${bytes} + 1023) / 1024")
    endforeach()

    file(READ ${tree}/DEBIAN/control control)
    string(REGEX REPLACE "Installed-Size: [0-9]+" "Installed-Size: ${size}" control "${control}")
    file(WRITE ${tree}/DEBIAN/control "${control}")
    execute_process(
        COMMAND dpkg-deb --root-owner-group -Zxz --threads-max=1 --build ${tree} ${package}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${tree})
endforeach()
