#include "foundation/utilities/utl_type_utilities.h"

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_arguments.h"
#include "foundation/utilities/utl_editor_interface.h"
#include "foundation/utilities/utl_pointer_array.h"
#include "foundation/utilities/utl_pointer_map.h"
#include "foundation/utilities/utl_string_array.h"
#include "foundation/utilities/utl_string_map.h"
#include "foundation/utilities/utl_string_set.h"
#include "foundation/utilities/utl_tracing_utilities.h"

namespace {

constexpr Code_Unit Kind_String[] = u"Fnd_String";
constexpr Code_Unit Kind_Long[] = u"long";
constexpr Code_Unit Kind_Pointer[] = u"pointer";
constexpr Code_Unit Kind_String_Array[] = u"Utl_String_Array";
constexpr Code_Unit Kind_String_Map[] = u"Utl_String_Map";
constexpr Code_Unit Kind_String_Set[] = u"Utl_String_Set";
constexpr Code_Unit Kind_Pointer_Array[] = u"Utl_Pointer_Array";
constexpr Code_Unit Kind_Pointer_Map[] = u"Utl_Pointer_Map";
constexpr Code_Unit Kind_Pointer_Set[] = u"Utl_Pointer_Set";
constexpr Code_Unit Kind_Arguments[] = u"Utl_Arguments";

constexpr Code_Unit Case_Unchanged[] = u"unchanged";
constexpr Code_Unit Case_Lower[] = u"lower";
constexpr Code_Unit Case_Upper[] = u"upper";

void String_Delete(long Range) {
    if (Range) reinterpret_cast<Fnd_String*>(Range)->Free();
}

long String_Copy(long Range) {
    if (!Range) return 0;
    return reinterpret_cast<long>(Fnd_String::Get(*reinterpret_cast<const Fnd_String*>(Range)));
}

}  // namespace

const Code_Unit* const Utl_Range_Kind_Table[] = {
    Kind_String,        Kind_Long,         Kind_Pointer,    Kind_String_Array,
    Kind_String_Map,    Kind_String_Set,   Kind_Pointer_Array, Kind_Pointer_Map,
    Kind_Pointer_Set,   Kind_Arguments,    nullptr};

const Code_Unit* const Utl_Domain_Case_Table[] = {Case_Unchanged, Case_Lower, Case_Upper,
                                                  nullptr};

const Code_Unit* const Utl_Type_Utilities::Null_Word = u"null";
const Code_Unit* const Utl_Type_Utilities::Verbose = u"verbose";
const Code_Unit* const Utl_Type_Utilities::All = u"all";
const Code_Unit* const Utl_Type_Utilities::Off = u"off";
const Code_Unit* const Utl_Type_Utilities::Freed = u"freed";
const Code_Unit* const Utl_Type_Utilities::Names = u"names";
const Code_Unit* const Utl_Type_Utilities::Trees = u"trees";
const Code_Unit* const Utl_Type_Utilities::Domain_Table = u"domain_table";
const Code_Unit* const Utl_Type_Utilities::Null_Object = u"null_object";
const Code_Unit* const Utl_Type_Utilities::Trace_Start = u"==> ";
const Code_Unit* const Utl_Type_Utilities::Show_Start = u"--- ";
const Code_Unit* const Utl_Type_Utilities::Exclude = u"exclude";
const Code_Unit* const Utl_Type_Utilities::Domain = u"domain";
const Code_Unit* const Utl_Type_Utilities::Empty_Array = u"empty_array";
const Code_Unit* const Utl_Type_Utilities::Empty_Map = u"empty_map";
const Code_Unit* const Utl_Type_Utilities::Empty_Set = u"empty_set";
const Code_Unit* const Utl_Type_Utilities::Prefix = u"   ";
const Code_Unit* const Utl_Type_Utilities::Arrow = u" => ";

void Utl_Type_Utilities::Set_Range_Deleter(long Kind, Utl_Range_Deleter& Out) {
    switch (Kind) {
    case Utl_Range_String: Out = String_Delete; break;
    case Utl_Range_String_Array: Out = Utl_String_Array::Range_Delete; break;
    case Utl_Range_String_Map: Out = Utl_String_Map::Range_Delete; break;
    case Utl_Range_String_Set: Out = Utl_String_Set::Range_Delete; break;
    case Utl_Range_Pointer_Array: Out = Utl_Pointer_Array::Range_Delete; break;
    case Utl_Range_Pointer_Map: Out = Utl_Pointer_Map::Range_Delete; break;
    case Utl_Range_Pointer_Set: Out = Utl_Pointer_Set::Range_Delete; break;
    case Utl_Range_Arguments: Out = Utl_Arguments::Range_Delete; break;
    default: Out = nullptr; break;
    }
}

void Utl_Type_Utilities::Set_Range_Copier(long Kind, Utl_Range_Copier& Out) {
    switch (Kind) {
    case Utl_Range_String: Out = String_Copy; break;
    case Utl_Range_String_Array: Out = Utl_String_Array::Range_Copy; break;
    case Utl_Range_String_Map: Out = Utl_String_Map::Range_Copy; break;
    case Utl_Range_String_Set: Out = Utl_String_Set::Range_Copy; break;
    case Utl_Range_Pointer_Array: Out = Utl_Pointer_Array::Range_Copy; break;
    case Utl_Range_Pointer_Map: Out = Utl_Pointer_Map::Range_Copy; break;
    case Utl_Range_Pointer_Set: Out = Utl_Pointer_Set::Range_Copy; break;
    case Utl_Range_Arguments: Out = Utl_Arguments::Range_Copy; break;
    default: Out = nullptr; break;
    }
}

void Utl_Type_Utilities::Get_Subindent(Fnd_String& Out, const Code_Unit* Indent) {
    if (!Indent) {
        Out.Append(Prefix);
        return;
    }
    Out.Append(Indent);
    for (const Code_Unit* c = Indent; *c; ++c) Out.Append(u" ");
}

void Utl_Type_Utilities::Range_Image(Fnd_String& Out, long Kind, long Range, long Quote_Strings,
                                     long Multiline, const Code_Unit* Indent) {
    const void* object = reinterpret_cast<const void*>(Range);
    Fnd_String deeper;
    Get_Subindent(deeper, Indent);
    switch (Kind) {
    case Utl_Range_String:
        if (!object)
            Out.Append(Null_Word);
        else
            Utl_Tracing_Utilities::Value(Out, *static_cast<const Fnd_String*>(object),
                                         Quote_Strings, 0);
        return;
    case Utl_Range_Pointer:
        Utl_Tracing_Utilities::Value(Out, object, 0);
        return;
    case Utl_Range_String_Array: {
        const auto* array = static_cast<const Utl_String_Array*>(object);
        if (!array) return Out.Append(Null_Word);
        if (array->Get_Count() == 0) return Out.Append(Empty_Array);
        if (Multiline) Out.Append(u"\n");
        array->Image(Out, Multiline, 0, 1, deeper.Data());
        return;
    }
    case Utl_Range_Pointer_Array: {
        const auto* array = static_cast<const Utl_Pointer_Array*>(object);
        if (!array) return Out.Append(Null_Word);
        if (array->Get_Count() == 0) return Out.Append(Empty_Array);
        if (Multiline) Out.Append(u"\n");
        array->Image(Out, Fnd_String::Null, Multiline, 1, deeper.Data());
        return;
    }
    case Utl_Range_String_Map: {
        const auto* map = static_cast<const Utl_String_Map*>(object);
        if (!map) return Out.Append(Null_Word);
        if (map->Get_Count() == 0) return Out.Append(Empty_Map);
        map->Image(Out, Fnd_String::Null, 0, Quote_Strings, Multiline, 1, deeper.Data(), Arrow,
                   0);
        return;
    }
    case Utl_Range_String_Set: {
        const auto* set = static_cast<const Utl_String_Set*>(object);
        if (!set) return Out.Append(Null_Word);
        if (set->Get_Count() == 0) return Out.Append(Empty_Set);
        set->Image(Out, Quote_Strings, Multiline, 1, deeper.Data());
        return;
    }
    case Utl_Range_Pointer_Map: {
        const auto* map = static_cast<const Utl_Pointer_Map*>(object);
        if (!map) return Out.Append(Null_Word);
        if (map->Get_Count() == 0) return Out.Append(Empty_Map);
        map->Image(Out, Fnd_String::Null, Multiline, 1, deeper.Data(), Arrow, 0);
        return;
    }
    case Utl_Range_Pointer_Set: {
        const auto* set = static_cast<const Utl_Pointer_Set*>(object);
        if (!set) return Out.Append(Null_Word);
        if (set->Get_Count() == 0) return Out.Append(Empty_Set);
        set->Image(Out, Fnd_String::Null, Multiline, 1, deeper.Data());
        return;
    }
    case Utl_Range_Arguments: {
        const auto* arguments = static_cast<const Utl_Arguments*>(object);
        if (!arguments) return Out.Append(Null_Word);
        if (arguments->Get_Count() == 0) return Out.Append(Empty_Array);
        if (Multiline) Out.Append(u"\n");
        arguments->Image(Out, Multiline, 1, deeper.Data());
        return;
    }
    default:
        Utl_Tracing_Utilities::Value(Out, Range, 0);
        return;
    }
}

void Utl_Type_Utilities::Call_Function(const Fnd_String& Name, const void* Object) {
    Fnd_String ignored;
    Call_Function(ignored, Name, Object);
}

void Utl_Type_Utilities::Call_Function(Fnd_String& Result, const Fnd_String& Name,
                                       const void* Object) {
    Fnd_String address;
    Utl_Tracing_Utilities::Value(address, Object, 0);
    const Code_Unit* const arguments[] = {address.Data(), nullptr};
    Utl_Script_Interface::Get().Call_Function(Result, Name, arguments);
}
