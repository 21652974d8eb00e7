/// @file
/// The boundary between the table procedures and the host: opaque handles, two records, and a table of
/// functions.
///
/// The header is plain C (C99 and later) and also compiles as C++20. Layouts are fixed: every offset and size
/// that the other side relies on is asserted below.
///
/// Texts are byte strings in no particular encoding. A length that goes with a text counts bytes, and such a
/// text need not be zero-terminated; the texts inside the records are.
///
/// No function of this boundary, on either side, throws or lets an exception through.
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__cplusplus)
#define ORLIMBARA_API_ASSERT(condition, name) static_assert(condition, #name)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define ORLIMBARA_API_ASSERT(condition, name) _Static_assert(condition, #name)
#else
#define ORLIMBARA_API_ASSERT(condition, name) typedef char orlimbara_assert_##name[(condition) ? 1 : -1]
#endif

/// One call of the host into the module. The host passes it to `orlimbara_extension_init` and to every
/// callback; it is valid until that call returns.
typedef struct orlimbara_call_context* call_context;

/// A value of the host. A null handle stands for SQL NULL and for an argument that was left out.
typedef struct orlimbara_host_value* host_value;

/// A cursor of the host over the rows that a procedure returns. A null handle means failure.
typedef struct orlimbara_host_cursor* host_cursor;

/// The host's numbers for its kinds of values, as `value_type` reports them and the columns of a cursor
/// declare them.
enum host_type {
    HOST_TYPE_ARRAY = 1,
    HOST_TYPE_BOOL = 2,
    HOST_TYPE_BINARY = 3,
    HOST_TYPE_DATE = 4,
    HOST_TYPE_DATETIME = 5,
    HOST_TYPE_DOUBLE = 6,
    HOST_TYPE_INT64 = 7,
    HOST_TYPE_MONEY = 8,
    HOST_TYPE_NULL = 9,
    HOST_TYPE_TEXT = 10,
    HOST_TYPE_TIME = 11,
    HOST_TYPE_UINT64 = 12,
    HOST_TYPE_VARIANT = 13
};

/// A procedure. `arguments` holds one handle per argument (`argument_count` gives their number), each
/// possibly null; the host keeps them. Returns a cursor, which belongs to the host, or null after exactly one
/// `report_error`.
typedef host_cursor (*procedure_callback)(call_context context, const host_value* arguments);

/// The description of one procedure for `register_procedure`. The texts are zero-terminated and static; the
/// host copies the record.
typedef struct procedure_descriptor {
    const char* name;
    int32_t minimum_arguments;
    int32_t maximum_arguments;
    const char* signature;
    const char* description;
    uint64_t zero_32;
    uint64_t zero_40;
    procedure_callback callback;
} procedure_descriptor;

/// Frees the state behind a cursor and ignores a null state. The host calls it exactly once.
typedef void (*cursor_destroy)(call_context context, void* state);

/// Makes the value of one cell of the current row through `context`. `column` counts from 0. Returns a value
/// that belongs to the host; null for SQL NULL, and when there is no current row or no such column.
typedef host_value (*cursor_read_value)(call_context context, void* state, int32_t column);

/// Moves to a row, counted from 0. Returns 0 when positioned there, -1 otherwise.
typedef int32_t (*cursor_seek_row)(call_context context, void* state, int64_t row);

/// Moves to the next row; a fresh cursor stands before row 0. Returns 0 when positioned, -1 otherwise.
typedef int32_t (*cursor_next_row)(call_context context, void* state);

/// Returns the number of rows, which is known from the start.
typedef int64_t (*cursor_row_count)(call_context context, void* state);

/// A cursor whose rows the module holds. The record and the two arrays that it points to belong to the module
/// and stay valid until `destroy` is called. The host must not run two callbacks of one cursor at the same
/// time.
typedef struct cursor_descriptor {
    void* state;
    uint64_t zero_8;
    uint64_t column_count;
    const char* const* column_names;
    const int32_t* column_types;
    cursor_destroy destroy;
    cursor_read_value read_value;
    cursor_seek_row seek_row;
    cursor_next_row next_row;
    cursor_row_count row_count;
    uint64_t zero_80[7];
} cursor_descriptor;

/// A table entry that the module never calls.
typedef void (*procedure_api_reserved)(void);

/// The host's table of functions. An entry is known by its index; the table may have more entries than are
/// named here. It stays valid and unchanged as long as the module is loaded. An entry that makes a value
/// returns null when it can't.
///
/// The packed forms:
/// - date, 32 bits: bits 0 to 4 day, 5 to 8 month, 9 up year;
/// - time, 32 bits: bits 0 to 14 milliseconds, 15 to 20 seconds, 21 to 26 minutes, 27 up hours;
/// - datetime, 64 bits: date in the high 32 bits, time in the low 32 bits.
typedef struct procedure_api {
    procedure_api_reserved reserved_0[2];

    /// [2] Registers a procedure; copies the record. Returns 0 on success.
    int32_t (*register_procedure)(call_context context, const procedure_descriptor* descriptor);

    procedure_api_reserved reserved_3[3];

    /// [6] Returns the number of arguments of the current call.
    int32_t (*argument_count)(call_context context);

    procedure_api_reserved reserved_7[3];

    /// [10] Reports a failure of the current call. A cursor callback that fails reports it too, before it
    /// returns null or -1. The text need be valid only during this function.
    void (*report_error)(call_context context, const char* text, uint64_t length);

    procedure_api_reserved reserved_11[4];

    /// [15] Makes a cursor over rows given as a whole: `names` holds one zero-terminated text per column,
    /// `values` one array of `columns` values per row. The host copies the arrays and takes the values, even
    /// when it refuses. Returns 0 on success and writes the cursor to `out`.
    int32_t (*make_row_cursor)(call_context context, uint64_t columns, uint64_t rows,
                               const char* const* names, const host_value* const* values, host_cursor* out);

    procedure_api_reserved reserved_16[1];

    /// [17] Makes a cursor over callbacks. Returns 0 on success and writes the cursor to `out`; the state
    /// then belongs to the host until it calls `destroy`. On any other return the state stays with the
    /// caller.
    int32_t (*make_callback_cursor)(call_context context, const cursor_descriptor* descriptor,
                                    host_cursor* out);

    procedure_api_reserved reserved_18[2];

    /// [20] Makes a binary value of `length` bytes, which it copies. `zero` is always 0.
    host_value (*new_binary)(call_context context, const char* bytes, uint64_t length, uint64_t zero);

    /// [21] Makes a Boolean value, 0 for false.
    host_value (*new_bool)(call_context context, uint8_t value);

    /// [22] Makes a date value from a packed date.
    host_value (*new_date)(call_context context, uint32_t packed);

    /// [23] Makes a datetime value from a packed datetime.
    host_value (*new_datetime)(call_context context, uint64_t packed);

    /// [24] Makes a floating-point value.
    host_value (*new_double)(call_context context, double value);

    /// [25] Makes a signed integer value.
    host_value (*new_int64)(call_context context, int64_t value);

    procedure_api_reserved reserved_26[2];

    /// [28] Makes a text value of `length` bytes, which it copies. `zero` is always 0.
    host_value (*new_text)(call_context context, const char* bytes, uint64_t length, uint64_t zero);

    procedure_api_reserved reserved_29[1];

    /// [30] Makes a time value from a packed time.
    host_value (*new_time)(call_context context, uint32_t packed);

    /// [31] Makes an unsigned integer value.
    host_value (*new_uint64)(call_context context, uint64_t value);

    procedure_api_reserved reserved_32[1];

    /// [33] Returns non-zero when the value is SQL NULL.
    uint8_t (*value_is_null)(host_value value);

    /// [34] Returns the kind of a value, a number of `host_type`.
    int32_t (*value_type)(host_value value);

    /// [35] Returns the number of elements of an array value.
    int64_t (*array_size)(host_value value);

    /// [36] Returns an element of an array value, counted from 0; may be null. The array keeps it.
    host_value (*array_element)(host_value value, int64_t index);

    procedure_api_reserved reserved_37[5];

    /// [42] Returns the number in a value of kind int64.
    int64_t (*value_int64)(host_value value);

    procedure_api_reserved reserved_43[1];

    /// [44] Returns the number in a value of kind uint64.
    uint64_t (*value_uint64)(host_value value);

    /// [45] Returns the value's bytes as text and writes their number to `length`; null if the value has
    /// none. The bytes belong to the host and may change with its next function: copy them at once.
    const char* (*value_text)(call_context context, host_value value, uint64_t* length);
} procedure_api;

ORLIMBARA_API_ASSERT(sizeof(void*) == 8, pointer_size);
ORLIMBARA_API_ASSERT(sizeof(procedure_callback) == 8, function_pointer_size);

ORLIMBARA_API_ASSERT(offsetof(procedure_descriptor, name) == 0, procedure_name_offset);
ORLIMBARA_API_ASSERT(offsetof(procedure_descriptor, minimum_arguments) == 8, procedure_minimum_offset);
ORLIMBARA_API_ASSERT(offsetof(procedure_descriptor, maximum_arguments) == 12, procedure_maximum_offset);
ORLIMBARA_API_ASSERT(offsetof(procedure_descriptor, signature) == 16, procedure_signature_offset);
ORLIMBARA_API_ASSERT(offsetof(procedure_descriptor, description) == 24, procedure_description_offset);
ORLIMBARA_API_ASSERT(offsetof(procedure_descriptor, zero_32) == 32, procedure_zero_32_offset);
ORLIMBARA_API_ASSERT(offsetof(procedure_descriptor, zero_40) == 40, procedure_zero_40_offset);
ORLIMBARA_API_ASSERT(offsetof(procedure_descriptor, callback) == 48, procedure_callback_offset);
ORLIMBARA_API_ASSERT(sizeof(procedure_descriptor) == 56, procedure_descriptor_size);

ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, state) == 0, cursor_state_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, zero_8) == 8, cursor_zero_8_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, column_count) == 16, cursor_column_count_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, column_names) == 24, cursor_column_names_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, column_types) == 32, cursor_column_types_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, destroy) == 40, cursor_destroy_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, read_value) == 48, cursor_read_value_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, seek_row) == 56, cursor_seek_row_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, next_row) == 64, cursor_next_row_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, row_count) == 72, cursor_row_count_offset);
ORLIMBARA_API_ASSERT(offsetof(cursor_descriptor, zero_80) == 80, cursor_zero_80_offset);
ORLIMBARA_API_ASSERT(sizeof(cursor_descriptor) == 136, cursor_descriptor_size);

ORLIMBARA_API_ASSERT(offsetof(procedure_api, register_procedure) == 2 * 8, register_procedure_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, argument_count) == 6 * 8, argument_count_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, report_error) == 10 * 8, report_error_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, make_row_cursor) == 15 * 8, make_row_cursor_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, make_callback_cursor) == 17 * 8, make_callback_cursor_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, new_binary) == 20 * 8, new_binary_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, new_bool) == 21 * 8, new_bool_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, new_date) == 22 * 8, new_date_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, new_datetime) == 23 * 8, new_datetime_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, new_double) == 24 * 8, new_double_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, new_int64) == 25 * 8, new_int64_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, new_text) == 28 * 8, new_text_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, new_time) == 30 * 8, new_time_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, new_uint64) == 31 * 8, new_uint64_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, value_is_null) == 33 * 8, value_is_null_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, value_type) == 34 * 8, value_type_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, array_size) == 35 * 8, array_size_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, array_element) == 36 * 8, array_element_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, value_int64) == 42 * 8, value_int64_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, value_uint64) == 44 * 8, value_uint64_index);
ORLIMBARA_API_ASSERT(offsetof(procedure_api, value_text) == 45 * 8, value_text_index);
ORLIMBARA_API_ASSERT(sizeof(procedure_api) >= 46 * 8, procedure_api_size);

#undef ORLIMBARA_API_ASSERT

#ifdef __cplusplus
}
#endif
