# FLIGHTS_PARQUET: the three million flights that tests and benchmarks read. "make setup" fetches them.
if(ORLIMBARA_DEPS)
    get_filename_component(flights "${ORLIMBARA_DEPS}/data/flights-3m.parquet" ABSOLUTE
        BASE_DIR "${PROJECT_SOURCE_DIR}")
else()
    set(flights "${PROJECT_SOURCE_DIR}/.deps/data/flights-3m.parquet")
endif()
set(FLIGHTS_PARQUET "${flights}" CACHE FILEPATH "Parquet file of three million flights")
