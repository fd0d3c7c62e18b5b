#include <cstring>

void fillRoom(char (&room)[16], const char* bytes, std::size_t length);

/// The room is known at compile time, the length at run time: a call that FORTIFY checks.
void fillRoom(char (&room)[16], const char* bytes, std::size_t length) {
    char copy[16];
    std::memcpy(copy, bytes, length);
    std::memcpy(room, copy, sizeof copy);
}
