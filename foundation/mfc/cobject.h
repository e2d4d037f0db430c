// The root of the MFC-like vocabulary: an object of the foundation's object model that
// can write itself to an archive. Containers of this vocabulary derive from CObject and
// from one foundation container, whose operations stay available.
#pragma once

#include "foundation/base/fnd_object.h"

class CArchive;
class Fnd_String;

class CObject : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(CObject)
public:
    ~CObject() override = default;

    // 1 for objects of the same type; objects of differing types are a programming
    // error (assertion 207).
    long Is_Equal(const Fnd_Object& Other) const override;
    // Here a programming error: only classes with a stored form override it.
    virtual void Serialize(CArchive& Archive);

protected:
    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
};

// Programming errors of unsupported operations. Each ends the process.
long Fnd_Is_Equal_Not_Supported(const Code_Unit* Class_Name);         // assertion 206
void Fnd_Archive_Not_Supported(const Code_Unit* Class_Name, const Code_Unit* Operator);
void Fnd_Archive_Push_Not_Supported(const Code_Unit* Class_Name);     // "<<"
void Fnd_Archive_Pull_Not_Supported(const Code_Unit* Class_Name);     // ">>"
// "<Class_Name>::Is_Equal": equality of containers isn't supported.
[[noreturn]] void Fnd_Container_Is_Equal_Failure(const Code_Unit* Class_Name);
