# What CPack packs: a .deb and a .tar.gz of the installed tree, stripped.

# Two files for people name the version too: they must not be forgotten.
foreach(pair IN ITEMS "CHANGELOG.md=## ${PROJECT_VERSION}\n" "packaging/changelog=(${PROJECT_VERSION}-")
    string(REPLACE "=" ";" pair "${pair}")
    list(GET pair 0 file)
    list(GET pair 1 expected)
    file(READ "${PROJECT_SOURCE_DIR}/${file}" text)
    string(FIND "${text}" "${expected}" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "${file} has no entry for version ${PROJECT_VERSION}")
    endif()
endforeach()

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME orlimbara-duckdb)
set(CPACK_PACKAGE_VENDOR "The orlimbara_duckdb maintainers")
set(CPACK_PACKAGE_CONTACT "${CPACK_PACKAGE_VENDOR} <maintainers@users.noreply.c-seed-e7ee7bd3.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
"The module gives the engine databases of DuckDB beside its own: SQL run
directly or through prepared statements, client and server cursors, backup
and restore, and five table procedures that read Parquet and DuckDB files.
.
It comes with orsql, a shell that loads it, with a small host library to try
it with, and with headers, a CMake package and examples for authors of hosts.")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_RESOURCE_FILE_README "${PROJECT_SOURCE_DIR}/README.md")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION database)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS libedit2) # the shell loads it by name
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}/bin")
get_target_property(duckdb DuckDB::duckdb IMPORTED_LOCATION)
get_filename_component(duckdb "${duckdb}" DIRECTORY)
list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${duckdb}")
# The libraries are the package's own: nothing else may take a dependency on them.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)

include(CPack)
