/// @file
/// One object per thread.
#pragma once

namespace orkit::standin {

/// This thread's object of a type, created at the first call and destroyed when the thread ends. Never
/// destroyed on Windows, whose runtime frees a thread's variables before it destroys the objects in them.
template <class Object>
Object& ThreadObject() {
#ifdef _WIN32
    thread_local Object* const object = new Object;
    return *object;
#else
    thread_local Object object;
    return object;
#endif
}

} // namespace orkit::standin
