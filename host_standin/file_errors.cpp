#include "host_standin/file_errors.h"

#include "host/exceptions.h"
#include "host_standin/error_codes.h"

namespace orkit::standin {

void RaiseFileError(const std::string& inPath, std::string_view inWhat) {
    throw xException(error_code::kFileSystem, inPath.c_str(), std::string(inWhat).c_str());
}

void RaiseFileError(const std::string& inPath, std::string_view inWhat, const std::error_code& inCause) {
    RaiseFileError(inPath, std::string(inWhat) + ": " + inCause.message());
}

void RaiseFileError(const std::string& inPath, std::string_view inWhat, int inErrno) {
    RaiseFileError(inPath, inWhat, std::error_code(inErrno, std::generic_category()));
}

} // namespace orkit::standin
