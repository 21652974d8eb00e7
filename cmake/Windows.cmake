# Windows. Target "windows_sources" compiles the module's sources and host/, and links nothing. With
# ORLIMBARA_WINDOWS_DUCKDB, a folder of DuckDB's static libraries (scripts/windows.sh builds them), the host's
# library, the module and the example hosts are linked too.

set(ORLIMBARA_WINDOWS_DUCKDB "" CACHE PATH "Folder of DuckDB's static libraries for Windows")
if(ORLIMBARA_WINDOWS_DUCKDB)
    add_compile_definitions(DUCKDB_STATIC_BUILD)
endif()

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

if(NOT ORLIMBARA_WINDOWS_DUCKDB)
    return()
endif()

# Headers alone, the same for every system; their folder must not bring the build machine's others along.
foreach(header IN ITEMS rapidjson/rapidjson.h unicode/utf16.h)
    get_filename_component(name "${header}" DIRECTORY)
    find_path(${name}_folder "${header}" PATHS /usr/include /usr/local/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/roots/headers")
    file(CREATE_LINK "${${name}_folder}/${name}" "${CMAKE_BINARY_DIR}/roots/headers/${name}" SYMBOLIC)
endforeach()
add_library(RapidJSON::RapidJSON INTERFACE IMPORTED)
target_include_directories(RapidJSON::RapidJSON SYSTEM INTERFACE "${CMAKE_BINARY_DIR}/roots/headers")
set(ICU_INCLUDE_DIRS "${CMAKE_BINARY_DIR}/roots/headers")
find_package(Threads REQUIRED)
add_subdirectory(host_standin)
set_target_properties(OrShared_x64 PROPERTIES PREFIX "")

file(WRITE "${CMAKE_BINARY_DIR}/exports.def"
    "EXPORTS\n orlimbara_extension_bind_api\n orlimbara_extension_init\n")
file(GLOB duckdb "${ORLIMBARA_WINDOWS_DUCKDB}/*.a")
set(parts orlimbara_objects orlimbara_procedures orlimbara_duckdb_support)
list(TRANSFORM parts REPLACE "(.+)" "$<TARGET_FILE:\\1>" OUTPUT_VARIABLE archives)
file(WRITE "${CMAKE_BINARY_DIR}/nothing.cpp" "")
add_library(orlimbara_duckdb MODULE "${CMAKE_BINARY_DIR}/nothing.cpp" "${CMAKE_BINARY_DIR}/exports.def")
set_target_properties(orlimbara_duckdb PROPERTIES PREFIX "")
add_dependencies(orlimbara_duckdb orlimbara_extension ${parts})
target_link_libraries(orlimbara_duckdb PRIVATE
    -Wl,--whole-archive $<TARGET_FILE:orlimbara_extension> -Wl,--no-whole-archive
    -Wl,--start-group ${archives} ${duckdb} -Wl,--end-group
    OrShared_x64 ws2_32 rstrtmgr crypt32 bcrypt)

foreach(source IN ITEMS 1_smallest_host.cpp 2_values_and_variant.cpp 3_threads.cpp 4_c_host.c)
    get_filename_component(host "${source}" NAME_WE)
    add_executable(${host} "examples/host/${source}")
    target_include_directories(${host} PRIVATE tests/windows)
    target_link_libraries(${host} PRIVATE orlimbara_host_standin)
endforeach()
