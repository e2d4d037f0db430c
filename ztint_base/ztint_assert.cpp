#include "ztint_base/ztint_assert.h"

#include <cstdlib>
#include <cstring>
#include <sys/uio.h>

namespace {

const char kPrefix[] = "*** ztintsvr assertion failure: ";

iovec Piece(const char* text)
{
    return iovec{const_cast<char*>(text), std::strlen(text)};
}

// Writes the pieces with one gathering write and aborts. No heap, no stdio.
[[noreturn]] void Write_And_Abort(const iovec* pieces, int count)
{
    [[maybe_unused]] ssize_t written = ::writev(2, pieces, count);
    std::abort();
}

// Formats a non-negative or negative int into the end of `buffer`; returns the start.
const char* Decimal(int value, char (&buffer)[16])
{
    char* end = buffer + sizeof buffer - 1;
    *end = '\0';
    unsigned magnitude = value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value);
    do {
        *--end = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0)
        *--end = '-';
    return end;
}

} // namespace

extern "C" void ZTInt_abort(const char* text)
{
    const iovec pieces[] = {Piece(kPrefix), Piece(text), Piece("\n")};
    Write_And_Abort(pieces, 3);
}

extern "C" void ZTInt_abort3(const char* expression, const char* file, int line)
{
    const char* slash = std::strrchr(file, '/');
    const char* base = slash ? slash + 1 : file;
    char number[16];
    const iovec pieces[] = {Piece(kPrefix),   Piece(expression), Piece(" in "),
                            Piece(base),      Piece(" at line "), Piece(Decimal(line, number)),
                            Piece("\n")};
    Write_And_Abort(pieces, 7);
}
