#include "foundation/base/fnd_sys_call_error.h"

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_subsystems.h"

Fnd_Sys_Call_Error::Fnd_Sys_Call_Error(const Fnd_String& Operation, const int Errno,
                                       const Fnd_String& Doing, const long Text_Number)
    : Text(Text_Number), Errno(Errno), Operation(Operation), Doing(Doing) {}

long Fnd_Sys_Call_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Sys_Call_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Text == Text && other->Errno == Errno &&
           other->Operation == Operation && other->Doing == Doing;
}

const Fnd_String& Fnd_Sys_Call_Error::Subsystem_Name() const { return Hst::Name(); }

Fnd_String Fnd_Sys_Call_Error::Info(const Fnd_String& Name,
                                    const Fnd_Message_Detail_Level Level) const {
    if (Name == u"errno") return Fnd_String_Library::Error_Message(Errno);
    if (Name == u"syscall") return Operation;
    if (Name == u"path") return Doing;
    if (Name == u"what") return Doing.Is_Empty() ? Fnd_String() : Doing + u" ";
    if (Level == Fnd_Detail_Default) {
        Fnd_String answer = Operation + u" ";
        Fnd_String_Library::To_String(answer, Errno, 10, 0, 1);
        return answer;
    }
    return Fnd_String();
}

void Fnd_Sys_Call_Error::Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                                      Fnd_Message_Kinds& Kind) const {
    Text.Make_Empty();
    if (!Doing.Is_Empty()) Text.Append(u"doing: <what>\n");
    if (!Operation.Is_Empty()) Text.Append(u"syscall: <syscall>\n");
    if (Errno > 0) Text.Append(u"errno: <errno>");
    // An empty template leaves the kind open, so that the image falls back on the key.
    Kind = Text.Is_Empty() ? Fnd_Unknown_Kind_Msg : Fnd_Error_Msg;
}

long Fnd_Sys_Call_Error::Is_Errno(const Fnd_Condition& Condition, const int Errno) {
    if (!Condition.Failed()) return 0;
    const Fnd_Sys_Call_Error* error = Convert(Condition.Get_Error());
    return error != nullptr && error->Errno == Errno;
}
