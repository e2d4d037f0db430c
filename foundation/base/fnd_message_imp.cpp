#include "foundation/base/fnd_message_imp.h"

#include <unicode/ures.h>

#include <cstdio>

#include "foundation/base/fnd_message_catalogs.h"
#include "foundation/base/fnd_message_id.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "ztcoreutil/addiagnostic.h"

namespace {

// The diagnostic of the message catalogs, and its bits.
constexpr long Catalog_Diagnostic = 46;
constexpr long Look_Up_Bit = 2;
constexpr long Retry_Bit = 16;

void Report(long Bit, const Code_Unit* Label, const Fnd_String& Text) {
    if (AdDiagnostic::m_DiagnosticFlags[Catalog_Diagnostic] &&
        AdDiagnostic::IsEnabled(Catalog_Diagnostic, Bit, 1))
        AdDiagnostic::Report(Label, Text.Data());
}

// The position of the next Unit at or after Position that was not escaped (its map
// unit is a blank); Text's length when there is none.
long Find_Term(Code_Unit Unit, const Fnd_String& Text, const Fnd_String& Map, long Position) {
    for (; Position < Text.Get_Length(); ++Position)
        if (Text[Position] == Unit && Map[Position] == u' ') return Position;
    return Text.Get_Length();
}

// Copies Text from Position up to the next unescaped Unit, or up to Last (exclusive),
// whichever comes first, to Out; returns where it stopped.
long Augment_Substring(const Fnd_String& Text, const Fnd_String& Map, Code_Unit Unit, long Last,
                       long Position, Fnd_String& Out) {
    long end = Find_Term(Unit, Text, Map, Position);
    if (end > Last) end = Last;
    if (end > Position) Out.Append_Data(Text.Data() + Position, end - Position);
    return end;
}

// The catalog of Name, opened again once after closing all catalogs when it fails.
UResourceBundle* Open_For_Look_Up(const Fnd_String& Name) {
    UResourceBundle* bundle = Fnd_Message_Catalogs::Open_Catalog_Internal(Name);
    if (bundle != nullptr) return bundle;
    Report(Retry_Bit, u"Fnd_Message_Imp::Get_Db_Message", Name + u" open failed; retrying");
    Fnd_Message_Catalogs::Close_Catalogs_Internal();
    bundle = Fnd_Message_Catalogs::Open_Catalog_Internal(Name);
    if (bundle == nullptr)
        Report(Retry_Bit, u"Fnd_Message_Imp::Get_Db_Message",
               Name + u" re-open attempt failed");
    return bundle;
}

// The record and its kind are read into two handles that live from call to call, so
// that a look-up in an open catalog allocates no resource objects.
UResourceBundle* Record_Handle = nullptr;
UResourceBundle* Kind_Handle = nullptr;

}  // namespace

void Fnd_Message_Imp::Append_Simple_Message(const Fnd_String& Raw, Fnd_String& Out) {
    Out.Append(Fnd_String_Library::Remove_Escapes(Raw, 1));
}

void Fnd_Message_Imp::Process_Db_Message(const Fnd_Message& Message, const Fnd_String& Raw,
                                         const Fnd_Message_Detail_Level Level,
                                         long Prefix_Length, Fnd_String& Out) {
    Fnd_String text(Raw);
    Fnd_String map;
    Fnd_String_Library::Remove_Escapes(text, map, Fnd_String_Library::Esc());
    const long length = text.Get_Length();
    long position = 0;
    while (position < length) {
        const long open = Augment_Substring(text, map, u'<', length, position, Out);
        if (open >= length) break;
        const long close = Find_Term(u'>', text, map, open + 1);
        if (!Interpret_Prompt_Sequence(Message, text, map, open + 1, close, Level, Out)) {
            // A placeholder without a name: the key goes in front of what was made so
            // far (behind the kind prefix), and the rest of the text is dropped.
            Fnd_String key = Message.Message_Key();
            key.Append(Fnd_Char(u' '));
            Out.Insert(key, Prefix_Length);
            return;
        }
        position = close + 1;
    }
}

long Fnd_Message_Imp::Interpret_Prompt_Sequence(const Fnd_Message& Message,
                                                const Fnd_String& Text, const Fnd_String& Map,
                                                long First, long Last,
                                                const Fnd_Message_Detail_Level Level,
                                                Fnd_String& Out) {
    Fnd_String name;
    const long blank = Augment_Substring(Text, Map, u' ', Last, First, name);
    if (name.Is_Empty()) return 0;
    Fnd_String default_text;
    if (blank < Last) Text.Get(default_text, blank + 1, Last - blank - 1);

    if (!default_text.Is_Empty()) {
        Fnd_String value = Message.Info(name, Level);
        Out.Append(value.Is_Empty() ? default_text : value);
    } else if (name == u"Message_Key") {
        Out.Append(Message.Message_Key());
    } else if (name == u"Class_Name") {
        Out.Append(Message.Object_Type());
    } else {
        Out.Append(Message.Info(name, Level));
    }
    return 1;
}

void Fnd_Message_Imp::Get_Db_Message(const Fnd_Message& Message,
                                     const Fnd_Message_Detail_Level Level, const long Any_Level,
                                     Fnd_String& Text, Fnd_Message_Kinds& Kind) {
    Fnd_Recursive_Semaphore_Guard guard(Fnd_Message_Catalogs::Catalog_Lock, 0);
    Get_Db_Message_Internal(Message, Level, Any_Level, Text, Kind);
}

void Fnd_Message_Imp::Get_Db_Message_Internal(const Fnd_Message& Message,
                                              const Fnd_Message_Detail_Level Level,
                                              const long Any_Level, Fnd_String& Text,
                                              Fnd_Message_Kinds& Kind) {
    Report(Look_Up_Bit, u"Fnd_Message_Imp::Get_Db_Message", Message.Message_Key());
    Text.Make_Empty();
    Kind = Fnd_Unknown_Kind_Msg;
    UResourceBundle* bundle = Open_For_Look_Up(Message.Subsystem_Name());
    if (bundle == nullptr) return;

    char key[48];
    std::snprintf(key, sizeof key, "%ld_%ld", Message.Class_Number(), Message.Text_Number());
    UErrorCode status = U_ZERO_ERROR;
    Record_Handle = ures_getByKey(bundle, key, Record_Handle, &status);
    Kind_Handle = ures_getByIndex(Record_Handle, 0, Kind_Handle, &status);
    const int32_t kind = ures_getInt(Kind_Handle, &status);
    if (U_FAILURE(status)) return;
    // A kind outside the enumeration is ignored.
    if (kind >= 0 && kind < Fnd_Message_Kinds_Last) Kind = static_cast<Fnd_Message_Kinds>(kind);

    const int32_t wanted = Level == Fnd_Detail_Alternate ? 2 : 1;
    int32_t length = 0;
    const UChar* text = ures_getStringByIndex(Record_Handle, wanted, &length, &status);
    if (U_FAILURE(status) && Any_Level) {
        status = U_ZERO_ERROR;
        text = ures_getStringByIndex(Record_Handle, 3 - wanted, &length, &status);
    }
    if (U_SUCCESS(status)) Text.Append_Data(text, length);
}

long Fnd_Message_Imp::Read_Db_Message(const Fnd_Message_Id& Id, Fnd_String& Text) {
    Fnd_Recursive_Semaphore_Guard guard(Fnd_Message_Catalogs::Catalog_Lock, 0);
    return Read_Db_Message_Internal(Id, Text);
}

long Fnd_Message_Imp::Read_Db_Message_Internal(const Fnd_Message_Id& Id, Fnd_String& Text) {
    Report(Look_Up_Bit, u"Fnd_Message_Imp::Read_Db_Message", Id.Image());
    Text.Make_Empty();
    UResourceBundle* bundle = Open_For_Look_Up(Id.Get_Subsystem_Name());
    if (bundle == nullptr) return 0;

    char key[24];
    std::snprintf(key, sizeof key, "%ld", Id.Get_Text_Number());
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    const UChar* text = ures_getStringByKey(bundle, key, &length, &status);
    if (U_FAILURE(status)) return 0;
    Text.Append_Data(text, length);
    return 1;
}
