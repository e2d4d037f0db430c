#include "foundation/host/hst_errors.h"

#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_subsystems.h"
#include "foundation/host/hst_file_info.h"

namespace {

Fnd_String Decimal(long Value) { return Fnd_String_Library::To_String(Value); }

// A path of 1025 units or more, cut to its first 768 and last 256 units.
Fnd_String Truncated_Path(const Fnd_String& Path) {
    if (Path.Get_Length() < 1025) return Path;
    Fnd_String text = Path.Get(0, 768);
    text.Append(u" ... ");
    text.Append(Path.Get(Path.Get_Length() - 256, 256));
    return text;
}

}  // namespace

// ---- Hst_Process_Error

long Hst_Process_Error::Is_Equal(const Fnd_Object& Other) const {
    const Hst_Process_Error* other = Convert(&Other);
    return other != nullptr && other->Text == Text;
}

const Fnd_String& Hst_Process_Error::Subsystem_Name() const { return Hst::Name(); }

Fnd_String Hst_Process_Error::Info(const Fnd_String& Name,
                                   const Fnd_Message_Detail_Level Level) const {
    if (Name == u"name") return this->Name;
    if (Name == u"sig") return Decimal(Number);
    if (Name == u"errno") return Fnd_String_Library::Error_Message(static_cast<int>(Number));
    if (Level == Fnd_Detail_Default) return Decimal(Number);
    return Fnd_String();
}

// ---- Hst_Sys_Call_Error

Hst_Sys_Call_Error::Hst_Sys_Call_Error(const long Text_Number, const int Errno)
    : Text(Text_Number), Errno(Errno) {}

Hst_Sys_Call_Error::Hst_Sys_Call_Error(const long Text_Number, const int Errno,
                                       const Fnd_String& Str, const Fnd_String& Str1,
                                       const Hst_Open_Mode Mode)
    : Text(Text_Number), Errno(Errno), Str(Str), Str1(Str1), Mode(Mode) {}

Hst_Sys_Call_Error::Hst_Sys_Call_Error(const long Text_Number, const int Errno, const long Num,
                                       const long Num1)
    : Text(Text_Number), Errno(Errno), Num(Num), Num1(Num1) {}

Hst_Sys_Call_Error::Hst_Sys_Call_Error(const long Text_Number, const int Errno,
                                       const Fnd_String& Str, const Fnd_String& Str1,
                                       const long Num, const long Num1, const Hst_Open_Mode Mode)
    : Text(Text_Number), Errno(Errno), Str(Str), Str1(Str1), Num(Num), Num1(Num1), Mode(Mode) {}

long Hst_Sys_Call_Error::Is_Equal(const Fnd_Object& Other) const {
    const Hst_Sys_Call_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Text == Text && other->Errno == Errno &&
           other->Str == Str && other->Str1 == Str1 && other->Num == Num &&
           other->Num1 == Num1 && other->Mode == Mode;
}

const Fnd_String& Hst_Sys_Call_Error::Subsystem_Name() const { return Hst::Name(); }

Fnd_String Hst_Sys_Call_Error::Info(const Fnd_String& Name,
                                    const Fnd_Message_Detail_Level Level) const {
    if (Name == u"errno") return Fnd_String_Library::Error_Message(Errno);
    if (Name == u"str") return Str;
    if (Name == u"str1") return Str1;
    if (Name == u"num") return Decimal(Num);
    if (Name == u"num1") return Decimal(Num1);
    if (Name == u"mode") return Hst_Filesystem_Error::Open_Mode_Image(Mode);
    if (Level != Fnd_Detail_Default) return Fnd_String();
    Fnd_String all(u"  Errno: ");
    all.Append(Decimal(Errno));
    all.Append(u"  Str: ");
    all.Append(Str);
    all.Append(u"  Str1: ");
    all.Append(Str1);
    all.Append(u"  Num: ");
    all.Append(Decimal(Num));
    all.Append(u"  Num1: ");
    all.Append(Decimal(Num1));
    return all;
}

long Hst_Sys_Call_Error::Is_Errno(const Fnd_Condition& Condition, const int Errno) {
    if (!Condition.Failed()) return 0;
    const Hst_Sys_Call_Error* error = Convert(Condition.Get_Error());
    return error != nullptr && error->Errno == Errno;
}

// ---- Hst_Filesystem_Error

Hst_Filesystem_Error::Hst_Filesystem_Error(const long Number) : Number(Number) {}

Hst_Filesystem_Error::Hst_Filesystem_Error(const long Number, const Fnd_String& Path)
    : Number(Number), Path(Path) {}

Hst_Filesystem_Error::Hst_Filesystem_Error(const long Number, const Fnd_String& Path,
                                           const int Error)
    : Number(Number), Path(Path), Error(Error) {}

Hst_Filesystem_Error::Hst_Filesystem_Error(const long Number, const Fnd_String& Path,
                                           const Hst_Filesystem::Hst_Open_Mode Mode,
                                           const int Error)
    : Number(Number), Path(Path), Mode(Mode), Error(Error) {}

Hst_Filesystem_Error::Hst_Filesystem_Error(const long Number, const long Length,
                                           const Fnd_String& Path)
    : Number(Number), Path(Path), Length(Length) {}

Hst_Filesystem_Error::Hst_Filesystem_Error(const long Number, const Fnd_Message& Detail)
    : Number(Number), Detail(Detail) {}

Hst_Filesystem_Error::Hst_Filesystem_Error(const long Number, const Fnd_Condition& Detail)
    : Number(Number), Detail(Detail) {}

Hst_Filesystem_Error::Hst_Filesystem_Error(const long Number, const unsigned long Perm1,
                                           const unsigned long Perm2)
    : Number(Number), Perm1(Perm1), Perm2(Perm2) {}

long Hst_Filesystem_Error::Is_Equal(const Fnd_Object& Other) const {
    const Hst_Filesystem_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Number == Number && other->Path == Path &&
           other->Mode == Mode && other->Perm1 == Perm1 && other->Perm2 == Perm2 &&
           other->Detail.Is_Equal(Detail) && other->Error == Error && other->Length == Length;
}

const Fnd_String& Hst_Filesystem_Error::Subsystem_Name() const { return Hst::Name(); }

Fnd_String Hst_Filesystem_Error::Info(const Fnd_String& Name,
                                      const Fnd_Message_Detail_Level) const {
    if (Name == u"string" || Name == u"path") return Path;
    if (Name == u"path_truncate") return Truncated_Path(Path);
    if (Name == u"imode") return Fnd_String_Library::To_String(Mode, 8);
    if (Name == u"mode") return Open_Mode_Image(Mode);
    if (Name == u"perm1") return Hst_File_Info::Permissions_Image(Perm1);
    if (Name == u"perm2") return Hst_File_Info::Permissions_Image(Perm2);
    if (Name == u"detail") {
        if (!Detail.Failed()) return Fnd_String();
        return Detail.Image(Fnd_Detail_Normal, 0, 1, 1, 1,
                            Fnd_Message::Default_Message_Separator());
    }
    if (Name == u"error") return Fnd_String_Library::Error_Message(Error);
    if (Name == u"path_length") return Decimal(Path.Get_Length());
    if (Name == u"length") return Decimal(Length);
    return Fnd_String();
}

void Hst_Filesystem_Error::Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                                        Fnd_Message_Kinds& Kind) const {
    Text = u"<Message_Key>: path <path>; path_length <path_length>; mode <imode>; "
           u"condition <detail>; errno <error>; length <length>";
    Kind = Fnd_Error_Msg;
}

Fnd_String Hst_Filesystem_Error::Open_Mode_Image(const long Mode) {
    if (Mode < Hst_Filesystem::Hst_Open_None || Mode > Hst_Filesystem::Hst_Open_Read_Write)
        return Decimal(Mode);
    return Hst_Filesystem_Error(81 + Mode).Image(Fnd_Detail_Normal, 0, 0);
}

long Hst_Filesystem_Error::Is_Number(const Fnd_Condition& Condition, const long Number) {
    if (!Condition.Failed()) return 0;
    const Hst_Filesystem_Error* error = Convert(Condition.Get_Error());
    return error != nullptr && error->Number == Number;
}

long Hst_Filesystem_Error::Is_Errno(const Fnd_Condition& Condition, const int Error) {
    if (!Condition.Failed()) return 0;
    const Hst_Filesystem_Error* error = Convert(Condition.Get_Error());
    return error != nullptr && error->Error == Error;
}
