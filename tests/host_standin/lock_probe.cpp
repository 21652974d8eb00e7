// A second process for tests of locks.
//
//   lock_probe ask FILE r|w     exit status 0 if this process could lock the file for reading or writing,
//                               1 if not
//   lock_probe hold FILE r|w    locks the file as DuckDB does, writes a byte, and holds the lock until its
//                               standard input ends

#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr int kFailed = 2;
}

int main(int inCount, char** inArguments) {
    if (inCount != 4) {
        return kFailed;
    }
    const std::string_view command = inArguments[1];
    const int file = ::open(inArguments[2], O_RDWR);
    struct flock lock {};
    lock.l_type = std::string_view(inArguments[3]) == "r" ? F_RDLCK : F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (command == "ask") {
        return ::fcntl(file, F_GETLK, &lock) != 0 ? kFailed : lock.l_type == F_UNLCK ? 0 : 1;
    }
    char byte = 0;
    if (::fcntl(file, F_SETLK, &lock) != 0 || ::write(STDOUT_FILENO, &byte, 1) != 1) {
        return kFailed;
    }
    return ::read(STDIN_FILENO, &byte, 1) == 0 ? 0 : kFailed;
}
