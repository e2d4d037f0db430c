// Fnd_String: texts from the message catalog of subsystem "Zentrak_core", class 1.
#include <cstdarg>

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_message_id.h"
#include "foundation/base/fnd_string.h"

int Fnd_String::LoadString(unsigned int Id) {
    const Fnd_Message_Id id(Fnd_String(u"Zentrak_core"), 1, static_cast<long>(Id));
    return Fnd_Message::Read_Db_Message(id, *this) != 0;
}

void Fnd_String::Format(unsigned int Id, ...) {
    Fnd_String format;
    va_list args;
    va_start(args, Id);
    if (format.LoadString(Id)) {
        Format_Varargs(format.Data(), args);
    } else {
        if (format.Is_Empty()) format.Format(u"CString::Format(%u) LoadString failed", Id);
        *this = format;
    }
    va_end(args);
}
