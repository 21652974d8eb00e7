# What "cmake --install" and the packages hold. All of it finds the rest by relative paths, so that the tree
# can be moved and any prefix works.
#
#   bin/orsql
#   LIBDIR/orlimbara/            the module, the host's library and DuckDB: private, no public library folder
#   LIBDIR/cmake/orlimbara_duckdb/, LIBDIR/pkgconfig/orlimbara_duckdb.pc
#   include/orlimbara_duckdb/    host/, and of host_standin/ what a host author may try things with
#   share/man, share/bash-completion, share/doc/orlimbara-duckdb

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(private_libdir "${CMAKE_INSTALL_LIBDIR}/orlimbara")
set(package_includedir "${CMAKE_INSTALL_INCLUDEDIR}/orlimbara_duckdb")
set(package_cmakedir "${CMAKE_INSTALL_LIBDIR}/cmake/orlimbara_duckdb")
set(package_docdir "${CMAKE_INSTALL_DATAROOTDIR}/doc/orlimbara-duckdb")

# From the program's folder to the private libraries.
file(RELATIVE_PATH ORLIMBARA_BIN_TO_LIB "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}/orlimbara")

function(orlimbara_install)
    set_target_properties(orlimbara_duckdb OrShared_x64 PROPERTIES INSTALL_RPATH "$ORIGIN")
    set_target_properties(orsql PROPERTIES INSTALL_RPATH "$ORIGIN/${ORLIMBARA_BIN_TO_LIB}")

    # The names of the package's targets. Who links orlimbara::host gets the headers and the host's library.
    set_target_properties(orlimbara_host PROPERTIES EXPORT_NAME host_headers)
    set_target_properties(OrShared_x64 PROPERTIES EXPORT_NAME host)
    set_target_properties(orlimbara_procedure_api PROPERTIES EXPORT_NAME procedure_api)
    set_target_properties(orlimbara_duckdb PROPERTIES EXPORT_NAME module)
    foreach(target IN ITEMS orlimbara_host orlimbara_procedure_api)
        target_include_directories(${target} INTERFACE "$<INSTALL_INTERFACE:${package_includedir}>")
    endforeach()

    install(TARGETS orsql RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
    install(TARGETS orlimbara_host orlimbara_procedure_api OrShared_x64 orlimbara_duckdb
        EXPORT orlimbara_duckdb
        LIBRARY DESTINATION "${private_libdir}")

    get_target_property(duckdb DuckDB::duckdb IMPORTED_LOCATION)
    get_filename_component(name "${duckdb}" NAME)
    file(REAL_PATH "${duckdb}" duckdb)
    install(FILES "${duckdb}" DESTINATION "${private_libdir}" RENAME "${name}")
    # CMake strips what it built itself.
    install(CODE "
        if(CMAKE_INSTALL_DO_STRIP)
            execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-unneeded
                \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${private_libdir}/${name}\" COMMAND_ERROR_IS_FATAL ANY)
        endif()")

    install(DIRECTORY host DESTINATION "${package_includedir}" FILES_MATCHING PATTERN "*.h")
    install(FILES host_standin/date_text.h host_standin/locations.h host_standin/procedure_table.h
        DESTINATION "${package_includedir}/host_standin")

    install(EXPORT orlimbara_duckdb
        DESTINATION "${package_cmakedir}"
        NAMESPACE orlimbara::
        FILE orlimbara_duckdbTargets.cmake)
    configure_package_config_file(cmake/orlimbara_duckdbConfig.cmake.in
        "${CMAKE_BINARY_DIR}/package/orlimbara_duckdbConfig.cmake"
        INSTALL_DESTINATION "${package_cmakedir}")
    # Objects cross the boundary by their layout: another major or minor version is another boundary.
    write_basic_package_version_file("${CMAKE_BINARY_DIR}/package/orlimbara_duckdbConfigVersion.cmake"
        COMPATIBILITY SameMinorVersion)
    install(FILES
        "${CMAKE_BINARY_DIR}/package/orlimbara_duckdbConfig.cmake"
        "${CMAKE_BINARY_DIR}/package/orlimbara_duckdbConfigVersion.cmake"
        DESTINATION "${package_cmakedir}")

    file(RELATIVE_PATH pc_to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
    configure_file(cmake/orlimbara_duckdb.pc.in "${CMAKE_BINARY_DIR}/package/orlimbara_duckdb.pc" @ONLY)
    install(FILES "${CMAKE_BINARY_DIR}/package/orlimbara_duckdb.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

    # Compressed as distributions want it, without a time, so that two builds give the same bytes.
    find_program(GZIP_PROGRAM gzip REQUIRED)
    foreach(pair IN ITEMS "docs/orsql.1=orsql.1" "packaging/changelog=changelog.Debian")
        string(REPLACE "=" ";" pair "${pair}")
        list(GET pair 0 source)
        list(GET pair 1 packed)
        set(packed "${CMAKE_BINARY_DIR}/package/${packed}.gz")
        add_custom_command(OUTPUT "${packed}"
            COMMAND "${GZIP_PROGRAM}" -9nc "${PROJECT_SOURCE_DIR}/${source}" > "${packed}"
            DEPENDS "${PROJECT_SOURCE_DIR}/${source}"
            VERBATIM)
        list(APPEND packed_files "${packed}")
    endforeach()
    add_custom_target(package_files ALL DEPENDS ${packed_files})
    install(FILES "${CMAKE_BINARY_DIR}/package/orsql.1.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
    install(FILES shell/completion/orsql.bash RENAME orsql
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions")
    install(FILES README.md CHANGELOG.md packaging/copyright "${CMAKE_BINARY_DIR}/package/changelog.Debian.gz"
        DESTINATION "${package_docdir}")
    install(DIRECTORY docs DESTINATION "${package_docdir}"
        FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
    install(DIRECTORY examples DESTINATION "${package_docdir}" PATTERN "build" EXCLUDE)
endfunction()
