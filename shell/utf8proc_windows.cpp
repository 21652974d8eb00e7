// The two functions of utf8proc that the shell calls, from the copy in DuckDB's libraries: Windows has no
// other.
#include <utf8proc.h>

namespace duckdb {

utf8proc_ssize_t utf8proc_iterate(const utf8proc_uint8_t* inText, utf8proc_ssize_t inLength,
                                  utf8proc_int32_t* outCodePoint);
int utf8proc_charwidth(utf8proc_int32_t inCodePoint);

} // namespace duckdb

extern "C" {

utf8proc_ssize_t utf8proc_iterate(const utf8proc_uint8_t* inText, utf8proc_ssize_t inLength,
                                  utf8proc_int32_t* outCodePoint) {
    return duckdb::utf8proc_iterate(inText, inLength, outCodePoint);
}

int utf8proc_charwidth(utf8proc_int32_t inCodePoint) { return duckdb::utf8proc_charwidth(inCodePoint); }

} // extern "C"
