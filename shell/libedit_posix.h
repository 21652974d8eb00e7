/// @file
/// libedit, loaded at its first call: only an interactive session needs it, and every library that the
/// program starts with makes the loading of the module slower.
#pragma once

#include <string>

#include <dlfcn.h>
#include <histedit.h>

#include "shell/failure.h"

namespace orlimbara::shell::libedit {

/// A function of libedit. Throws ShellError if the library can't be loaded.
template <class Function>
class Loaded {
public:
    explicit Loaded(const char* inName) : mName(inName) {}
    template <class... Arguments>
    auto operator()(Arguments... inArguments) const {
        return get_Address()(inArguments...);
    }
    Function* get_Address() const {
        if (!mFunction) {
            void* const library = dlopen(ORSQL_LIBEDIT, RTLD_NOW | RTLD_LOCAL);
            void* const function = library ? dlsym(library, mName) : nullptr;
            if (!function) {
                throw ShellError(std::string("can't load the line editor: ") + dlerror());
            }
            mFunction = reinterpret_cast<Function*>(function);
        }
        return mFunction;
    }

private:
    const char* mName;
    mutable Function* mFunction = nullptr;
};

inline const Loaded<decltype(::el_cursor)> el_cursor("el_cursor");
inline const Loaded<decltype(::el_deletestr)> el_deletestr("el_deletestr");
inline const Loaded<decltype(::el_end)> el_end("el_end");
inline const Loaded<decltype(::el_get)> el_get("el_get");
inline const Loaded<decltype(::el_gets)> el_gets("el_gets");
inline const Loaded<decltype(::el_init)> el_init("el_init");
inline const Loaded<decltype(::el_insertstr)> el_insertstr("el_insertstr");
inline const Loaded<decltype(::el_line)> el_line("el_line");
inline const Loaded<decltype(::el_push)> el_push("el_push");
inline const Loaded<decltype(::el_reset)> el_reset("el_reset");
inline const Loaded<decltype(::el_resize)> el_resize("el_resize");
inline const Loaded<decltype(::el_set)> el_set("el_set");
inline const Loaded<decltype(::el_source)> el_source("el_source");
inline const Loaded<decltype(::el_winsertstr)> el_winsertstr("el_winsertstr");
inline const Loaded<decltype(::el_wset)> el_wset("el_wset");
inline const Loaded<decltype(::history)> history("history");
inline const Loaded<decltype(::history_end)> history_end("history_end");
inline const Loaded<decltype(::history_init)> history_init("history_init");

} // namespace orlimbara::shell::libedit
