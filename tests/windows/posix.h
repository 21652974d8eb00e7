/// @file
/// The calls of POSIX that the tests make, on Windows: included before each of their sources.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <direct.h>

inline int setenv(const char* inName, const char* inValue, int) { return _putenv_s(inName, inValue); }
inline char* mkdtemp(char* ioPattern) {
    for (static long number = std::clock();; ++number) {
        std::snprintf(ioPattern + std::strlen(ioPattern) - 6, 7, "%06ld", number % 1'000'000);
        if (_mkdir(ioPattern) == 0 || errno != EEXIST) {
            return ioPattern;
        }
    }
}
