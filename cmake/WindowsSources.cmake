# The module's sources and host/ for Windows, compiled and not linked: there is no host library and no DuckDB to
# link with. Target "windows_sources" builds them all.

foreach(folder IN ITEMS host object_support duckdb_support extension database statement result procedures)
    add_subdirectory(${folder})
endforeach()

# Each header of host/ by itself, with the same warnings.
file(GLOB headers CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/host/*.h")
foreach(header IN LISTS headers)
    string(MAKE_C_IDENTIFIER "${header}" name)
    set(source "${CMAKE_BINARY_DIR}/headers/${name}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${header}\"\n")
    list(APPEND header_sources "${source}")
endforeach()
file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/headers/plain_c.c" CONTENT "#include \"host/procedure_api.h\"\nint nothing;\n")
add_library(host_headers STATIC ${header_sources} "${CMAKE_BINARY_DIR}/headers/plain_c.c")
target_link_libraries(host_headers PRIVATE orlimbara_host orlimbara_warnings)

add_custom_target(windows_sources DEPENDS
    host_headers orlimbara_extension orlimbara_objects orlimbara_procedures orlimbara_duckdb_support)
