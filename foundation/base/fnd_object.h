// The run-time object model of the foundation: type identity, checked casts through
// virtual and multiple inheritance, polymorphic copy, equality and hashing.
#pragma once

#include <type_traits>

#include "foundation/base/fnd_code_unit.h"

// The state of a cast while Do_Convert walks the inheritance graph.
enum Fnd_Cast_Status {
    Fnd_Cast_Found = 0,
    Fnd_Cast_Searching = 1,
    Fnd_Cast_Ambiguous = 2
};

// The virtual root of the class library. It has no data. Every class derives from it
// virtually (directly or through its bases), so an object has exactly one Fnd_Object
// part. A type is identified by the address of its class-name array (My_Type); two
// types are the same exactly when these pointers are equal. The text is only for
// messages: type tests never compare text.
class Fnd_Object {
public:
    static const Code_Unit* const My_Type;

    virtual ~Fnd_Object();

    // Every class returns its own My_Type (FND_OBJECT_MEMBERS does it).
    virtual const Code_Unit* Object_Type() const = 0;
    // Copies the object. Here: ends the process with a clone error.
    virtual Fnd_Object* Clone() const;
    // Compares with an object of the same type. Here: 1 for the same type, and a
    // programming error otherwise.
    virtual long Is_Equal(const Fnd_Object& Other) const;
    // Whether the two dynamic types are the same (one pointer comparison).
    virtual long Is_Equal_Pretest(const Fnd_Object& Other) const;
    // Here: a programming error. Classes with a hash rule override it.
    virtual long Hash() const;
    // Records in Result/Status where Type is found in this object's inheritance graph.
    virtual void Do_Convert(void*& Result, const Code_Unit* Type,
                            Fnd_Cast_Status& Status) const = 0;

    // Is_Equal_Pretest first; 0 when it fails, else Is_Equal.
    long operator==(const Fnd_Object& Other) const;
    // Non-zero when Type is found anywhere in the graph; an ambiguous base counts.
    long Is_A(const Code_Unit* Type) const;
    static Fnd_Object* Convert(const Fnd_Object* Object);
    // The test for Fnd_Object alone (step 1 of Do_Convert).
    long Local_Do_Convert(void*& Result, const Code_Unit* Type,
                          Fnd_Cast_Status& Status) const;

protected:
    Fnd_Object() = default;
    Fnd_Object(const Fnd_Object&) = default;
    Fnd_Object& operator=(const Fnd_Object&) = default;
};

namespace fnd_object_detail {

// Step 1 of Do_Convert for the class X, whose part of the object is Self.
template <class X>
long Local_Convert(const X* Self, void*& Result, const Code_Unit* Type,
                   Fnd_Cast_Status& Status) {
    if (Type != X::My_Type) return 0;
    void* here = const_cast<X*>(Self);
    if (Status == Fnd_Cast_Searching) {
        Result = here;
        Status = Fnd_Cast_Found;
    } else if (Status == Fnd_Cast_Found && Result != here) {
        // The type was reached twice at different addresses: two plain copies.
        Result = nullptr;
        Status = Fnd_Cast_Ambiguous;
    }
    return 1;
}

// Step 2 of Do_Convert: the virtual root first, then each listed base in order,
// each called by its qualified name on its own part, until the cast is ambiguous.
template <class X, class... Bases>
void Convert_Bases(const X* Self, void*& Result, const Code_Unit* Type,
                   Fnd_Cast_Status& Status) {
    Self->Fnd_Object::Do_Convert(Result, Type, Status);
    (void)((Status != Fnd_Cast_Ambiguous &&
            (static_cast<const Bases*>(Self)->Bases::Do_Convert(Result, Type, Status), true)) &&
           ...);
}

// Clone of X: only for an object whose dynamic type is exactly X. A class that cannot
// be copied (abstract, or without a copy constructor) keeps the failing root version.
[[noreturn]] void Clone_Failed(const Code_Unit* Type);

template <class X>
Fnd_Object* Clone_As(const X* Self) {
    if constexpr (std::is_copy_constructible_v<X>) {
        if (Self->Object_Type() != X::My_Type) Clone_Failed(Self->Object_Type());
        return new X(*Self);
    } else {
        Clone_Failed(Self->Object_Type());
    }
}

}  // namespace fnd_object_detail

// FND_OBJECT_MEMBERS(X, Bases...) declares and defines what every class X of the object
// model provides. Write it first in the class body; it leaves the access at public.
//
//   class Fnd_Condition : public virtual Fnd_Object {
//       FND_OBJECT_MEMBERS(Fnd_Condition)
//   public:
//       long Is_Equal(const Fnd_Object& Other) const override;  // the class's own rule
//       long Hash() const override;                              // if it has one
//       ...
//   };
//   class Fnd_Sys_Call_Error : public Fnd_Message {
//       FND_OBJECT_MEMBERS(Fnd_Sys_Call_Error, Fnd_Message)
//       ...
//   };
//
// Rules:
//  - Derive from Fnd_Object virtually (directly or through a base), never plainly.
//  - Bases... lists the direct bases that are object-model classes, in declaration
//    order, without Fnd_Object (the root is always tried first). A base left out of
//    the list is invisible to Convert and Is_A.
//  - The macro provides: My_Type (the address of the named array My_Type_Name, which
//    holds the class name), Object_Type, Do_Convert, Local_Do_Convert, Convert and
//    Clone. Clone copies with the copy constructor when X has one (and ends the process
//    when the object's dynamic type is a class derived from X that lacks the macro);
//    an abstract or non-copyable X fails like Fnd_Object::Clone.
//  - Is_Equal and Hash are the class's own: write them where the class has a rule.
//    Is_Equal receives an object of the same dynamic type (operator== checks first);
//    reach its X part with X::Convert(&Other).
#define FND_OBJECT_MEMBERS(X, ...)                                                         \
public:                                                                                    \
    static constexpr Code_Unit My_Type_Name[] = u"" #X;                                    \
    static constexpr const Code_Unit* My_Type = My_Type_Name;                              \
    const Code_Unit* Object_Type() const override { return My_Type; }                      \
    void Do_Convert(void*& Result, const Code_Unit* Type, Fnd_Cast_Status& Status)         \
        const override {                                                                   \
        if (!Local_Do_Convert(Result, Type, Status))                                       \
            fnd_object_detail::Convert_Bases<X __VA_OPT__(, ) __VA_ARGS__>(this, Result,   \
                                                                           Type, Status);  \
    }                                                                                      \
    long Local_Do_Convert(void*& Result, const Code_Unit* Type, Fnd_Cast_Status& Status)   \
        const {                                                                            \
        return fnd_object_detail::Local_Convert<X>(this, Result, Type, Status);            \
    }                                                                                      \
    static X* Convert(const Fnd_Object* Object) {                                          \
        if (!Object) return nullptr;                                                       \
        void* result = nullptr;                                                            \
        Fnd_Cast_Status status = Fnd_Cast_Searching;                                       \
        Object->Do_Convert(result, My_Type, status);                                       \
        return static_cast<X*>(result);                                                    \
    }                                                                                      \
    Fnd_Object* Clone() const override { return fnd_object_detail::Clone_As<X>(this); }    \
                                                                                           \
public:

// Type names for values that are not objects.
struct Fnd_Predefined_Class_Id {
    static const Code_Unit* const Null;
    static const Code_Unit* const Char;
    static const Code_Unit* const Unsigned_Char;
    static const Code_Unit* const Short;
    static const Code_Unit* const Unsigned_Short;
    static const Code_Unit* const Int;
    static const Code_Unit* const Unsigned_Int;
    static const Code_Unit* const Long;
    static const Code_Unit* const Unsigned_Long;
    static const Code_Unit* const Float;
    static const Code_Unit* const Double;
    static const Code_Unit* const Fnd_Char_Id;
    static const Code_Unit* const Fnd_Boolean_Id;
};

// Polices what may enter a collection: the type of each object must be exactly Type
// (a derived object does not pass a checker of its base). On a mismatch a Fatal checker
// ends the process; otherwise a Report checker writes the failure to the log, and the
// check gives 0.
class Fnd_Type_Checker : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_Type_Checker)
public:
    const Code_Unit* Type;
    long Fatal = 1;
    long Report = 1;

    Fnd_Type_Checker();
    explicit Fnd_Type_Checker(const Code_Unit* Allowed);
    Fnd_Type_Checker(const Fnd_Type_Checker& Other);
    Fnd_Type_Checker& operator=(const Fnd_Type_Checker& Other);

    long Is_Equal(const Fnd_Object& Other) const override;

    virtual long Type_Check(const Fnd_Object* Object) const = 0;
    // 1 when Actual is Type, else the failure path.
    long Type_Check(const Code_Unit* Actual) const;
    // 1 when either pointer is Type, else the failure path reporting Actual.
    long Type_Check(const Code_Unit* Actual, const Code_Unit* Other) const;
    long Type_Error(const Code_Unit* Actual) const;
};

// The checker the collections use: a null object passes, else the exact type must match.
class Fnd_Is_Checker : public Fnd_Type_Checker {
    FND_OBJECT_MEMBERS(Fnd_Is_Checker, Fnd_Type_Checker)
public:
    using Fnd_Type_Checker::Fnd_Type_Checker;
    using Fnd_Type_Checker::Type_Check;
    long Type_Check(const Fnd_Object* Object) const override;
};

// Base of objects shared through counting pointers. The pointer class adds a reference
// on construction and copy and drops one on destruction and assignment, and deletes the
// object when Drop_Reference reports that none is left. Destroying a pointee that still
// has references is logged; the process goes on.
class Fnd_Counted_Pointee {
public:
    long Reference_Count = 0;

    Fnd_Counted_Pointee() = default;
    // A copy is a new object: nobody refers to it yet.
    Fnd_Counted_Pointee(const Fnd_Counted_Pointee&) {}
    Fnd_Counted_Pointee& operator=(const Fnd_Counted_Pointee&) { return *this; }
    virtual ~Fnd_Counted_Pointee();

    void Add_Reference() { ++Reference_Count; }
    // The count after dropping one reference; 0 means the caller deletes the object.
    long Drop_Reference() { return --Reference_Count; }
};
