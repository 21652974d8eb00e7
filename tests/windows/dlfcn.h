/// @file
/// The calls of the POSIX loader that the example hosts make, on Windows.
#pragma once

#include <stdio.h>

#include <windows.h>
#undef CreateFile // a function of the host has this name

#define RTLD_NOW 0
#define RTLD_LOCAL 0

static inline void* dlopen(const char* inPath, int inFlags) {
    (void)inFlags;
    return (void*)LoadLibraryA(inPath);
}
static inline void* dlsym(void* inModule, const char* inName) {
    return (void*)GetProcAddress((HMODULE)inModule, inName);
}
static inline const char* dlerror(void) {
    static char text[48];
    snprintf(text, sizeof text, "can't load the module: error %lu", GetLastError());
    return text;
}
