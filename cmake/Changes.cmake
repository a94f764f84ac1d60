# Reads from CHANGELOG.md the day of this version, KIVRA_RELEASE_DATE, as YYYY-MM-DD.

set(changelog ${CMAKE_SOURCE_DIR}/CHANGELOG.md)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${changelog})
file(READ ${changelog} changes)
string(REPLACE . "\\." version ${PROJECT_VERSION})
if(NOT changes MATCHES "\n## ${version} \\(([0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9])\\)\n\n")
    message(FATAL_ERROR "CHANGELOG.md has no heading \"## ${PROJECT_VERSION} (<year>-<month>-<day>)\".")
endif()
set(KIVRA_RELEASE_DATE ${CMAKE_MATCH_1})
