#include "foundation/base/fnd_object.h"

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_type_errors.h"
#include "foundation/textio/tio_streams.h"

namespace {

constexpr Code_Unit Object_Name[] = u"Fnd_Object";
constexpr Code_Unit Null_Name[] = u"";
constexpr Code_Unit Char_Name[] = u"char";
constexpr Code_Unit Unsigned_Char_Name[] = u"unsigned char";
constexpr Code_Unit Short_Name[] = u"short";
constexpr Code_Unit Unsigned_Short_Name[] = u"unsigned short";
constexpr Code_Unit Int_Name[] = u"int";
constexpr Code_Unit Unsigned_Int_Name[] = u"unsigned int";
constexpr Code_Unit Long_Name[] = u"long";
constexpr Code_Unit Unsigned_Long_Name[] = u"unsigned long";
constexpr Code_Unit Float_Name[] = u"float";
constexpr Code_Unit Double_Name[] = u"double";
constexpr Code_Unit Fnd_Char_Name[] = u"Fnd_Char";
constexpr Code_Unit Fnd_Boolean_Name[] = u"Fnd_Boolean";

}  // namespace

namespace fnd_object_detail {

void Clone_Failed(const Code_Unit* Type) {
    Fnd_Assert(0, Fnd_Clone_Error(Type), Fnd_String::Null);
    __builtin_unreachable();
}

}  // namespace fnd_object_detail

// ---- Fnd_Object

const Code_Unit* const Fnd_Object::My_Type = Object_Name;

Fnd_Object::~Fnd_Object() = default;

const Code_Unit* Fnd_Object::Object_Type() const { return My_Type; }

Fnd_Object* Fnd_Object::Clone() const { fnd_object_detail::Clone_Failed(Object_Type()); }

long Fnd_Object::Is_Equal(const Fnd_Object& Other) const {
    if (Object_Type() != Other.Object_Type())
        Fnd_Assert(0, Fnd_Assertion_Message(207, Object_Type()), Fnd_String::Null);
    return 1;
}

long Fnd_Object::Is_Equal_Pretest(const Fnd_Object& Other) const {
    return Object_Type() == Other.Object_Type();
}

long Fnd_Object::Hash() const {
    Fnd_Assert(0, Fnd_Assertion_Message(208, Object_Type()), Fnd_String::Null);
    __builtin_unreachable();
}

void Fnd_Object::Do_Convert(void*& Result, const Code_Unit* Type,
                            Fnd_Cast_Status& Status) const {
    Local_Do_Convert(Result, Type, Status);
}

long Fnd_Object::Local_Do_Convert(void*& Result, const Code_Unit* Type,
                                  Fnd_Cast_Status& Status) const {
    return fnd_object_detail::Local_Convert<Fnd_Object>(this, Result, Type, Status);
}

long Fnd_Object::operator==(const Fnd_Object& Other) const {
    if (!Is_Equal_Pretest(Other)) return 0;
    return Is_Equal(Other);
}

long Fnd_Object::Is_A(const Code_Unit* Type) const {
    void* result = nullptr;
    Fnd_Cast_Status status = Fnd_Cast_Searching;
    Do_Convert(result, Type, status);
    return status != Fnd_Cast_Searching;
}

Fnd_Object* Fnd_Object::Convert(const Fnd_Object* Object) {
    return const_cast<Fnd_Object*>(Object);
}

// ---- Fnd_Predefined_Class_Id

const Code_Unit* const Fnd_Predefined_Class_Id::Null = Null_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Char = Char_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Unsigned_Char = Unsigned_Char_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Short = Short_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Unsigned_Short = Unsigned_Short_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Int = Int_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Unsigned_Int = Unsigned_Int_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Long = Long_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Unsigned_Long = Unsigned_Long_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Float = Float_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Double = Double_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Fnd_Char_Id = Fnd_Char_Name;
const Code_Unit* const Fnd_Predefined_Class_Id::Fnd_Boolean_Id = Fnd_Boolean_Name;

// ---- Fnd_Type_Checker

Fnd_Type_Checker::Fnd_Type_Checker() : Type(Fnd_Predefined_Class_Id::Null) {}

Fnd_Type_Checker::Fnd_Type_Checker(const Code_Unit* Allowed) : Type(Allowed) {}

Fnd_Type_Checker::Fnd_Type_Checker(const Fnd_Type_Checker& Other)
    : Fnd_Object(), Type(Other.Type), Fatal(Other.Fatal), Report(Other.Report) {}

Fnd_Type_Checker& Fnd_Type_Checker::operator=(const Fnd_Type_Checker& Other) {
    Type = Other.Type;
    Fatal = Other.Fatal;
    Report = Other.Report;
    return *this;
}

long Fnd_Type_Checker::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Type_Checker* other = Convert(&Other);
    return other && Type == other->Type && Fatal == other->Fatal && Report == other->Report;
}

long Fnd_Type_Checker::Type_Check(const Code_Unit* Actual) const {
    return Actual == Type ? 1 : Type_Error(Actual);
}

long Fnd_Type_Checker::Type_Check(const Code_Unit* Actual, const Code_Unit* Other) const {
    return (Actual == Type || Other == Type) ? 1 : Type_Error(Actual);
}

long Fnd_Type_Checker::Type_Error(const Code_Unit* Actual) const {
    const Fnd_Type_Error error(Object_Type(), Type, Actual);
    Fnd_Assert(!Fatal, error, Fnd_String::Null);
    if (Report) Tio_Log.Put_Message(error, Tio_Log.Policy().Detail());
    return 0;
}

// ---- Fnd_Is_Checker

long Fnd_Is_Checker::Type_Check(const Fnd_Object* Object) const {
    if (!Object) return 1;
    return Type_Check(Object->Object_Type());
}

// ---- Fnd_Counted_Pointee

Fnd_Counted_Pointee::~Fnd_Counted_Pointee() {
    // Dying while pointers still refer to it is reported; the process goes on.
    if (Reference_Count > 0)
        Tio_Log.Put_Message(
            Fnd_Abstract_Type_Error(Fnd_Abstract_Type_Error_Texts::Kor_Referenced_Pointee,
                                    u"Fnd_Counted_Pointee", Fnd_String::Null, Reference_Count),
            Tio_Log.Policy().Detail());
}
