#include "foundation/base/fnd_message.h"

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_message_catalogs.h"
#include "foundation/base/fnd_message_id.h"
#include "foundation/base/fnd_message_imp.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_subsystems.h"

namespace {

struct Kind_Row {
    const Code_Unit* Name;
    const Code_Unit* Canonical_Prefix;
};

constexpr Kind_Row Kind_Table[Fnd_Message_Kinds_Last + 1] = {
    {u"Fnd_Unknown_Kind_Msg", u"<UNKNOWN>"},
    {u"Fnd_Text_Msg", u""},
    {u"Fnd_Auxiliary_Msg", u":::"},
    {u"Fnd_Debug_Msg", u"???"},
    {u"Fnd_Note_Msg", u"---"},
    {u"Fnd_Positive_Msg", u"+++"},
    {u"Fnd_Position_Msg", u">>>"},
    {u"Fnd_Negative_Msg", u"++*"},
    {u"Fnd_Warning_Msg", u"!!!"},
    {u"Fnd_Error_Msg", u"***"},
    {u"Fnd_Exception_Msg", u"%%%"},
    {u"Fnd_Sharp_Msg", u"###"},
    {u"Fnd_Dollar_Msg", u"$$$"},
    {u"Fnd_At_Msg", u"@@@"},
    {u"Fnd_Continuation_Msg", u"..."},
    {u"Fnd_Internal_Error_Msg", u"&&&"},
    {u"Fnd_Not_Required_Msg", u"++-"},
    {u"Fnd_System_Error_Msg", u"**%"},
    {u"Fnd_Note1_Msg", u"--1"},
    {u"Fnd_Note2_Msg", u"--2"},
    {u"Fnd_Note3_Msg", u"--3"},
    {u"Fnd_Result_Msg", u"==="},
    {u"Fnd_Message_Kinds_Last", u"<UNKNOWN>"},
};

// The canonical prefix of a kind; a value outside the table has the unknown one.
const Code_Unit* Default_Text_Image(long Kind) {
    if (Kind < 0 || Kind > Fnd_Message_Kinds_Last) Kind = Fnd_Unknown_Kind_Msg;
    return Kind_Table[Kind].Canonical_Prefix;
}

bool Is_Detail_Level(long Level) { return Level >= Fnd_Detail_Key && Level <= Fnd_Detail_Normal; }

}  // namespace

const Code_Unit* Fnd_Message_Kinds_Image(long Kind) {
    if (Kind < 0 || Kind > Fnd_Message_Kinds_Last) return u"";
    return Kind_Table[Kind].Name;
}

// ---- Fnd_Message

Fnd_Message::~Fnd_Message() = default;

long Fnd_Message::Is_Equal(const Fnd_Object&) const { return 1; }

long Fnd_Message::Hash() const { return Fnd_Object::Hash(); }

Fnd_String Fnd_Message::Class_Key() const { return Fnd_String(Object_Type()); }

Fnd_String Fnd_Message::Text_Key() const { return Fnd_String_Library::To_String(Text_Number()); }

void Fnd_Message::Message_Kind(Fnd_Message_Kinds&) const {}

Fnd_String Fnd_Message::Info(const Fnd_String&, const Fnd_Message_Detail_Level) const {
    return Fnd_String();
}

void Fnd_Message::Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                               Fnd_Message_Kinds& Kind) const {
    Text.Make_Empty();
    Kind = Fnd_Unknown_Kind_Msg;
}

long Fnd_Message::Scan_For_Prompts() const { return 1; }

long Fnd_Message::Text_Number() const { return 0; }

Fnd_String Fnd_Message::Message_Key() const {
    Fnd_String key(Subsystem_Name());
    key.Append(Fnd_Char(u'.'));
    key.Append(Class_Key());
    key.Append(Fnd_Char(u'.'));
    key.Append(Text_Key());
    return key;
}

void Fnd_Message::Image(Fnd_String& Out, const Fnd_Message_Detail_Level Level,
                        const long With_Kind, const long With_Key) const {
    Out.Make_Empty();
    Fnd_String raw;
    Fnd_Message_Kinds kind = Fnd_Unknown_Kind_Msg;
    Raw_Image(raw, kind, Level, 1);
    Process_Raw_Image(raw, kind, Level, With_Kind, With_Key, Out);
}

Fnd_String Fnd_Message::Image(const Fnd_Message_Detail_Level Level, const long With_Kind,
                              const long With_Key) const {
    Fnd_String out;
    Image(out, Level, With_Kind, With_Key);
    return out;
}

void Fnd_Message::Raw_Image(Fnd_String& Raw, Fnd_Message_Kinds& Kind,
                            const Fnd_Message_Detail_Level Level, const long Any_Level) const {
    Raw.Make_Empty();
    Kind = Fnd_Unknown_Kind_Msg;
    if (Level == Fnd_Detail_Default) {
        Default_Text(Fnd_Detail_Default, Raw, Kind);
    } else if (Level == Fnd_Detail_Alternate || Level == Fnd_Detail_Normal) {
        Fnd_Message_Imp::Get_Db_Message(*this, Level, Any_Level, Raw, Kind);
        if (Raw.Is_Empty()) {
            Kind = Fnd_Unknown_Kind_Msg;
            Default_Text(Level, Raw, Kind);
            if (Raw.Is_Empty() && Kind == Fnd_Unknown_Kind_Msg && Any_Level) {
                const Fnd_Message_Detail_Level other =
                    Level == Fnd_Detail_Normal ? Fnd_Detail_Alternate : Fnd_Detail_Normal;
                Default_Text(other, Raw, Kind);
            }
        }
    }
    Message_Kind(Kind);
}

void Fnd_Message::Process_Raw_Image(const Fnd_String& Raw, const Fnd_Message_Kinds Kind,
                                    const Fnd_Message_Detail_Level Level, const long With_Kind,
                                    const long With_Key, Fnd_String& Out) const {
    Out.Ensure_Storage(256);
    Out.Make_Empty();
    if (With_Kind) {
        Out = Fnd_Message_Kind::Kind_Image(Kind);
        if (!Out.Is_Empty()) Out.Append(Fnd_Char(u' '));
    }
    if (Level == Fnd_Detail_Key || !Is_Detail_Level(Level)) {
        Out.Append(Message_Key());
        return;
    }
    if (!Raw.Is_Empty() || Kind != Fnd_Unknown_Kind_Msg) {
        if (Scan_For_Prompts() == 0)
            Fnd_Message_Imp::Append_Simple_Message(Raw, Out);
        else
            Fnd_Message_Imp::Process_Db_Message(*this, Raw, Level, Out.Get_Length(), Out);
        return;
    }
    // No text at all: say at least what the message was and what its object knows.
    if (With_Key) {
        Out.Append(Message_Key());
        Out.Append(u": ");
        Out.Append(Info(Fnd_String(), Fnd_Detail_Default));
    }
}

Fnd_Message_Kinds Fnd_Message::Kind() const {
    Fnd_String text;
    Fnd_Message_Kinds kind = Fnd_Unknown_Kind_Msg;
    Fnd_Message_Imp::Get_Db_Message(*this, Fnd_Detail_Normal, 1, text, kind);
    Message_Kind(kind);
    return kind;
}

const Fnd_String& Fnd_Message::Default_Message_Separator() {
    static const Fnd_String* separator = new Fnd_String(u"\n");
    return *separator;
}

void Fnd_Message::Refresh_Databases() { Fnd_Message_Catalogs::Close_Catalogs(); }

long Fnd_Message::Read_Db_Message(const Fnd_Message_Id& Id, Fnd_String& Text) {
    return Fnd_Message_Imp::Read_Db_Message(Id, Text);
}

// ---- Fnd_Message_Kind

Fnd_String* Fnd_Message_Kind::Cached_Images[Fnd_Message_Kind::Image_Slots] = {};

long Fnd_Message_Kind::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Message_Kind* other = Convert(&Other);
    return other != nullptr && other->Kind == Kind;
}

const Fnd_String& Fnd_Message_Kind::Subsystem_Name() const { return Fnd::Name(); }

void Fnd_Message_Kind::Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                                    Fnd_Message_Kinds& Kind) const {
    Text = Default_Text_Image(this->Kind);
    Kind = Fnd_Text_Msg;
}

const Fnd_String& Fnd_Message_Kind::Kind_Image(const Fnd_Message_Kinds Kind) {
    const long slot = (Kind < 0 || Kind >= Image_Slots) ? Fnd_Unknown_Kind_Msg : Kind;
    if (Cached_Images[slot] == nullptr) {
        Fnd_String* image = new Fnd_String(32L, 1L);
        if (slot != Fnd_Text_Msg)
            Fnd_Message_Kind(static_cast<Fnd_Message_Kinds>(slot))
                .Image(*image, Fnd_Detail_Normal, 0, 1);
        Cached_Images[slot] = image;
    }
    return *Cached_Images[slot];
}

Fnd_String Fnd_Message_Kind::Canonical_Kind_Image(const Fnd_Message_Kinds Kind) {
    return Fnd_String(Default_Text_Image(Kind));
}

void Fnd_Message_Kind::Check_Kind(const long Kind) {
    Fnd_Assert(Kind >= 0 && Kind < Fnd_Message_Kinds_Last, Fnd_Assertion_Message(1001), Fnd_String::Null);
}

Fnd_Message_Kinds Fnd_Message_Kind::Get_Kind(const Fnd_String& Text, long& Length) {
    for (long kind = Fnd_Auxiliary_Msg; kind <= Fnd_Result_Msg; ++kind) {
        const Fnd_String prefix(Default_Text_Image(kind));
        const long length = prefix.Get_Length() + 1;
        if (Text.Get_Length() >= length && Text.Compare(0, prefix.Get_Length(), prefix, 0) &&
            Text[prefix.Get_Length()] == u' ') {
            Length = length;
            return static_cast<Fnd_Message_Kinds>(kind);
        }
    }
    Length = 0;
    return Fnd_Unknown_Kind_Msg;
}

Fnd_Message_Kinds Fnd_Message_Kind::Get_Kind(const Fnd_String& Text) {
    long length = 0;
    return Get_Kind(Text, length);
}

void Fnd_Message_Kind::Remove_Canonical_Prefix(const Fnd_String& In, Fnd_String& Out,
                                               Fnd_Message_Kinds& Kind) {
    long length = 0;
    Kind = Get_Kind(In, length);
    // In and Out may be the same string.
    if (Kind != Fnd_Unknown_Kind_Msg) Out = In.Get(length, In.Get_Length() - length);
}
