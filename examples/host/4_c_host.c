/* A host in plain C with a procedure table of its own: reads the first rows of a Parquet file through the
 * module's procedure fetch_parquet.
 *
 *     c_host LIBDIR/orlimbara/orlimbara_duckdb.so FILE.parquet
 *
 * A real table serves many calls on many threads and never fails silently; this one serves one call at a
 * time, and ends the program when memory runs out. */

#include <dlfcn.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "host/procedure_api.h"

/* What the opaque handles of the boundary are in this host. */
struct orlimbara_host_value {
    int32_t type; /* of host_type */
    uint64_t bits;
    double number;
    char* text;
    uint64_t length;
};

struct orlimbara_host_cursor {
    cursor_descriptor descriptor;
};

struct orlimbara_call_context {
    int32_t argument_count;
    int failed;
};

static procedure_descriptor registered[16];
static int registered_count;

static void* allocate(size_t size) {
    void* memory = calloc(1, size);
    if (!memory) {
        fputs("error: no memory\n", stderr);
        exit(1);
    }
    return memory;
}

static host_value new_value(int32_t type, uint64_t bits) {
    host_value value = allocate(sizeof *value);
    value->type = type;
    value->bits = bits;
    return value;
}

static host_value new_bytes(int32_t type, const char* bytes, uint64_t length) {
    host_value value = new_value(type, 0);
    value->text = allocate(length + 1);
    memcpy(value->text, bytes, length);
    value->length = length;
    return value;
}

static void free_value(host_value value) {
    if (value) {
        free(value->text);
        free(value);
    }
}

/* The entries of the table that fetch_parquet needs. */

static int32_t register_procedure(call_context context, const procedure_descriptor* descriptor) {
    (void)context;
    if (registered_count == 16) {
        return -1;
    }
    registered[registered_count++] = *descriptor; /* its texts are static */
    return 0;
}

static int32_t argument_count(call_context context) { return context->argument_count; }

static void report_error(call_context context, const char* text, uint64_t length) {
    context->failed = 1;
    fprintf(stderr, "error: %.*s\n", (int)length, text);
}

static int32_t make_callback_cursor(call_context context, const cursor_descriptor* descriptor,
                                    host_cursor* out) {
    (void)context;
    *out = allocate(sizeof **out);
    (*out)->descriptor = *descriptor; /* the state is ours from now on, until destroy */
    return 0;
}

static host_value new_binary(call_context context, const char* bytes, uint64_t length, uint64_t zero) {
    (void)context, (void)zero;
    return new_bytes(HOST_TYPE_BINARY, bytes, length);
}

static host_value new_text(call_context context, const char* bytes, uint64_t length, uint64_t zero) {
    (void)context, (void)zero;
    return new_bytes(HOST_TYPE_TEXT, bytes, length);
}

static host_value new_bool(call_context context, uint8_t value) {
    (void)context;
    return new_value(HOST_TYPE_BOOL, value != 0);
}

static host_value new_date(call_context context, uint32_t packed) {
    (void)context;
    return new_value(HOST_TYPE_DATE, packed);
}

static host_value new_time(call_context context, uint32_t packed) {
    (void)context;
    return new_value(HOST_TYPE_TIME, packed);
}

static host_value new_datetime(call_context context, uint64_t packed) {
    (void)context;
    return new_value(HOST_TYPE_DATETIME, packed);
}

static host_value new_int64(call_context context, int64_t value) {
    (void)context;
    return new_value(HOST_TYPE_INT64, (uint64_t)value);
}

static host_value new_uint64(call_context context, uint64_t value) {
    (void)context;
    return new_value(HOST_TYPE_UINT64, value);
}

static host_value new_double(call_context context, double number) {
    host_value value = new_value(HOST_TYPE_DOUBLE, 0);
    (void)context;
    value->number = number;
    return value;
}

static uint8_t value_is_null(host_value value) { return value->type == HOST_TYPE_NULL; }
static int32_t value_type(host_value value) { return value->type; }
static int64_t value_int64(host_value value) { return (int64_t)value->bits; }
static uint64_t value_uint64(host_value value) { return value->bits; }

static int64_t array_size(host_value value) {
    (void)value;
    return 0; /* this host has no arrays */
}

static host_value array_element(host_value value, int64_t index) {
    (void)value, (void)index;
    return NULL;
}

static const char* value_text(call_context context, host_value value, uint64_t* length) {
    (void)context;
    *length = value->length;
    return value->text;
}

/* Entries that are not named here stay null: the module never calls them. */
static const procedure_api table = {
    .register_procedure = register_procedure,
    .argument_count = argument_count,
    .report_error = report_error,
    .make_callback_cursor = make_callback_cursor,
    .new_binary = new_binary,
    .new_bool = new_bool,
    .new_date = new_date,
    .new_datetime = new_datetime,
    .new_double = new_double,
    .new_int64 = new_int64,
    .new_text = new_text,
    .new_time = new_time,
    .new_uint64 = new_uint64,
    .value_is_null = value_is_null,
    .value_type = value_type,
    .array_size = array_size,
    .array_element = array_element,
    .value_int64 = value_int64,
    .value_uint64 = value_uint64,
    .value_text = value_text,
};

static void print_value(host_value value) {
    const uint64_t bits = value ? value->bits : 0;
    const uint32_t date = (uint32_t)(value && value->type == HOST_TYPE_DATETIME ? bits >> 32 : bits);
    const uint32_t time = (uint32_t)bits;
    switch (value ? value->type : HOST_TYPE_NULL) {
    case HOST_TYPE_NULL:
        printf("NULL");
        break;
    case HOST_TYPE_BOOL:
        printf("%s", bits ? "true" : "false");
        break;
    case HOST_TYPE_INT64:
        printf("%" PRId64, (int64_t)bits);
        break;
    case HOST_TYPE_UINT64:
        printf("%" PRIu64, bits);
        break;
    case HOST_TYPE_DOUBLE:
        printf("%g", value->number);
        break;
    case HOST_TYPE_TEXT:
        printf("%.*s", (int)value->length, value->text);
        break;
    case HOST_TYPE_DATE:
        printf("%04u-%02u-%02u", date >> 9, date >> 5 & 15, date & 31);
        break;
    case HOST_TYPE_TIME:
        printf("%02u:%02u:%02u", time >> 27, time >> 21 & 63, time >> 15 & 63);
        break;
    case HOST_TYPE_DATETIME:
        printf("%04u-%02u-%02u %02u:%02u:%02u", date >> 9, date >> 5 & 15, date & 31, time >> 27,
               time >> 21 & 63, time >> 15 & 63);
        break;
    default:
        printf("(%" PRIu64 " bytes)", value->length);
        break;
    }
}

static void print_cursor(call_context context, host_cursor cursor) {
    const cursor_descriptor* rows = &cursor->descriptor;
    for (uint64_t column = 0; column < rows->column_count; ++column) {
        printf("%s%s", column ? "\t" : "", rows->column_names[column]);
    }
    while (rows->next_row(context, rows->state) == 0) {
        for (uint64_t column = 0; column < rows->column_count; ++column) {
            host_value value = rows->read_value(context, rows->state, (int32_t)column);
            printf("%s", column ? "\t" : "\n");
            print_value(value);
            free_value(value);
        }
    }
    printf("\n%" PRId64 " rows\n", rows->row_count(context, rows->state));
    rows->destroy(context, rows->state);
    free(cursor);
}

/* fetch_parquet(path, NULL, NULL, 3): all columns, no condition, three rows. */
static int read_parquet(const char* path) {
    struct orlimbara_call_context call = {4, 0};
    host_value arguments[4] = {new_bytes(HOST_TYPE_TEXT, path, strlen(path)), NULL, NULL,
                               new_value(HOST_TYPE_INT64, 3)};
    host_cursor cursor = NULL;
    for (int i = 0; i < registered_count; ++i) {
        if (strcmp(registered[i].name, "fetch_parquet") == 0) {
            cursor = registered[i].callback(&call, arguments);
        }
    }
    free_value(arguments[0]);
    free_value(arguments[3]);
    if (cursor) {
        print_cursor(&call, cursor);
    }
    return cursor ? 0 : 1;
}

int main(int count, char** arguments) {
    struct orlimbara_call_context start = {0, 0};
    void (*bind_api)(const procedure_api*);
    void (*init)(call_context);
    void* module;
    if (count != 3) {
        fputs("usage: c_host MODULE FILE.parquet\n", stderr);
        return 2;
    }
    module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        fprintf(stderr, "error: %s\n", dlerror());
        return 1;
    }
    *(void**)&bind_api = dlsym(module, "orlimbara_extension_bind_api");
    *(void**)&init = dlsym(module, "orlimbara_extension_init");
    bind_api(&table);
    init(&start);
    return start.failed ? 1 : read_parquet(arguments[2]);
}
