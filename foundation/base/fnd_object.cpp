#include "foundation/base/fnd_object.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

// Failure reporting of the object model. Programming errors end the process; the
// other failures are written as one line to the log. Every such path of this unit
// goes through the functions of this block.

std::string Type_Name(const Code_Unit* Type) {
    std::string name;
    for (; Type && *Type; ++Type) name += *Type < 0x80 ? static_cast<char>(*Type) : '?';
    return name;
}

void Write_Line(const std::string& Text) {
    std::string line = Text + "\n";
    const char* p = line.data();
    size_t left = line.size();
    while (left > 0) {
        ssize_t n = ::write(2, p, left);
        if (n <= 0) return;
        p += n;
        left -= static_cast<size_t>(n);
    }
}

[[noreturn]] void Fail(const std::string& Text) {
    Write_Line("*** " + Text);
    std::abort();
}

void Log(const std::string& Text) { Write_Line(Text); }

std::string Type_Error_Text(const Code_Unit* Checker, const Code_Unit* Legal,
                            const Code_Unit* Illegal) {
    return "type error: checker " + Type_Name(Checker) + ", legal " + Type_Name(Legal) +
           ", illegal " + Type_Name(Illegal);
}

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
    Fail("clone error: class " + Type_Name(Type));
}

}  // namespace fnd_object_detail

// ---- Fnd_Object

const Code_Unit* const Fnd_Object::My_Type = Object_Name;

Fnd_Object::~Fnd_Object() = default;

const Code_Unit* Fnd_Object::Object_Type() const { return My_Type; }

Fnd_Object* Fnd_Object::Clone() const { fnd_object_detail::Clone_Failed(Object_Type()); }

long Fnd_Object::Is_Equal(const Fnd_Object& Other) const {
    if (Object_Type() != Other.Object_Type())
        Fail("assertion 207: Is_Equal of differing types, class " + Type_Name(Object_Type()));
    return 1;
}

long Fnd_Object::Is_Equal_Pretest(const Fnd_Object& Other) const {
    return Object_Type() == Other.Object_Type();
}

long Fnd_Object::Hash() const {
    Fail("assertion 208: Hash without a rule, class " + Type_Name(Object_Type()));
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
    if (Fatal) Fail(Type_Error_Text(Object_Type(), Type, Actual));
    if (Report) Log(Type_Error_Text(Object_Type(), Type, Actual));
    return 0;
}

// ---- Fnd_Is_Checker

long Fnd_Is_Checker::Type_Check(const Fnd_Object* Object) const {
    if (!Object) return 1;
    return Type_Check(Object->Object_Type());
}

// ---- Fnd_Counted_Pointee

Fnd_Counted_Pointee::~Fnd_Counted_Pointee() {
    if (Reference_Count > 0)
        Log("class Fnd_Counted_Pointee; pos " + std::to_string(Reference_Count));
}
