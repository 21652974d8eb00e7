/* The header of the boundary as plain C sees it, and a procedure written against it. */
#include "host/procedure_api.h"

host_cursor count_arguments_in_c(const procedure_api* api, call_context context, const host_value* arguments);

/* Reports one letter per argument: "-" for none or NULL, "a" for an array, "t" for the rest. */
host_cursor count_arguments_in_c(const procedure_api* api, call_context context,
                                 const host_value* arguments) {
    char text[8];
    int32_t count = api->argument_count(context);
    int32_t index;
    for (index = 0; index < count && index < (int32_t)sizeof text; ++index) {
        host_value value = arguments[index];
        if (value == NULL || api->value_is_null(value)) {
            text[index] = '-';
        } else {
            text[index] = api->value_type(value) == HOST_TYPE_ARRAY ? 'a' : 't';
        }
    }
    api->report_error(context, text, (uint64_t)count);
    return NULL;
}
