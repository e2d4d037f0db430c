#include "foundation/mfc/cobject.h"

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_string.h"

long CObject::Is_Equal(const Fnd_Object& Other) const {
    if (Object_Type() != Other.Object_Type())
        Fnd_Assert(0, Fnd_Assertion_Message(207, Object_Type()), Fnd_String::Null);
    return 1;
}

void CObject::Serialize(CArchive&) {
    Fnd_Assert(0, Fnd_String(u"CObject::Serialize on ") + Object_Type());
}

long Fnd_Is_Equal_Not_Supported(const Code_Unit* Class_Name) {
    Fnd_Assert(0, Fnd_Assertion_Message(206, Class_Name), Fnd_String::Null);
    return 0;
}

void Fnd_Archive_Not_Supported(const Code_Unit* Class_Name, const Code_Unit* Operator) {
    Fnd_String name(Class_Name);
    name.Append(u"::operator");
    name.Append(Operator);
    Fnd_Assert(0, Fnd_Assertion_Message(1, name), Fnd_String::Null);
}

void Fnd_Archive_Push_Not_Supported(const Code_Unit* Class_Name) {
    Fnd_Archive_Not_Supported(Class_Name, u"<<");
}

void Fnd_Archive_Pull_Not_Supported(const Code_Unit* Class_Name) {
    Fnd_Archive_Not_Supported(Class_Name, u">>");
}

void Fnd_Container_Is_Equal_Failure(const Code_Unit* Class_Name) {
    Fnd_Assert(0, Fnd_String(Class_Name) + u"::Is_Equal");
    __builtin_unreachable();
}
